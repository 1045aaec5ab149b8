#include "tests/support/printjob.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <random>

std::optional<SentJob> sendJob(quint16 port, const QByteArray &bytes)
{
    const sockaddr_in address = {AF_INET, htons(port), {htonl(INADDR_LOOPBACK)}, {}};
    const int connection = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    SentJob sent;
    bool isGood = connect(connection, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
    sent.begun = SteadyClock::now();
    isGood = isGood && send(connection, bytes.constData(), size_t(bytes.size()), MSG_NOSIGNAL) == bytes.size();
    sent.closed = SteadyClock::now();
    close(connection);
    return isGood ? std::optional(sent) : std::nullopt;
}

QByteArray jobBytes(int size)
{
    QByteArray bytes(size, Qt::Uninitialized);
    std::generate(bytes.begin(), bytes.end(), std::mt19937());
    return bytes;
}
