#include "spooler/inffile.h"

#include <QIODevice>
#include <QTextStream>

namespace {

const QLatin1Char quote('"');

/// The text between the double quote that begins the line and the next one; empty without a second one.
QString quotedName(const QString &line)
{
    const int end = line.indexOf(quote, 1);
    return end < 0 ? QString() : line.mid(1, end - 1);
}

} // namespace

namespace InfFile {

QString version(QIODevice &inf)
{
    QTextStream stream(&inf);
    QString line;
    while (stream.readLineInto(&line)) {
        if (line.startsWith(QLatin1String("DriverVer")))
            return line.section(QLatin1Char(','), 1).trimmed();
    }
    return QString();
}

QString manufacturer(QIODevice &inf)
{
    QTextStream stream(&inf);
    QString line;
    bool inSection = false;
    while (stream.readLineInto(&line)) {
        if (!inSection) {
            inSection = line.startsWith(QLatin1String("[Manufacturer]"));
            continue;
        }
        const int equalsSign = line.indexOf(QLatin1Char('='));
        const int comma = line.indexOf(QLatin1Char(','));
        if (equalsSign >= 0 && comma >= 0)
            return line.mid(equalsSign + 1, qMax(0, comma - equalsSign - 1));
    }
    return QString();
}

QSet<QString> models(QIODevice &inf, const QString &section)
{
    const QString decoratedHeader = QLatin1Char('[') + section;
    const QString header = decoratedHeader + QLatin1Char(']');
    QSet<QString> names;
    QTextStream stream(&inf);
    QString line;
    bool inSection = false;
    while (stream.readLineInto(&line)) {
        if (line.startsWith(header)) {
            inSection = true;
        } else if (inSection && line.startsWith(quote)) {
            const QString name = quotedName(line);
            if (!name.isEmpty())
                names.insert(name);
        } else if (line.startsWith(decoratedHeader)) {
            break;
        }
    }
    return names;
}

} // namespace InfFile
