#include "bench/support/ports.h"

#include <QFile>
#include <QHostAddress>
#include <QTcpServer>
#include <QThread>

#include <algorithm>
#include <memory>

namespace {

constexpr int startLimit = 20000; // ms
constexpr int lookInterval = 20;  // ms

/// A line of /proc/net/tcp is "N: LOCAL:PORT REMOTE:PORT STATE ...", in hexadecimal.
bool isListener(const QByteArray &line, quint16 port)
{
    const QList<QByteArray> fields = line.simplified().split(' ');
    const QByteArray suffix = ':' + QByteArray::number(port, 16).rightJustified(4, '0').toUpper();
    return fields.value(1).endsWith(suffix) && fields.value(3) == "0A";
}

bool isListening(quint16 port)
{
    QFile file(QStringLiteral("/proc/net/tcp"));
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QList<QByteArray> lines = file.readAll().split('\n');
    return std::any_of(lines.begin(), lines.end(), [port](const QByteArray &line) { return isListener(line, port); });
}

} // namespace

std::vector<quint16> freePorts(int count)
{
    std::vector<std::unique_ptr<QTcpServer>> servers; // all held at once
    std::vector<quint16> ports;
    for (int i = 0; i < count; ++i) {
        servers.push_back(std::make_unique<QTcpServer>());
        servers.back()->listen(QHostAddress::LocalHost);
        ports.push_back(servers.back()->serverPort());
    }
    return ports;
}

bool awaitListener(quint16 port)
{
    return awaitStart([port] { return isListening(port); });
}

bool awaitStart(const std::function<bool()> &condition)
{
    for (int waited = 0; waited < startLimit; waited += lookInterval) {
        if (condition())
            return true;
        QThread::msleep(lookInterval);
    }
    return false;
}
