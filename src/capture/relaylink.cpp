#include "capture/relaylink.h"

#include "capture/printerserver.h"

void RelayLink::deliver(QNetworkReply::NetworkError error, const QJsonDocument &jd)
{
    // Held while the signal is emitted, so that the server's destructor waits for it. The card's slot is queued.
    QMutexLocker locker(&m_serverLock);
    if (m_server)
        emit m_server->cloudResule(error, jd);
}

void RelayLink::detach()
{
    QMutexLocker locker(&m_serverLock);
    m_server = nullptr;
}
