#pragma once

#include <QByteArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLatin1String>
#include <QString>
#include <QUrl>

#include <limits>

/// The wire format of the cloud print service: HTTP with JSON bodies, without authentication. Pure functions, callable
/// on any thread. The HTTP status never decides anything: what counts is the network error code and the answer's JSON.
namespace CloudProtocol {

/// Each follows the base address; the job identifier follows resultPath as it stands, not percent-encoded.
inline const QLatin1String submissionPath("/v1.1/transparentPrinting");
inline const QLatin1String resultPath("/v1.1/printResult?veltraId=");
inline const QLatin1String deviceStatusPath("/v1.1/getNumberStatu");

/// Content type of both kinds of POST.
inline const QLatin1String contentType("application/json;charset=UTF-8");

namespace Key {
inline const QLatin1String dsNumber("dsNumber");
inline const QLatin1String taskPersist("taskPersist");
inline const QLatin1String async("async");
inline const QLatin1String dataType("dataType");
inline const QLatin1String printData("printData");
inline const QLatin1String code("code");
inline const QLatin1String data("data");
inline const QLatin1String veltraId("veltraId");
/// Added to a submission's answer on this side: the job's label and its length in bytes.
inline const QLatin1String jobneed("jobneed");
inline const QLatin1String jobSize("jobSize");
} // namespace Key

/// The service's own words and those that the journal and the message dialog use in their place; compared exactly.
namespace StatusText {
inline const QString printing = QStringLiteral("正在打印");
inline const QString printed = QStringLiteral("打印成功");
inline const QString offline = QStringLiteral("离线");
inline const QString online = QStringLiteral("在线");
inline const QString failedPrefix = QStringLiteral("打印失败:");
inline const QString deviceOffline = QStringLiteral("打印失败:设备离线");
inline const QString fileTooLarge = QStringLiteral("打印失败:打印文件过大");
inline const QString networkFailure = QStringLiteral("打印失败:网络访问异常");
/// For the message dialog; the journal has it without the exclamation mark.
inline const QString networkFailureShown = QStringLiteral("打印失败:网络访问异常!");
} // namespace StatusText

enum class DeviceState { Unchanged, Offline, Online };

/// The state of a job. While it is printing the texts are empty.
struct JobResult
{
    bool printing = false;
    bool bareText = false; ///< the answer's "data" was the text itself, not a text per printer
    QString status;        ///< as the service says it
    QString journalStatus; ///< as the journal records it
};

/// The largest submission body, in bytes: what a QByteArray holds, with a margin for its header.
inline constexpr qint64 largestBody = std::numeric_limits<int>::max() - 64;

/// Size in bytes of the largest job whose submission body is not larger than `bodyLimit`: about three quarters of it.
qint64 largestJob(const QString &cloudSn, qint64 bodyLimit = largestBody);

/// Body of a job submission, byte for byte what QJsonDocument::toJson gives. Encodes in place if `job` is not shared
/// (grows it by a third). Throws std::bad_alloc when there is no memory for the body, or it would exceed largestBody.
QByteArray submissionBody(const QString &cloudSn, QByteArray job);

/// Body of a device status request.
QByteArray deviceStatusBody(const QString &cloudSn);

/// The result of a submission: the answer's object, or an empty one when there is none, with the job's label and its
/// length in bytes added. A length beyond INT_MAX becomes INT_MAX: readers expect an int.
QJsonDocument submissionResult(const QJsonDocument &answer, const QString &jobLabel, qint64 jobSize);

/// False if the reply is not JSON or is an array.
bool isUsable(const QJsonDocument &answer);

/// The job identifier in the answer to a submission; empty when there is none.
QString veltraId(const QJsonDocument &answer);

/// The address of a job's result. The identifier is appended as the service gave it.
QUrl resultUrl(const QString &baseAddress, const QString &veltraId);

/// Reads the answer to a result request for a job of the printer `cloudSn`.
JobResult jobResult(const QJsonDocument &answer, const QString &cloudSn);

/// Reads the answer to a device status request. A missing "code" reads as 0.
DeviceState deviceState(const QJsonObject &answer);

/// The journal's wording of a job's final status.
QString journalStatus(const QString &status);

} // namespace CloudProtocol
