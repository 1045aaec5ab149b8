#include "tests/support/ports.h"

#include <QFile>

#include <algorithm>

namespace {

/// A line of /proc/net/tcp is "N: LOCAL:PORT REMOTE:PORT STATE ...", in hexadecimal.
bool isListener(const QByteArray &line, const QByteArray &suffix)
{
    const QList<QByteArray> fields = line.simplified().split(' ');
    return fields.value(1).endsWith(suffix) && fields.value(3) == "0A";
}

} // namespace

bool isListening(quint16 port)
{
    QFile file(QStringLiteral("/proc/net/tcp"));
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray suffix = ':' + QByteArray::number(port, 16).rightJustified(4, '0').toUpper();
    const QList<QByteArray> lines = file.readAll().split('\n');
    return std::any_of(lines.begin(), lines.end(), [&](const QByteArray &line) { return isListener(line, suffix); });
}
