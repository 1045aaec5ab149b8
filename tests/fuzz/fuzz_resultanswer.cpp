// What the cloud service answers to the question for a job's result.

#include "tests/fuzz/json.h"

#include "src/cloud/protocol.h"

namespace {

using namespace CloudProtocol;

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

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray bytes = bytesOf(data, size);
    for (const QJsonDocument &answer : {jsonOf(bytes), JsonMaker(bytes).document()}) {
        checkResult(jobResult(answer, serial));
        require(!isUsable(answer) || answer.isObject(), "only an object is usable");
    }
    checkStatus(QString::fromUtf8(bytes));
    return 0;
}
