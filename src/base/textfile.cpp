#include "base/textfile.h"

#include <QFile>
#include <QTextStream>

void appendWhole(QFile &file, const QString &text)
{
    const qint64 sizeBefore = file.size();
    {
        QTextStream stream(&file);
        stream << text;
    }
    file.flush();
    const bool isWhole = file.error() == QFileDevice::NoError;
    // Closing tries once more to write what is left over, so the file is cut behind it.
    file.close();
    if (!isWhole)
        file.resize(sizeBefore);
}
