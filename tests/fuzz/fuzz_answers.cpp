// What the cloud service answers: to a submission, to the question for a job's result, to that for a device's state.

#include "tests/fuzz/support.h"

#include "src/cloud/baseaddress.h"
#include "src/cloud/protocol.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QUrl>

extern "C" void __lsan_disable();
extern "C" void __lsan_enable();

namespace {

using namespace CloudProtocol;

const QString serial = QStringLiteral("0123456789ABCDEF");

/// Qt's parser leaks an object or array whose key is repeated later; that leak is not our concern.
QJsonDocument jsonOf(const QByteArray &bytes)
{
    __lsan_disable();
    const QJsonDocument document = QJsonDocument::fromJson(bytes);
    __lsan_enable();
    return document;
}

void checkResultUrl(const QString &veltraId)
{
    const QUrl url = resultUrl(cloudBaseAddress(), veltraId);
    const QUrl service(cloudBaseAddress());
    require(url.isValid() && url.scheme() == service.scheme() && url.authority() == service.authority(),
            "whatever the identifier is, the cloud service is asked");
    require(url.path() == QLatin1String("/v1.1/printResult") && url.query().startsWith(QLatin1String("veltraId=")),
            "the identifier changes nothing but its own value");
}

void checkSubmission(const QJsonDocument &answer)
{
    const QString label = QStringLiteral("报告.docx;09:02:03");
    constexpr int jobSize = 410;
    QJsonObject expected = answer.object();
    expected.insert(Key::jobneed, label);
    expected.insert(Key::jobSize, jobSize);
    const QJsonDocument result = submissionResult(answer, label, jobSize);
    require(isUsable(result) && result.object() == expected, "the answer is passed on with the job's label and size");
    require(!isUsable(answer) || answer.isObject(), "only an object is usable");
    checkResultUrl(veltraId(result));
}

void checkResult(const JobResult &result)
{
    const bool isPrinted = result.status == StatusText::printed;
    if (result.printing)
        return require(result.status.isEmpty() && result.journalStatus.isEmpty() && !result.bareText,
                       "a job that prints has no text yet");
    if (result.bareText)
        return require(result.journalStatus == result.status, "a bare text is recorded as it stands");
    require(!result.status.contains(StatusText::printing), "a job that prints is asked for again");
    require(isPrinted == (result.journalStatus == StatusText::printed), "only what was printed is recorded as printed");
    require(isPrinted || result.journalStatus.startsWith(StatusText::failedPrefix), "anything else has failed");
    require(result.status == StatusText::offline || result.journalStatus.endsWith(result.status), "a reason is kept");
}

/// The text as the status of the printer's job, and as the whole of "data".
void checkStatus(const QString &text)
{
    const QJsonObject perPrinter{{Key::data, QJsonObject{{serial, text}}}};
    const JobResult result = jobResult(QJsonDocument(perPrinter), serial);
    checkResult(result);
    require(result.printing || result.status == text, "the status is the service's own text");
    const JobResult bare = jobResult(QJsonDocument(QJsonObject{{Key::data, text}}), serial);
    checkResult(bare);
    require(bare.bareText && bare.status == text, "a bare text is taken as it stands");
}

void checkDevice(const QJsonObject &answer)
{
    const int code = answer.value(Key::code).toInt();
    require((deviceState(answer) == DeviceState::Unchanged) == (code != 0 && code != 1001 && code != 4002),
            "exactly the unknown codes change nothing");
}

} // namespace

void checkInput(const QByteArray &bytes)
{
    const QJsonDocument answer = jsonOf(bytes);
    checkSubmission(answer);
    checkResult(jobResult(answer, serial));
    checkDevice(answer.object());
    checkResultUrl(QString::fromUtf8(bytes));
    checkStatus(QString::fromUtf8(bytes));
}
