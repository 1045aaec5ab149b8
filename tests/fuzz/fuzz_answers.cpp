// What the cloud service answers: to a submission, to the question for a job's result, to that for a device's state.

#include "tests/fuzz/support.h"

#include "src/cloud/baseaddress.h"
#include "src/cloud/protocol.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QUrl>

#include <fuzzer/FuzzedDataProvider.h>
#include <sanitizer/lsan_interface.h>

#include <algorithm>
#include <iterator>

namespace {

using namespace CloudProtocol;

/// The input as JSON. Qt's parser leaks an object or array whose key is repeated later; that leak is not our concern.
QJsonDocument jsonOf(const QByteArray &bytes)
{
    const __lsan::ScopedDisabler leaksDoNotCount;
    return QJsonDocument::fromJson(bytes);
}

/// Builds documents from any input, with the service's own words in them: few inputs are JSON, and fewer have the
/// members that count.
class JsonMaker
{
public:
    explicit JsonMaker(const QByteArray &bytes)
        : m_input(reinterpret_cast<const std::uint8_t *>(bytes.constData()), std::size_t(bytes.size()))
    {
    }

    QJsonDocument document()
    {
        if (m_input.ConsumeIntegralInRange(0, 15) == 0)
            return QJsonDocument(array(0));
        return QJsonDocument(object(0));
    }

private:
    static constexpr int deepest = 3;
    static constexpr int mostMembers = 4;

    QString text()
    {
        static const char *const words[] = {"code",     "data", "veltraId", "jobneed",  "jobSize", "0123456789ABCDEF",
                                            "正在打印", "17",   "离线",     "打印成功", ""};
        if (m_input.ConsumeBool())
            return QString::fromUtf8(m_input.PickValueInArray(words));
        return QString::fromStdString(m_input.ConsumeRandomLengthString());
    }

    QJsonObject object(int depth)
    {
        QJsonObject object;
        for (int left = m_input.ConsumeIntegralInRange(0, mostMembers); left > 0; --left) {
            const QString key = text();
            object.insert(key, value(depth + 1));
        }
        return object;
    }

    QJsonArray array(int depth)
    {
        QJsonArray array;
        for (int left = m_input.ConsumeIntegralInRange(0, mostMembers); left > 0; --left)
            array.append(value(depth + 1));
        return array;
    }

    QJsonValue value(int depth)
    {
        constexpr int codes[] = {0, 17, 1001, 4002};
        switch (m_input.ConsumeIntegralInRange(0, depth < deepest ? 6 : 4)) {
        case 0:
            return QJsonValue();
        case 1:
            return m_input.ConsumeBool();
        case 2:
            return m_input.PickValueInArray(codes);
        case 3:
            return m_input.ConsumeFloatingPoint<double>();
        case 4:
            return text();
        case 5:
            return object(depth);
        default:
            return array(depth);
        }
    }

    FuzzedDataProvider m_input;
};

/// The service chooses the identifier, but not the host that the program asks.
void checkResultUrl(const QString &veltraId)
{
    const QUrl url = resultUrl(cloudBaseAddress(), veltraId);
    const QUrl service(cloudBaseAddress());
    require(url.isValid(), "every identifier gives an address");
    require(url.scheme() == service.scheme() && url.authority() == service.authority(),
            "the result is asked for at the cloud service");
    require(url.path() == QLatin1String("/v1.1/printResult"), "the identifier does not change the path");
    require(url.query().startsWith(QLatin1String("veltraId=")), "the identifier is the query's");
}

QJsonObject withoutJob(QJsonObject object)
{
    object.remove(Key::jobneed);
    object.remove(Key::jobSize);
    return object;
}

void checkSubmission(const QJsonDocument &answer)
{
    const QString label = QStringLiteral("报告.docx;09:02:03");
    constexpr int jobSize = 410;
    const QJsonDocument result = submissionResult(answer, label, jobSize);
    const QJsonObject object = result.object();
    require(isUsable(result), "the card follows every job that was submitted without a network error");
    require(object.value(Key::jobneed).toString() == label && object.value(Key::jobSize).toInt() == jobSize,
            "the service cannot change the job's label and size");
    require(withoutJob(object) == withoutJob(answer.object()), "the rest is passed on as it came");
    require(!isUsable(answer) || answer.isObject(), "only an object is usable");
    require(veltraId(result) == veltraId(answer), "the identifier is passed on");
    checkResultUrl(veltraId(result));
}

const QString serial = QStringLiteral("0123456789ABCDEF");

void checkJournalStatus(const QString &status, const QString &journalled)
{
    const bool printed = journalled == StatusText::printed;
    require(printed || journalled.startsWith(StatusText::failedPrefix), "the journal says printed or failed");
    require(printed == (status == StatusText::printed), "only what the service calls printed is printed");
    require(printed || status == StatusText::offline || journalled.endsWith(status), "a reason is kept");
}

void checkResult(const JobResult &result)
{
    if (result.printing) {
        require(result.status.isEmpty() && result.journalStatus.isEmpty(), "a job that prints has no text");
        require(!result.bareText, "a bare text is final");
    } else if (result.bareText) {
        require(result.journalStatus == result.status, "a bare text is journalled as it stands");
    } else {
        require(!result.status.contains(StatusText::printing), "a job that prints is asked for again");
        checkJournalStatus(result.status, result.journalStatus);
    }
}

/// The text as the status of the printer's job, and as the whole of "data".
void checkStatus(const QString &text)
{
    checkJournalStatus(text, journalStatus(text));
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
    constexpr int knownCodes[] = {0, 1001, 4002};
    const DeviceState state = deviceState(answer);
    const QJsonValue code = answer.value(Key::code);
    const bool known = std::find(std::begin(knownCodes), std::end(knownCodes), code.toInt()) != std::end(knownCodes);
    require((state == DeviceState::Unchanged) == !known, "exactly the unknown codes change nothing");
    require(code.isDouble() || state != DeviceState::Unchanged, "a code that is not a number reads as 0");

    QJsonObject reduced;
    for (const QLatin1String &key : {Key::code, Key::data}) {
        if (answer.contains(key))
            reduced.insert(key, answer.value(key));
    }
    require(deviceState(reduced) == state, "nothing else in the answer counts");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray bytes = bytesOf(data, size);
    for (const QJsonDocument &answer : {jsonOf(bytes), JsonMaker(bytes).document()}) {
        checkSubmission(answer);
        checkResult(jobResult(answer, serial));
        checkDevice(answer.object());
    }
    checkResultUrl(QString::fromUtf8(bytes));
    checkStatus(QString::fromUtf8(bytes));
    return 0;
}
