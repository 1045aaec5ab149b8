#pragma once

#include <QJsonDocument>
#include <QMutex>
#include <QNetworkReply>

class PrinterServer;

/// What a capture server shares with its relay threads: the lock that lets one job of the printer at a time to the
/// cloud, and the way back for the result. It outlives whichever of them goes first: a printer can be removed while its
/// relay runs.
class RelayLink
{
public:
    explicit RelayLink(PrinterServer *server)
        : m_server(server)
    {
    }
    Q_DISABLE_COPY(RelayLink)

    /// Taken by a relay thread before it submits, released by it when the answer is there.
    QMutex *jobLock() { return &m_jobLock; }

    /// Emits the server's result signal on the calling relay thread; nothing when the server has gone.
    void deliver(QNetworkReply::NetworkError error, const QJsonDocument &jd);

    /// The server goes: nothing is delivered any more.
    void detach();

private:
    QMutex m_jobLock;
    QMutex m_serverLock;
    PrinterServer *m_server;
};
