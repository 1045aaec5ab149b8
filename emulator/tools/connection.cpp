#include "emulator/tools/connection.h"

#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <memory>
#include <system_error>

namespace Tools {

namespace {

constexpr int sliceMilliseconds = 50;
constexpr std::chrono::milliseconds closingTime(1000);

[[noreturn]] void fail(int error)
{
    throw std::system_error(error, std::generic_category());
}

using AddressList = std::unique_ptr<addrinfo, decltype(&freeaddrinfo)>;

AddressList resolve(const Win32Emulator::Model::Port &port)
{
    addrinfo hints = {};
    hints.ai_socktype = SOCK_STREAM;
    addrinfo *list = nullptr;
    const int result = getaddrinfo(port.host.c_str(), std::to_string(port.number).c_str(), &hints, &list);
    if (result != 0)
        throw std::runtime_error(gai_strerror(result));
    return {list, &freeaddrinfo};
}

} // namespace

Connection::Connection(const Win32Emulator::Model::Port &port, std::function<bool()> mayGoOn)
    : m_mayGoOn(std::move(mayGoOn))
{
    const AddressList addresses = resolve(port);
    m_socket = socket(addresses->ai_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (m_socket < 0)
        fail(errno);
    try {
        connectTo(*addresses);
    } catch (...) {
        close(m_socket);
        throw;
    }
}

Connection::~Connection()
{
    close(m_socket);
}

void Connection::connectTo(const addrinfo &address)
{
    if (connect(m_socket, address.ai_addr, address.ai_addrlen) == 0)
        return;
    if (errno != EINPROGRESS)
        fail(errno);
    waitUntilWritable();
    int error = 0;
    socklen_t size = sizeof error;
    getsockopt(m_socket, SOL_SOCKET, SO_ERROR, &error, &size);
    if (error != 0)
        fail(error);
}

void Connection::send(const char *bytes, std::size_t size)
{
    while (size > 0) {
        if (!m_mayGoOn())
            throw Interrupted();
        const ssize_t sent = ::send(m_socket, bytes, size, MSG_NOSIGNAL);
        if (sent >= 0) {
            bytes += sent;
            size -= static_cast<std::size_t>(sent);
        } else if (errno == EAGAIN) {
            waitUntilWritable();
        } else if (errno != EINTR) {
            fail(errno);
        }
    }
}

void Connection::finish()
{
    shutdown(m_socket, SHUT_WR);
    const auto end = std::chrono::steady_clock::now() + closingTime;
    while (std::chrono::steady_clock::now() < end) {
        if (!waitFor(POLLIN, sliceMilliseconds))
            continue;
        char answer[256];
        const ssize_t size = recv(m_socket, answer, sizeof answer, 0);
        if (size == 0)
            return;
        if (size < 0 && errno != EAGAIN && errno != EINTR)
            fail(errno);
    }
}

void Connection::waitUntilWritable()
{
    while (!waitFor(POLLOUT, sliceMilliseconds)) {
        if (!m_mayGoOn())
            throw Interrupted();
    }
}

bool Connection::waitFor(short events, int milliseconds) const
{
    pollfd entry = {m_socket, events, 0};
    return poll(&entry, 1, milliseconds) > 0;
}

} // namespace Tools
