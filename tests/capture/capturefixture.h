#pragma once

#include "capture/printerserver.h"

#include <QJsonObject>
#include <QTcpSocket>
#include <QTest>

#include <memory>

inline const QString captureSerial = QStringLiteral("0123456789ABCDEF");

inline DriverInfo captureRecord(const QString &name = QStringLiteral("前台"))
{
    DriverInfo info;
    info.printerName = name;
    info.cloudSn = captureSerial;
    return info;
}

/// A capture server that listens on a free port, with what came back through it.
class Capture
{
public:
    explicit Capture(const DriverInfo &info = captureRecord())
        : server(std::make_unique<PrinterServer>(info))
    {
        server->listen(QHostAddress::LocalHost);
        QObject::connect(server.get(), &PrinterServer::cloudResule, &m_context,
                         [this](QNetworkReply::NetworkError error, const QJsonDocument &jd) {
                             errors.append(error);
                             answers.append(jd.object());
                         });
    }

    /// What the card does when a job has come to its end.
    void free() { server->on_PortBusy(false); }

    std::unique_ptr<QTcpSocket> open() const
    {
        auto socket = std::make_unique<QTcpSocket>();
        socket->connectToHost(QHostAddress::LocalHost, server->serverPort());
        return socket->waitForConnected() ? std::move(socket) : nullptr;
    }

    /// Prints as the spooler does: connects, sends, closes.
    void print(const QByteArray &bytes, int segment = 0) const
    {
        const auto socket = open();
        if (segment > 0)
            socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        for (int from = 0; segment > 0 && from < bytes.size(); from += segment) {
            socket->write(bytes.constData() + from, qMin(segment, bytes.size() - from));
            socket->flush();
        }
        if (segment == 0)
            socket->write(bytes);
        socket->disconnectFromHost();
        if (socket->state() != QAbstractSocket::UnconnectedState)
            QTRY_COMPARE_WITH_TIMEOUT(socket->state(), QAbstractSocket::UnconnectedState, 20000);
    }

    std::unique_ptr<PrinterServer> server;
    QList<QNetworkReply::NetworkError> errors;
    QList<QJsonObject> answers;

private:
    QObject m_context;
};
