#include "cloud/servicestate.h"

#include "cloud/jobfiles.h"
#include "cloud/requests.h"

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
{
}

ServiceAnswer ServiceState::submit(const QByteArray &contentType, const QByteArray &body)
{
    const SubmissionRequest request = readSubmission(contentType, body);
    QMutexLocker locker(&m_mutex);
    ++m_counts.submissions;
    return request.fault.isEmpty() ? receive(request, body) : malformed(request.fault);
}

ServiceAnswer ServiceState::receive(const SubmissionRequest &request, const QByteArray &body)
{
    const bool accepted = m_options.submissionStatus < 300;
    ReceivedJob job;
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
        return failure(m_options.submissionStatus, QStringLiteral("refused as told"));
    m_progress.insert(job.veltraId, {job.dsNumber, 0});
    return answer(m_options.submissionStatus, 0, QJsonObject{{QStringLiteral("veltraId"), job.veltraId}});
}

ServiceAnswer ServiceState::result(const QString &veltraId)
{
    QMutexLocker locker(&m_mutex);
    ++m_counts.results;
    const auto job = m_progress.find(veltraId);
    if (job == m_progress.end())
        return answer(200, 4004, QStringLiteral("任务不存在"));
    const bool printing = job->polls < m_options.pollsBeforeFinal;
    ++job->polls;
    const QString status = printing ? QStringLiteral("正在打印") : m_options.finalStatus;
    return answer(200, 0, QJsonObject{{job->dsNumber, status}});
}

ServiceAnswer ServiceState::deviceStatus(const QByteArray &contentType, const QByteArray &body)
{
    const DeviceStatusRequest request = readDeviceStatus(contentType, body);
    QMutexLocker locker(&m_mutex);
    ++m_counts.deviceStatuses;
    if (!request.fault.isEmpty())
        return malformed(request.fault);
    return answer(200, m_options.deviceCode, m_options.deviceData);
}

ServiceAnswer ServiceState::malformed(const QString &reason)
{
    ++m_counts.malformed;
    return failure(400, reason);
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
