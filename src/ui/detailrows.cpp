#include "ui/detailrows.h"

#include "store/journal.h"

namespace DetailRows {

QStringList fields(const QString &record)
{
    return record.split(QLatin1Char(';'));
}

QList<QStringList> records(const QString &journal)
{
    QList<QStringList> records;
    const QStringList texts = Journal::split(journal);
    for (const QString &text : texts)
        records.append(fields(text));
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
