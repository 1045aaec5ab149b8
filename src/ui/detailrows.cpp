#include "ui/detailrows.h"

namespace DetailRows {

QList<QStringList> records(const QString &journal)
{
    QList<QStringList> records;
    const QStringList pieces = journal.split(QStringLiteral("!+!"), Qt::SkipEmptyParts);
    for (const QString &piece : pieces)
        records.append(piece.split(QLatin1Char(';')));
    return records;
}

QStringList cells(int row, const QStringList &record)
{
    QStringList texts;
    for (const Column &column : columns)
        texts.append(column.field < 0 ? QString::number(row + 1) : record.value(column.field));
    return texts;
}

} // namespace DetailRows
