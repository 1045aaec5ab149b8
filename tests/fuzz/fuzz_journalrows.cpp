// A day's journal as the print details show it.

#include "tests/fuzz/codepages.h"
#include "tests/fuzz/support.h"

#include "src/ui/detailrows.h"

#include <QBuffer>
#include <QTextStream>

namespace {

using DetailRows::cells;
using DetailRows::records;

const QString recordEnd = QStringLiteral("!+!");

QString decoded(QByteArray bytes)
{
    QBuffer file(&bytes);
    file.open(QIODevice::ReadOnly | QIODevice::Text); // as the journal's file is opened
    return QTextStream(&file).readAll();
}

void checkRow(int row, const QStringList &record)
{
    const QStringList texts = cells(row, record);
    require(texts.size() == int(DetailRows::columns.size()), "a row has a text for each column");
    require(texts.first() == QString::number(row + 1), "the first column has the row's number");
    for (const QString &text : texts) {
        require(!text.contains(recordEnd) && !text.contains(QLatin1Char(';')), "a cell holds one field of one record");
        require(text == texts.first() || text.isEmpty() || record.contains(text), "a cell is a field of the record");
    }
}

/// The open dialog takes one record after another by its index.
void checkAppending(const QString &journal)
{
    if (!journal.isEmpty() && !journal.split(recordEnd).last().isEmpty())
        return; // its last record is not whole
    const QString record = QStringLiteral("报告.docx;09:02:03;打印成功;12;09:02:09");
    QList<QStringList> expected = records(journal);
    expected.append(record.split(QLatin1Char(';')));
    require(records(journal + record + recordEnd) == expected, "a new record changes none of those before it");
    require(cells(0, expected.last()) ==
                QStringList({QStringLiteral("1"), QStringLiteral("报告.docx"), QStringLiteral("打印成功"),
                             QStringLiteral("12"), QStringLiteral("09:02:03"), QStringLiteral("09:02:09")}),
            "each field has its column");
}

void checkJournal(const QString &journal)
{
    const QList<QStringList> all = records(journal);
    QStringList pieces;
    for (int row = 0; row < all.size(); ++row) {
        checkRow(row, all.at(row));
        pieces.append(all.at(row).join(QLatin1Char(';')));
    }
    require(pieces == journal.split(recordEnd, Qt::SkipEmptyParts), "no text of a record is lost");
    checkAppending(journal);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray bytes = bytesOf(data, size);
    underEachCodePage([&](QTextCodec *) { checkJournal(decoded(bytes)); });
    return 0;
}
