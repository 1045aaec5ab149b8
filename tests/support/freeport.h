#pragma once

#include <QHostAddress>
#include <QRandomGenerator>
#include <QTcpServer>

/// A TCP port of 127.0.0.1 that nobody listens on at the moment. Below the range that the system takes the ports of
/// outgoing connections from: between two starts of a program no connection comes to use it.
inline quint16 freePort()
{
    constexpr int lowest = 10000;
    constexpr int highest = 32000;
    QTcpServer server;
    while (!server.listen(QHostAddress::LocalHost, quint16(QRandomGenerator::global()->bounded(lowest, highest)))) {
    }
    return server.serverPort();
}
