#pragma once

#include <QString>
#include <QStringList>

/// The print detail journal: what became of each print job, per printer and calendar day. A day's file lies in the
/// folder "details" beside the executable, which the installation provides, and is named by the printer's key (its
/// cloud serial) and the date. It holds records one after another, each ended by "!+!", in the system's 8-bit code
/// page. The journal does not look into a record. Callable from any thread; the day is that of the call.
namespace Journal {

/// Terminates a record.
inline const QString recordEnd = QStringLiteral("!+!");

/// Full path of today's file of a printer.
QString detailFileName(const QString &key);

/// Appends one record. A file that cannot be opened is logged and the record dropped; one that the disk has no room for
/// is dropped, too.
void appendDetail(const QString &key, const QString &record);

/// Today's records with their terminators, from this byte of the file on; empty, and logged, when there is no file.
QString readDetails(const QString &key, qint64 from = 0);

/// The records of such a text, without their terminators; empty ones are left out.
QStringList split(const QString &details);

/// Size of today's file in bytes, 0 when there is none: a cheap way to see that it has grown.
quint32 detailSize(const QString &key);

/// Deletes all printers' files from the day before yesterday and earlier.
void clearOldDetails();

} // namespace Journal
