#include "base/textfile.h"

#include <QFile>
#include <QTextStream>

void appendAtomically(QFile &file, const QString &text)
{
    const qint64 sizeBefore = file.size();
    QTextStream stream(&file);
    stream << text;
    stream.flush();
    // A text larger than the file's buffer is written directly: only the stream notices that a part is missing.
    const bool isComplete = stream.status() == QTextStream::Ok && file.error() == QFileDevice::NoError;
    // close() tries again to write what is left in the buffer: truncate only afterwards.
    file.close();
    if (!isComplete)
        file.resize(sizeBefore);
}
