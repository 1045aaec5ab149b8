#pragma once

#include <QSet>
#include <QString>

class QIODevice;

/// Reads what an INF file declares, line by line. The device is open for reading; the text is in the 8-bit code page of
/// the system or in UTF-16 with a byte order mark. Keywords are case-sensitive. Any thread.
namespace InfFile {

/// The text after the first comma of the first "DriverVer" line, trimmed; empty when there is none.
QString version(QIODevice &inf);

/// The name of the models section: the text between the first equals sign and the first comma, blanks included, of the
/// first line after "[Manufacturer]" that has both. Empty when there is none.
QString manufacturer(QIODevice &inf);

/// The model names in double quotes that begin a line after the section's header. A decorated section of the same name
/// ("[NAME.NTamd64]") ends the list. Any other header intentionally does not, so names in later sections count, too.
QSet<QString> models(QIODevice &inf, const QString &section);

} // namespace InfFile
