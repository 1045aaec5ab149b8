// A day's journal, parsed for the print details.

#include "tests/fuzz/codepages.h"
#include "tests/fuzz/support.h"

#include "src/store/journal.h"
#include "src/store/printrecord.h"

#include <QBuffer>
#include <QTextStream>

namespace {

using Journal::recordEnd;

QList<PrintRecord> parseAll(const QString &journal)
{
    QList<PrintRecord> records;
    for (const QString &text : Journal::split(journal))
        records.append(PrintRecord::parse(text));
    return records;
}

QString decoded(QByteArray bytes)
{
    QBuffer file(&bytes);
    file.open(QIODevice::ReadOnly | QIODevice::Text); // as the journal's file is opened
    return QTextStream(&file).readAll();
}

QStringList fieldsOf(const PrintRecord &record)
{
    return {record.document, record.submissionTime, record.status, record.size, record.processingTime};
}

/// The open dialog takes one record after another by its index.
void checkAppending(const QString &journal, int count)
{
    if (!journal.isEmpty() && !journal.split(recordEnd).last().isEmpty())
        return; // its last record is not whole
    const JobRecord job{QString(), JobLabel{QStringLiteral("报告.docx"), QStringLiteral("09:02:03")}.text(), 12,
                        QStringLiteral("09:02:09")};
    const QString status = QStringLiteral("打印成功");
    const QList<PrintRecord> longer = parseAll(journal + job.text(status) + recordEnd);
    require(longer.size() == count + 1, "a new record changes none of those before it");
    require(fieldsOf(longer.last()) == QStringList({QStringLiteral("报告.docx"), QStringLiteral("09:02:03"), status,
                                                    QStringLiteral("12"), QStringLiteral("09:02:09")}),
            "what was composed is parsed");
}

void checkJournal(const QString &journal)
{
    const QList<PrintRecord> all = parseAll(journal);
    const QStringList texts = journal.split(recordEnd, Qt::SkipEmptyParts);
    require(all.size() == texts.size(), "each text is a record");
    for (int i = 0; i < all.size(); ++i) {
        QStringList fields = texts.at(i).split(QLatin1Char(';')).mid(0, 5);
        while (fields.size() < 5)
            fields.append(QString());
        require(fieldsOf(all.at(i)) == fields, "the fields go by their position");
    }
    checkAppending(journal, all.size());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray bytes = bytesOf(data, size);
    underEachCodePage([&](QTextCodec *) { checkJournal(decoded(bytes)); });
    return 0;
}
