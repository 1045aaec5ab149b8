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
/// Created by the capture server on the main thread; everything else happens in run(), on its own thread: it reads
/// until the spooler closes the connection, takes the printer's job lock, submits the bytes and waits a bounded time
/// for the answer. The whole job is held in memory. It is not kept after a failure. A job that does not fit is released
/// at once; the rest of its connection is read and dropped, then it is reported as too large.
class PrinterThread : public QThread
{
    Q_OBJECT

public:
    /// run() takes over the descriptor. The lock belongs to the server and must outlive the thread. `bodyLimit` is the
    /// largest submission body in bytes.
    PrinterThread(qintptr socketDescriptor, const DriverInfo &info, const QString &jobLabel, QMutex *jobLock,
                  qint64 bodyLimit, QObject *parent = nullptr);
    ~PrinterThread() override;

signals:
    /// The connection could not be taken over. No result follows.
    void error(QTcpSocket::SocketError socketError);

    /// The answer to the submission, or the error; emitted on this thread, once per submitted or refused job.
    void cloudResult(QNetworkReply::NetworkError error, const QJsonDocument &jd);

protected:
    void run() override;

private:
    void relay();
    void collect(QTcpSocket &socket);
    void receive(QTcpSocket &socket, qint64 milliseconds);
    void read(QTcpSocket &socket);
    void makeRoom(qint64 size);
    void refuse(const char *reason);
    void submit(const QTcpSocket &socket);
    void awaitAnswer();

    qintptr m_socketDescriptor;
    DriverInfo m_info;
    QByteArray m_jobData;
    qint64 m_jobSize = 0; // bytes received, kept or not
    const qint64 m_largestJob;
    const char *m_refusal = nullptr; // why the job will not be posted
    QPointer<Cloud> m_cloud;
    QString m_jobLabel;
    QMutex *m_jobLock;
};
