#pragma once

#include "cloud/protocol.h"
#include "store/driverinfo.h"

#include <QJsonDocument>
#include <QList>
#include <QNetworkReply>
#include <QSharedPointer>
#include <QTcpServer>
#include <QTimer>

class RelayLink;

/// Listens for the print jobs of one cloud printer: its spooler queue prints to a TCP port on 127.0.0.1, one connection
/// per job. Each connection gets a PrinterThread. While a job is in flight a connection waits; this single slot holds
/// only the latest one, and a replaced connection is closed unread. Lives on the main thread; cloudResule is emitted on
/// the relay thread. The owner calls listen().
class PrinterServer : public QTcpServer
{
    Q_OBJECT

public:
    /// A job whose submission body would exceed `bodyLimit` bytes is not posted but reported as too large.
    explicit PrinterServer(const DriverInfo &info, QObject *parent = nullptr,
                           qint64 bodyLimit = CloudProtocol::largestBody);
    ~PrinterServer() override;

    /// The printer has been removed: takes this server out of the list and stops listening. The object stays.
    void stopListening(QList<PrinterServer *> &servers, const DriverInfo &removed);

signals:
    /// Once for each relayed job: the cloud's answer with "jobneed" and "jobSize". Emitted on the relay thread.
    void cloudResule(QNetworkReply::NetworkError error, const QJsonDocument &jd);

    /// A relay has begun.
    void portBusy(bool isbusy);

public slots:
    /// Set by this server when a relay begins, cleared by the printer's card when the job has ended.
    void on_PortBusy(bool isbusy);

    /// Later jobs carry the new name and serial.
    void onDriverInfoChanged(const DriverInfo &info);

    /// Serves the waiting connection if the printer is free.
    void on_BusyTimeout();

protected:
    void incomingConnection(qintptr handle) override;

private:
    void startRelay();
    void closePending();
    void resumeLater();
    QString currentJobLabel() const;

    DriverInfo m_info;
    const qint64 m_bodyLimit;
    QSharedPointer<RelayLink> m_link;
    QTimer m_busyTimer; // runs while a connection waits
    bool m_busy = false;
    qintptr m_pendingDescriptor = -1;
};
