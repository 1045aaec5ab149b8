#include "tests/soak/heartbeat.h"

#include <QElapsedTimer>

#include <poll.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

constexpr std::chrono::milliseconds pauseBetween(10);
constexpr int answerTimeout = 30000; // ms

template <typename Reply>
using Owned = std::unique_ptr<Reply, decltype(&std::free)>;

/// One connection to the display, on which the answers of one window arrive.
class Pinger
{
public:
    Pinger(const QString &display, xcb_window_t window)
        : m_connection(xcb_connect(display.toLatin1().constData(), nullptr))
        , m_window(window)
    {
        if (!isOpen())
            return;
        m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
        m_protocols = atom("WM_PROTOCOLS");
        m_ping = atom("_NET_WM_PING");
        // An answer goes to the root window, for whoever watches its structure.
        const uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
        xcb_change_window_attributes(m_connection, m_root, XCB_CW_EVENT_MASK, &mask);
        xcb_flush(m_connection);
    }
    ~Pinger() { xcb_disconnect(m_connection); }
    Pinger(const Pinger &) = delete;
    Pinger &operator=(const Pinger &) = delete;

    bool isOpen() const { return xcb_connection_has_error(m_connection) == 0; }

    /// Milliseconds until the answer. Gives up when `stop` is set or the time is over.
    double ping(const std::atomic<bool> &stop)
    {
        ++m_serial;
        QElapsedTimer timer;
        timer.start();
        send();
        while (!stop && isOpen() && timer.elapsed() < answerTimeout)
            if (isAnswered())
                break;
        return double(timer.nsecsElapsed()) / 1e6;
    }

private:
    xcb_atom_t atom(const char *name)
    {
        const auto cookie = xcb_intern_atom(m_connection, 0, uint16_t(std::strlen(name)), name);
        const Owned<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(m_connection, cookie, nullptr), &std::free);
        return reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
    }

    void send()
    {
        xcb_client_message_event_t event = {};
        event.response_type = XCB_CLIENT_MESSAGE;
        event.format = 32;
        event.window = m_window;
        event.type = m_protocols;
        event.data.data32[0] = m_ping;
        event.data.data32[1] = m_serial;
        event.data.data32[2] = m_window;
        xcb_send_event(m_connection, 0, m_window, XCB_EVENT_MASK_NO_EVENT, reinterpret_cast<const char *>(&event));
        xcb_flush(m_connection);
    }

    /// Waits a little and reads what has come.
    bool isAnswered()
    {
        constexpr int slice = 100; // ms
        pollfd descriptor = {xcb_get_file_descriptor(m_connection), POLLIN, 0};
        poll(&descriptor, 1, slice);
        bool answered = false;
        while (const Owned<xcb_generic_event_t> event{xcb_poll_for_event(m_connection), &std::free}) {
            if ((event->response_type & 0x7f) != XCB_CLIENT_MESSAGE)
                continue;
            const auto *message = reinterpret_cast<const xcb_client_message_event_t *>(event.get());
            answered |= message->data.data32[0] == m_ping && message->data.data32[1] == m_serial;
        }
        return answered;
    }

    xcb_connection_t *m_connection;
    xcb_window_t m_window;
    xcb_window_t m_root = 0;
    xcb_atom_t m_protocols = 0;
    xcb_atom_t m_ping = 0;
    uint32_t m_serial = 0;
};

} // namespace

Heartbeat::Heartbeat(const QString &display, quint32 window)
    : m_thread([this, display, window] { run(display, window); })
{
}

Heartbeat::~Heartbeat()
{
    m_stop = true;
    m_thread.join();
}

void Heartbeat::run(const QString &display, quint32 window)
{
    Pinger pinger(display, window);
    if (!pinger.isOpen())
        std::fputs("no connection to the display: stalls are not measured\n", stderr);
    while (!m_stop && pinger.isOpen()) {
        const double answer = pinger.ping(m_stop);
        if (!m_stop && pinger.isOpen())
            keep(answer);
        std::this_thread::sleep_for(pauseBetween);
    }
}

void Heartbeat::keep(double milliseconds)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_answers.push_back(milliseconds);
}

Heartbeat::Figures Heartbeat::figures() const
{
    std::unique_lock<std::mutex> lock(m_mutex);
    std::vector<double> answers = m_answers;
    lock.unlock();
    if (answers.empty())
        return {};
    std::sort(answers.begin(), answers.end());
    return {answers.size(), answers[answers.size() * 99 / 100], answers.back()};
}
