#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <array>

/// The rows of the print details: what of a job's record stands in which column. Pure functions, any thread.
namespace DetailRows {

struct Column
{
    const char *header;
    int width; ///< px
    int field; ///< of a record; -1 for the row's own number
};

inline constexpr int defaultColumnWidth = 100; // px

// A record has the submission time before the status, the table has it behind the size.
inline constexpr std::array<Column, 6> columns{{
    {"序号", 50, -1},
    {"文档名称", 120, 0},
    {"任务状态", 160, 2},
    {"数据大小", 80, 3},
    {"提交时间", defaultColumnWidth, 1},
    {"处理时间", defaultColumnWidth, 4}, // stretches to the right edge
}};

/// The fields of one record.
QStringList fields(const QString &record);

/// The fields of each record in a day's journal, in its order. Records without a text do not count. Appending to a
/// journal whose last record is whole leaves the records before as they are.
QList<QStringList> records(const QString &journal);

/// The texts of a row, one for each column; `row` counts from 0. Fields that the record does not have are empty, those
/// that no column shows are left out.
QStringList cells(int row, const QStringList &record);

} // namespace DetailRows
