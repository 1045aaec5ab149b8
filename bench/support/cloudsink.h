#pragma once

#include "tests/support/printjob.h"

#include <QByteArray>
#include <QHash>
#include <QSet>

#include <atomic>
#include <condition_variable>
#include <list>
#include <mutex>
#include <thread>

/// A cloud that does nothing but note when a submission arrives: it never looks into a job, which would take longer
/// than all that is measured. Every job is printed by its first result request. Its members may be called from any
/// thread.
class CloudSink
{
public:
    struct Submission
    {
        SteadyClock::time_point firstByte; ///< of the request
        SteadyClock::time_point lastByte;
    };

    /// Listens on a port of 127.0.0.1; when that is taken, no submission ever arrives.
    explicit CloudSink(quint16 port);
    ~CloudSink();
    CloudSink(const CloudSink &) = delete;
    CloudSink &operator=(const CloudSink &) = delete;

    bool isListening() const { return m_listener >= 0; }

    /// From now on the jobs of this printer are refused, so that it is free again at once.
    void refuse(const QByteArray &serial);

    /// Waits for the next submission for a printer; a request that names none has the empty serial.
    std::optional<Submission> await(const QByteArray &serial, std::chrono::seconds limit);

private:
    struct Connection
    {
        int socket;
        QByteArray beginning;
        qint64 received = 0;
        SteadyClock::time_point firstByte;
    };

    void serve();
    void accept();
    /// False when the connection has come to its end.
    bool read(Connection &connection);
    QByteArray answer(const Connection &connection);

    int m_listener = -1;
    std::list<Connection> m_connections;
    QByteArray m_buffer;
    std::thread m_thread;
    std::atomic<bool> m_stop{false};
    std::mutex m_mutex; ///< of what follows
    std::condition_variable m_arrived;
    QHash<QByteArray, Submission> m_submissions; ///< by serial: the latest that nobody awaited yet
    QSet<QByteArray> m_refused;
};

/// A job that a relay has brought to the cloud.
struct Transfer
{
    SentJob sent;
    CloudSink::Submission arrived;

    /// Milliseconds from the job's first byte at the relay to its last at the cloud.
    double duration() const { return milliseconds(sent.begun, arrived.lastByte); }
    /// Milliseconds from the end of the job at the relay to its first byte at the cloud.
    double delay() const { return milliseconds(sent.closed, arrived.firstByte); }
};

/// Sends a job to a port of 127.0.0.1 where a relay listens, and waits for it at the cloud. Empty when the job was not
/// sent or did not arrive in time.
std::optional<Transfer> transfer(CloudSink &cloud, const QByteArray &serial, quint16 port, const QByteArray &job,
                                 std::chrono::seconds limit);
