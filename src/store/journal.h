#pragma once

#include <QString>
#include <QStringList>

/// The print detail journal: the outcome of each print job, per printer and calendar day. A day's file is in the folder
/// "details" beside the executable, which the installation provides, and is named by the printer's key (its cloud
/// serial) and the date. It is a sequence of records, each terminated by "!+!", in the system's 8-bit code page.
/// Records are opaque to the journal. Callable from any thread; "today" is the day of the call.
namespace Journal {

/// Terminates a record.
inline const QString recordEnd = QStringLiteral("!+!");

/// Full path of today's file of a printer.
QString detailFileName(const QString &key);

/// Appends one record. If the file cannot be opened, that is logged and the record dropped. If the
/// disk is full, it is dropped without a log line.
void appendDetail(const QString &key, const QString &record);

/// Today's records with their terminators, from this byte of the file on; empty, and logged, when there is no file.
QString readDetails(const QString &key, qint64 from = 0);

/// The records of such a text, without their terminators; empty ones are left out.
QStringList split(const QString &details);

/// Size of today's file in bytes, 0 when there is none: a cheap way to notice that it has grown.
quint32 detailSize(const QString &key);

/// Deletes all printers' files from the day before yesterday and earlier.
void clearOldDetails();

} // namespace Journal
