#pragma once

#include "store/driverinfo.h"

#include <QByteArray>
#include <QJsonDocument>
#include <QNetworkReply>
#include <QPointer>
#include <QTcpSocket>
#include <QThread>

class Cloud;
class QMutex;

/// Relays one print job from one connection of the spooler to the cloud.
///
/// Made by the capture server on the main thread; everything else happens in run(), on its own thread: it reads until
/// the spooler closes the connection, takes the printer's job lock, submits the bytes and waits a bounded time for the
/// answer. The whole job is held in memory. It is not kept after a failure.
class PrinterThread : public QThread
{
    Q_OBJECT

public:
    /// Takes over the descriptor. The lock belongs to the server and must stay until the thread has finished.
    PrinterThread(qintptr socketDescriptor, const DriverInfo &info, const QString &jobLabel, QMutex *jobLock,
                  QObject *parent = nullptr);
    ~PrinterThread() override;

signals:
    /// The connection could not be taken over. No result follows.
    void error(QTcpSocket::SocketError socketError);

    /// The answer to the submission or why there is none; emitted on this thread, once for each job that was submitted.
    void cloudResult(QNetworkReply::NetworkError error, const QJsonDocument &jd);

protected:
    void run() override;

private:
    void relay();
    void collect(QTcpSocket &socket);
    void read(QTcpSocket &socket);
    void submit(const QTcpSocket &socket);
    void awaitAnswer();

    qintptr m_socketDescriptor;
    DriverInfo m_info;
    QByteArray m_jobData;
    QPointer<Cloud> m_cloud;
    QString m_jobLabel;
    QMutex *m_jobLock;
};
