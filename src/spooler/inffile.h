#pragma once

#include <QSet>
#include <QString>

class QIODevice;

/// What the text of an INF file declares, read line by line. The device is open for reading; 8-bit text in the system's
/// code page, or UTF-16 with a byte order mark. Keywords are compared with regard to case. Any thread.
namespace InfFile {

/// What follows the first comma of the first "DriverVer" line, trimmed; empty when there is none.
QString version(QIODevice &inf);

/// The name of the models section, from the first line after "[Manufacturer]" that has it: what stands between the
/// first equals sign and the first comma, blanks included. Empty when there is none.
QString manufacturer(QIODevice &inf);

/// The model names in double quotes that begin a line behind the section's header. A decorated section of the same name
/// ("[NAME.NTamd64]") ends the list; any other header does not, so names of other sections behind it count too. That is
/// intended.
QSet<QString> models(QIODevice &inf, const QString &section);

} // namespace InfFile
