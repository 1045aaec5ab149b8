#include "emulator/cloud/cloudservice.h"

#include "emulator/cloud/servicestate.h"

#include <httplib.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace {

constexpr char address[] = "127.0.0.1";
constexpr char jsonType[] = "application/json;charset=UTF-8";
constexpr int connectionsAtOnce = 128;
/// A busy machine may pause for a while in the middle of a large job.
constexpr std::chrono::seconds readTimeout{60};

QByteArray contentType(const httplib::Request &request)
{
    return QByteArray::fromStdString(request.get_header_value("Content-Type"));
}

/// The request's body without a copy.
QByteArray body(const httplib::Request &request)
{
    return QByteArray::fromRawData(request.body.data(), int(request.body.size()));
}

} // namespace

class CloudService::Private
{
public:
    explicit Private(const CloudServiceOptions &options)
        : state(options)
    {
        configure();
        route();
    }
    ~Private() { stop(); }

    bool listen(int wantedPort);
    void stop();

    ServiceState state;
    int port = 0;

private:
    void configure();
    void setUpSocket(socket_t socket);
    void route();
    void reply(const ServiceAnswer &answer, httplib::Response &response);
    static void breakOff(const QByteArray &json, httplib::Response &response);

    httplib::Server m_server;
    socket_t m_socket = INVALID_SOCKET; ///< the listening one; httplib owns it
    std::thread m_thread;
    std::mutex m_stopMutex;
    std::condition_variable m_stopCondition;
    bool m_stopping = false;
};

void CloudService::Private::configure()
{
    m_server.new_task_queue = [] { return new httplib::ThreadPool(connectionsAtOnce); };
    m_server.set_socket_options([this](socket_t socket) { setUpSocket(socket); });
    m_server.set_read_timeout(readTimeout);
    // One request per connection: an idle one would hold a thread, and the end of the service, for seconds.
    m_server.set_keep_alive_max_count(1);
}

void CloudService::Private::setUpSocket(socket_t socket)
{
    m_socket = socket;
    // Without httplib's SO_REUSEPORT, which lets two services share one port unnoticed.
    const int yes = 1;
    setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof(yes));
}

void CloudService::Private::route()
{
    using httplib::Request;
    using httplib::Response;
    m_server.Post("/v1.1/transparentPrinting", [this](const Request &request, Response &response) {
        reply(state.submit(contentType(request), body(request)), response);
    });
    m_server.Get("/v1.1/printResult", [this](const Request &request, Response &response) {
        reply(state.result(QString::fromStdString(request.get_param_value("veltraId"))), response);
    });
    m_server.Post("/v1.1/getNumberStatu", [this](const Request &request, Response &response) {
        reply(state.deviceStatus(contentType(request), body(request)), response);
    });
}

void CloudService::Private::reply(const ServiceAnswer &answer, httplib::Response &response)
{
    std::unique_lock<std::mutex> lock(m_stopMutex);
    const std::chrono::milliseconds delay(state.options().delayMs + answer.delayMs);
    m_stopCondition.wait_for(lock, delay, [this] { return m_stopping; });
    response.status = answer.status;
    if (answer.isCut)
        breakOff(answer.json, response);
    else
        response.set_content(answer.json.toStdString(), jsonType);
}

/// Announces the whole text and closes the connection after its first half.
void CloudService::Private::breakOff(const QByteArray &json, httplib::Response &response)
{
    const std::string half = json.left(json.size() / 2).toStdString();
    response.set_content_provider(size_t(json.size()), jsonType, [half](size_t, size_t, httplib::DataSink &sink) {
        sink.write(half.data(), half.size());
        return false;
    });
}

bool CloudService::Private::listen(int wantedPort)
{
    if (wantedPort == 0)
        port = m_server.bind_to_any_port(address);
    else
        port = m_server.bind_to_port(address, wantedPort) ? wantedPort : -1;
    if (port < 0)
        return false;
    // httplib's backlog of five loses simultaneous connections: Linux then retries for up to half a minute.
    ::listen(m_socket, connectionsAtOnce);
    m_thread = std::thread([this] { m_server.listen_after_bind(); });
    // Only a running server can be stopped.
    while (!m_server.is_running())
        std::this_thread::yield();
    return true;
}

void CloudService::Private::stop()
{
    {
        std::lock_guard<std::mutex> lock(m_stopMutex);
        m_stopping = true;
    }
    m_stopCondition.notify_all();
    m_server.stop();
    if (m_thread.joinable())
        m_thread.join();
}

CloudService::CloudService(const CloudServiceOptions &options)
    : d(std::make_unique<Private>(options))
{
}

CloudService::~CloudService() = default;

bool CloudService::listen(quint16 port)
{
    return d->listen(port);
}

QString CloudService::baseAddress() const
{
    return QStringLiteral("http://%1:%2").arg(QLatin1String(address)).arg(d->port);
}

CloudServiceOptions CloudService::options() const
{
    return d->state.options();
}

void CloudService::setOptions(const CloudServiceOptions &options)
{
    d->state.setOptions(options);
}

QVector<ReceivedJob> CloudService::jobs() const
{
    return d->state.jobs();
}

CloudServiceCounts CloudService::counts() const
{
    return d->state.counts();
}
