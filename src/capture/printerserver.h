#pragma once

#include "store/driverinfo.h"

#include <QJsonDocument>
#include <QList>
#include <QNetworkReply>
#include <QSharedPointer>
#include <QTcpServer>
#include <QTimer>

class RelayLink;

/// Listens for the print jobs of one cloud printer: its spooler queue prints to a TCP port on 127.0.0.1, one connection
/// a job. Each connection gets a PrinterThread. While a job is in flight, or too few descriptors are left for one, a
/// connection is kept waiting; that single slot holds the latest one only, which is intended. Main thread, but for
/// cloudResule. The creator listens.
class PrinterServer : public QTcpServer
{
    Q_OBJECT

public:
    explicit PrinterServer(const DriverInfo &info, QObject *parent = nullptr);
    ~PrinterServer() override;

    const DriverInfo &info() const { return m_info; }

    /// The printer has been removed: takes this server off the list and stops listening. The object stays.
    void stopListening(QList<PrinterServer *> &servers, const DriverInfo &removed);

signals:
    /// Once for each relayed job: the cloud's answer with "jobneed" and "jobSize". Emitted on the relay thread.
    void cloudResule(QNetworkReply::NetworkError error, const QJsonDocument &jd);

    /// A relay has begun.
    void portBusy(bool isbusy);

public slots:
    /// Set by this server when a relay begins, cleared by the printer's card when the job has come to its end.
    void on_PortBusy(bool isbusy);

    /// Later jobs carry the new name and serial.
    void onDriverInfoChanged(const DriverInfo &info);

    /// Looks whether the waiting connection can be served.
    void on_BusyTimeout();

protected:
    void incomingConnection(qintptr handle) override;

private:
    bool mayRelay() const;
    void startRelay();
    void closePending();
    void resumeLater();
    QString currentJobLabel() const;

    DriverInfo m_info;
    QSharedPointer<RelayLink> m_link;
    QTimer m_busyTimer; // runs while a connection waits
    bool m_busy = false;
    qintptr m_pendingDescriptor = -1;
};
