#pragma once

#include <QJsonDocument>
#include <QMutex>
#include <QNetworkReply>

class PrinterServer;

/// Shared by a capture server and its relay threads: the mutex that serialises the printer's submissions, and the route
/// for the result. A printer can be removed while its relay runs, so the last of them deletes it.
class RelayLink
{
public:
    explicit RelayLink(PrinterServer *server)
        : m_server(server)
    {
    }
    Q_DISABLE_COPY(RelayLink)

    /// Locked by a relay thread before it submits, unlocked by it when the answer has arrived.
    QMutex *jobLock() { return &m_jobLock; }

    /// Emits the server's result signal on the calling relay thread, unless the server has been destroyed.
    void deliver(QNetworkReply::NetworkError error, const QJsonDocument &jd);

    /// The server is being destroyed: later results are discarded.
    void detach();

private:
    QMutex m_jobLock;
    QMutex m_serverLock;
    PrinterServer *m_server;
};
