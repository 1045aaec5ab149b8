#include "cloud/protocol.h"

#include "cloud/jobbody.h"

#include <QJsonArray>

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

namespace {

/// A multiple of three, so that only the last block is padded; small enough to stay in the processor's cache.
constexpr qint64 base64Block = 3 * 16 * 1024; // bytes

qint64 base64Size(qint64 size)
{
    return (size + 2) / 3 * 4;
}

/// Turns the `size` bytes at `data` into base64Size(size) digits at `out`, which is not before `data` and may overlap
/// it: works block by block from the end to the beginning.
void encodeBase64(const char *data, qint64 size, char *out)
{
    for (qint64 from = (size - 1) / base64Block * base64Block; size > 0; size = from, from -= base64Block) {
        const QByteArray digits = QByteArray::fromRawData(data + from, int(size - from)).toBase64();
        std::memcpy(out + base64Size(from), digits.constData(), size_t(digits.size()));
    }
}

/// The submission body of an empty job.
QByteArray emptySubmission(const QString &cloudSn)
{
    using namespace CloudProtocol;
    const QJsonObject body{
        {Key::dsNumber, QJsonArray{cloudSn}},      {Key::taskPersist, false},   {Key::async, true},
        {Key::dataType, QStringLiteral("base64")}, {Key::printData, QString()},
    };
    return QJsonDocument(body).toJson();
}

} // namespace

namespace CloudProtocol {

qint64 largestJob(const QString &cloudSn, qint64 bodyLimit)
{
    return (bodyLimit - emptySubmission(cloudSn).size()) / 4 * 3;
}

QByteArray submissionBody(const QString &cloudSn, QByteArray job)
{
    // Inside a string every quotation mark is escaped, so no serial can look like the key.
    static const QByteArray opening = "\"printData\": \"";
    const QByteArray frame = emptySubmission(cloudSn);
    const int head = frame.indexOf(opening) + opening.size();
    const int tail = frame.size() - head;

    const qint64 jobSize = job.size();
    const qint64 size = frame.size() + base64Size(jobSize);
    if (size > largestBody)
        throw std::bad_alloc();
    reserveJobMemory(job, size);
    job.resize(int(size));
    char *body = job.data();
    encodeBase64(body, jobSize, body + head);
    std::memcpy(body, frame.constData(), size_t(head));
    std::memcpy(body + size - tail, frame.constData() + head, size_t(tail));
    return job;
}

QByteArray deviceStatusBody(const QString &cloudSn)
{
    return QJsonDocument(QJsonObject{{Key::dsNumber, cloudSn}}).toJson();
}

QJsonDocument submissionResult(const QJsonDocument &answer, const QString &jobLabel, qint64 jobSize)
{
    QJsonObject object = answer.object();
    object.insert(Key::jobneed, jobLabel);
    object.insert(Key::jobSize, static_cast<int>(std::min<qint64>(jobSize, std::numeric_limits<int>::max())));
    return QJsonDocument(object);
}

bool isUsable(const QJsonDocument &answer)
{
    return !answer.isEmpty() && !answer.isArray();
}

QString veltraId(const QJsonDocument &answer)
{
    return answer.object().value(Key::data).toObject().value(Key::veltraId).toString();
}

QUrl resultUrl(const QString &baseAddress, const QString &veltraId)
{
    return QUrl::fromUserInput(baseAddress + resultPath + veltraId);
}

JobResult jobResult(const QJsonDocument &answer, const QString &cloudSn)
{
    const QJsonValue data = answer.object().value(Key::data);
    // A bare text is always final and already worded for the journal.
    if (!data.isObject())
        return {false, true, data.toString(), data.toString()};
    const QString status = data.toObject().value(cloudSn).toString();
    if (status.contains(StatusText::printing))
        return {true, false, QString(), QString()};
    return {false, false, status, journalStatus(status)};
}

DeviceState deviceState(const QJsonObject &answer)
{
    constexpr int ok = 0;
    constexpr int unknownDevice = 1001;
    constexpr int deviceOffline = 4002;
    switch (answer.value(Key::code).toInt()) {
    case unknownDevice:
    case deviceOffline:
        return DeviceState::Offline;
    case ok:
        return answer.value(Key::data).toString() == QLatin1String("17") ? DeviceState::Offline : DeviceState::Online;
    default:
        return DeviceState::Unchanged;
    }
}

QString journalStatus(const QString &status)
{
    if (status == StatusText::offline)
        return StatusText::deviceOffline;
    if (status == StatusText::printed)
        return status;
    return StatusText::failedPrefix + status;
}

} // namespace CloudProtocol
