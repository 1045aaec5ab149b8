#include "tests/support/printjob.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <random>

namespace {

constexpr int writeSize = 1024 * 1024;

bool connectTo(int socket, quint16 port)
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return connect(socket, reinterpret_cast<const sockaddr *>(&address), sizeof(address)) == 0;
}

bool writeAll(int socket, const QByteArray &bytes)
{
    for (int from = 0; from < bytes.size();) {
        const auto size = static_cast<std::size_t>(std::min(writeSize, bytes.size() - from));
        const ssize_t written = send(socket, bytes.constData() + from, size, MSG_NOSIGNAL);
        if (written <= 0)
            return false;
        from += int(written);
    }
    return true;
}

} // namespace

std::optional<SentJob> sendJob(quint16 port, const QByteArray &bytes)
{
    const int connection = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    SentJob sent;
    bool good = connectTo(connection, port);
    sent.begun = SteadyClock::now();
    good = good && writeAll(connection, bytes);
    sent.closed = SteadyClock::now();
    close(connection);
    return good ? std::optional(sent) : std::nullopt;
}

QByteArray jobBytes(int size)
{
    QByteArray bytes(size, Qt::Uninitialized);
    std::mt19937 generator;
    for (char &byte : bytes)
        byte = char(generator());
    return bytes;
}
