#include "base/textfile.h"

#include <QFile>

void appendAtomically(QFile &file, const QString &text)
{
    const qint64 sizeBefore = file.size();
    const QByteArray bytes = text.toLocal8Bit();
    // Qt writes a text larger than its buffer directly, and does not take a partial write for an error.
    const bool isComplete = file.write(bytes) == bytes.size() && file.flush();
    // close() tries again to write what is left in the buffer: truncate only afterwards.
    file.close();
    if (!isComplete)
        file.resize(sizeBefore);
}
