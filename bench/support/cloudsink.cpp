#include "bench/support/cloudsink.h"

#include "tests/support/httphead.h"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <vector>

namespace {

constexpr int backlog = 64;
constexpr int readSize = 1024 * 1024;
constexpr int keptSize = 2048; // of each request: its head and the beginning of its body
constexpr int stopCheck = 50;  // ms
constexpr int serialSize = 16;

int listenOn(quint16 port)
{
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int yes = 1;
    setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof(yes));
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (bind(listener, reinterpret_cast<const sockaddr *>(&address), sizeof(address)) == 0 &&
        listen(listener, backlog) == 0)
        return listener;
    close(listener);
    return -1;
}

/// The serial that follows a text in the request.
QByteArray serialBehind(const QByteArray &request, const QByteArray &text)
{
    const int at = request.indexOf(text);
    if (at < 0)
        return QByteArray();
    int from = at + text.size();
    while (from < request.size() && !isalnum(uchar(request[from])))
        ++from;
    return request.mid(from, serialSize);
}

QByteArray response(const QByteArray &status, const QByteArray &json)
{
    return "HTTP/1.1 " + status + "\r\nContent-Type: application/json\r\nConnection: close\r\nContent-Length: " +
           QByteArray::number(json.size()) + "\r\n\r\n" + json;
}

} // namespace

CloudSink::CloudSink(quint16 port)
    : m_listener(listenOn(port))
    , m_buffer(readSize, Qt::Uninitialized)
    , m_thread(&CloudSink::serve, this)
{
}

CloudSink::~CloudSink()
{
    m_stop = true;
    m_thread.join();
    for (const Connection &connection : m_connections)
        close(connection.socket);
    close(m_listener);
}

void CloudSink::refuse(const QByteArray &serial)
{
    const std::lock_guard lock(m_mutex);
    m_refused.insert(serial);
}

std::optional<CloudSink::Submission> CloudSink::await(const QByteArray &serial, std::chrono::seconds limit)
{
    std::unique_lock lock(m_mutex);
    if (!m_arrived.wait_for(lock, limit, [&] { return m_submissions.contains(serial); }))
        return std::nullopt;
    return m_submissions.take(serial);
}

void CloudSink::serve()
{
    while (!m_stop) {
        std::vector<pollfd> waiting{{m_listener, POLLIN, 0}};
        for (const Connection &connection : m_connections)
            waiting.push_back({connection.socket, POLLIN, 0});
        poll(waiting.data(), waiting.size(), stopCheck);
        auto state = waiting.begin();
        const bool isCalled = (state++)->revents != 0;
        m_connections.remove_if([&](Connection &connection) { return (state++)->revents != 0 && !read(connection); });
        if (isCalled)
            accept();
    }
}

void CloudSink::accept()
{
    const int socket = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
    if (socket >= 0)
        m_connections.push_back({socket, {}, 0, {}});
}

bool CloudSink::read(Connection &connection)
{
    const ssize_t size = recv(connection.socket, m_buffer.data(), std::size_t(m_buffer.size()), 0);
    if (connection.received == 0)
        connection.firstByte = SteadyClock::now();
    if (size > 0) {
        connection.received += size;
        connection.beginning.append(m_buffer.constData(),
                                    std::min<int>(int(size), keptSize - connection.beginning.size()));
        const int headSize = HttpHead::size(connection.beginning);
        if (headSize == 0 || connection.received < headSize + HttpHead::contentLength(connection.beginning))
            return true;
        const QByteArray bytes = answer(connection);
        send(connection.socket, bytes.constData(), std::size_t(bytes.size()), MSG_NOSIGNAL);
    }
    close(connection.socket);
    return false;
}

QByteArray CloudSink::answer(const Connection &connection)
{
    const SteadyClock::time_point lastByte = SteadyClock::now();
    const QByteArray &request = connection.beginning;
    if (request.startsWith("GET ")) {
        const QByteArray serial = serialBehind(request, "veltraId=");
        return response("200 OK", R"({"code":0,"data":{")" + serial + "\":\"打印成功\"}}");
    }
    if (request.startsWith("POST /v1.1/getNumberStatu"))
        return response("200 OK", R"({"code":0,"data":"16"})");
    const QByteArray serial = serialBehind(request, "\"dsNumber\"");
    const std::lock_guard lock(m_mutex);
    m_submissions.insert(serial, {connection.firstByte, lastByte});
    m_arrived.notify_all();
    if (m_refused.contains(serial))
        return response("503 Service Unavailable", "{}");
    return response("200 OK", R"({"code":0,"data":{"veltraId":")" + serial + "\"}}");
}

std::optional<Transfer> transfer(CloudSink &cloud, const QByteArray &serial, quint16 port, const QByteArray &job,
                                 std::chrono::seconds limit)
{
    const auto sent = sendJob(port, job);
    const auto arrived = sent ? cloud.await(serial, limit) : std::nullopt;
    return arrived ? std::optional(Transfer{*sent, *arrived}) : std::nullopt;
}
