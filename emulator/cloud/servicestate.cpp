#include "emulator/cloud/servicestate.h"

#include "emulator/cloud/jobfiles.h"
#include "emulator/cloud/requests.h"
#include "emulator/cloud/treatment.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace {

ServiceAnswer answer(int status, int code, const QJsonValue &data)
{
    const QJsonObject object{{QStringLiteral("code"), code}, {QStringLiteral("data"), data}};
    return {status, QJsonDocument(object).toJson(QJsonDocument::Compact)};
}

ServiceAnswer failure(int status, const QString &reason)
{
    const QJsonObject object{{QStringLiteral("code"), status}, {QStringLiteral("message"), reason}};
    return {status, QJsonDocument(object).toJson(QJsonDocument::Compact)};
}

} // namespace

ServiceState::ServiceState(const CloudServiceOptions &options)
    : m_options(options)
    , m_random(options.seed)
{
}

ServiceAnswer ServiceState::submit(const QByteArray &contentType, const QByteArray &body)
{
    const SubmissionRequest request = readSubmission(contentType, body);
    QMutexLocker locker(&m_mutex);
    ++m_counts.submissions;
    return request.fault.isEmpty() ? receive(request, body) : failure(400, request.fault);
}

QString ServiceState::drawFault()
{
    int sum = 0;
    for (const FaultChance &chance : qAsConst(m_options.faults))
        sum += chance.weight;
    if (sum <= 0)
        return QString();
    int draw = m_random.bounded(sum);
    auto chance = m_options.faults.constBegin();
    while (draw >= chance->weight)
        draw -= (chance++)->weight;
    return chance->fault;
}

ServiceAnswer ServiceState::receive(const SubmissionRequest &request, const QByteArray &body)
{
    ReceivedJob job;
    job.fault = drawFault();
    const Treatment how = treatmentFor(m_options, job.fault);
    const bool accepted = how.submissionStatus < 300;
    job.number = ++m_lastNumber;
    if (!m_options.storeFolder.isEmpty())
        job.number = m_lastNumber = JobFiles::freeNumber(m_options.storeFolder, m_lastNumber);
    if (accepted)
        job.veltraId = QStringLiteral("VT%1").arg(job.number, 8, 10, QLatin1Char('0'));
    job.dsNumber = request.dsNumber;
    job.size = request.bytes.size();
    job.received = QDateTime::currentDateTime();
    if (!m_options.storeFolder.isEmpty() && !JobFiles::store(m_options.storeFolder, job, request.bytes))
        return failure(500, QStringLiteral("the job cannot be stored in ") + m_options.storeFolder);

    if (m_options.keepBytes)
        job.bytes = request.bytes;
    if (m_options.keepRawBodies)
        job.rawBody = QByteArray(body.constData(), body.size()); // a copy: the buffer is the request's
    m_jobs.append(job);
    if (!accepted)
        return failure(how.submissionStatus, QStringLiteral("refused on purpose"));
    m_progress.insert(job.veltraId, {job.dsNumber, job.fault, 0});
    ServiceAnswer taken = answer(how.submissionStatus, 0, QJsonObject{{QStringLiteral("veltraId"), job.veltraId}});
    taken.delayMs = how.submissionDelayMs;
    taken.isCut = how.submissionIsCut;
    return taken;
}

ServiceAnswer ServiceState::result(const QString &veltraId)
{
    QMutexLocker locker(&m_mutex);
    ++m_counts.results;
    const auto job = m_progress.find(veltraId);
    if (job == m_progress.end())
        return answer(200, 4004, QStringLiteral("任务不存在"));
    const Treatment how = treatmentFor(m_options, job->fault);
    if (job->polls++ < how.pollsBeforeFinal)
        return answer(200, 0, QJsonObject{{job->dsNumber, QStringLiteral("正在打印")}});
    if (how.resultIsInvalid)
        return {how.resultStatus, "[]"};
    ServiceAnswer final = how.bareText ? answer(how.resultStatus, 0, how.finalStatus)
                                       : answer(how.resultStatus, 0, QJsonObject{{job->dsNumber, how.finalStatus}});
    final.isCut = how.resultIsCut;
    return final;
}

ServiceAnswer ServiceState::deviceStatus(const QByteArray &contentType, const QByteArray &body)
{
    const DeviceStatusRequest request = readDeviceStatus(contentType, body);
    QMutexLocker locker(&m_mutex);
    return request.fault.isEmpty() ? answer(200, 0, QStringLiteral("16")) : failure(400, request.fault);
}

CloudServiceOptions ServiceState::options() const
{
    QMutexLocker locker(&m_mutex);
    return m_options;
}

void ServiceState::setOptions(const CloudServiceOptions &options)
{
    QMutexLocker locker(&m_mutex);
    m_options = options;
}

QVector<ReceivedJob> ServiceState::jobs() const
{
    QMutexLocker locker(&m_mutex);
    return m_jobs;
}

CloudServiceCounts ServiceState::counts() const
{
    QMutexLocker locker(&m_mutex);
    return m_counts;
}
