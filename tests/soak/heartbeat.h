#pragma once

#include <QString>

#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

/// Asks a window for a sign of life (_NET_WM_PING of the window manager hints) over and over, and keeps how long each
/// answer took: what a user feels of a busy interface thread. Works on a thread of its own, with its own connection to
/// the display. Every member may be called from any thread.
class Heartbeat
{
public:
    Heartbeat(const QString &display, quint32 window);
    ~Heartbeat();
    Heartbeat(const Heartbeat &) = delete;
    Heartbeat &operator=(const Heartbeat &) = delete;

    struct Figures
    {
        size_t beats = 0;
        double percentile99 = 0; ///< ms
        double worst = 0;        ///< ms; an answer that never came counts as the time waited for it
    };
    Figures figures() const;

private:
    void run(const QString &display, quint32 window);
    void keep(double milliseconds);

    mutable std::mutex m_mutex;
    std::vector<double> m_answers; ///< ms
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};
