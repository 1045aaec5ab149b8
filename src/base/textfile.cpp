#include "base/textfile.h"

#include <QFile>

void appendAtomically(QFile &file, const QString &text)
{
    const qint64 sizeBefore = file.size();
    const QByteArray bytes = text.toLocal8Bit();
    // A text larger than the file's buffer is written directly, and a part that fits is no error.
    const bool isComplete = file.write(bytes) == bytes.size() && file.flush();
    // close() tries again to write what is left in the buffer: truncate only afterwards.
    file.close();
    if (!isComplete)
        file.resize(sizeBefore);
}
