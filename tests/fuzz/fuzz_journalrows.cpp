// A day's journal, parsed for the print details.

#include "tests/fuzz/support.h"

#include "src/store/journal.h"
#include "src/store/printrecord.h"

#include <QTextCodec>

void checkInput(const QByteArray &bytes)
{
    const QString journal = QTextCodec::codecForLocale()->toUnicode(bytes);
    const QStringList texts = journal.split(Journal::recordEnd, Qt::SkipEmptyParts);
    require(Journal::split(journal) == texts, "each text is a record");
    for (const QString &text : texts) {
        const PrintRecord row = PrintRecord::parse(text);
        const QStringList fields = (text + QStringLiteral(";;;;")).split(QLatin1Char(';')).mid(0, 5);
        require(QStringList({row.document, row.submissionTime, row.status, row.size, row.processingTime}) == fields,
                "the fields go by their position");
    }
}
