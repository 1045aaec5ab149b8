#include "tests/support/ports.h"

#include <QFile>
#include <QRegularExpression>

bool isListening(quint16 port)
{
    // A line is "N: LOCAL:PORT REMOTE:PORT STATE ...", in hexadecimal; 0A is a listener.
    const QRegularExpression line(QStringLiteral(":%1 [0-9A-F]+:[0-9A-F]+ 0A ").arg(port, 4, 16, QChar('0')),
                                  QRegularExpression::CaseInsensitiveOption);
    QFile file(QStringLiteral("/proc/net/tcp"));
    return file.open(QIODevice::ReadOnly) && QString::fromLatin1(file.readAll()).contains(line);
}
