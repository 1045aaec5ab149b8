// What the cloud service answers to a job's submission, up to the address of the first question for its result.

#include "tests/fuzz/json.h"

#include "src/cloud/baseaddress.h"
#include "src/cloud/protocol.h"

#include <QUrl>

namespace {

using namespace CloudProtocol;

/// The service chooses the identifier, but never whom the program asks.
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

void checkAnswer(const QJsonDocument &answer)
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

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray bytes = bytesOf(data, size);
    checkAnswer(jsonOf(bytes));
    checkAnswer(JsonMaker(bytes).document());
    checkResultUrl(QString::fromUtf8(bytes));
    return 0;
}
