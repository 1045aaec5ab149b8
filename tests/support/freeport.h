#pragma once

#include <QHostAddress>
#include <QTcpServer>

/// A TCP port of 127.0.0.1 that nobody listens on at the moment.
inline quint16 freePort()
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    return server.serverPort();
}
