#include "capture/printerthread.h"

#include "cloud/baseaddress.h"
#include "cloud/cloud.h"
#include "cloud/protocol.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDebug>
#include <QEventLoop>
#include <QMutex>
#include <QTimer>
#include <QUrl>

#include <utility>

namespace {
constexpr int connectionTimeout = 30000; // ms that the spooler may keep a connection open
constexpr int answerTimeout = 15000;     // ms that the cloud may take for its answer
constexpr int interruptionCheck = 100;   // ms
} // namespace

PrinterThread::PrinterThread(qintptr socketDescriptor, const DriverInfo &info, const QString &jobLabel, QMutex *jobLock,
                             QObject *parent)
    : QThread(parent)
    , m_socketDescriptor(socketDescriptor)
    , m_info(info)
    , m_jobLabel(jobLabel)
    , m_jobLock(jobLock)
{
    qDebug() << "12_PrinterThread init" << QThread::currentThread();
}

PrinterThread::~PrinterThread()
{
    qDebug() << "18_PrinterThread" << QThread::currentThread()
             << QStringLiteral("%1 printComplete").arg(m_info.cloudSn);
}

void PrinterThread::run()
{
    relay();
    // Left to the end of the thread, these would go when its members may be gone already.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

void PrinterThread::relay()
{
    auto *socket = new QTcpSocket;
    if (!socket->setSocketDescriptor(m_socketDescriptor, QAbstractSocket::ConnectedState, QIODevice::ReadWrite)) {
        // Intended: without a result the card never frees the printer, whose later jobs wait for the next start.
        qCritical() << "25_PrinterThread" << QThread::currentThread() << socket->errorString();
        emit error(socket->error());
        socket->deleteLater();
        return;
    }
    const QString address = cloudBaseAddress() + CloudProtocol::submissionPath;
    if (!QUrl::fromUserInput(address).isValid()) {
        qDebug() << "38_PrinterThread" << QThread::currentThread() << "Invalid url: " << address;
        socket->deleteLater();
        return;
    }
    m_cloud = new Cloud(address, m_info);
    connect(
        m_cloud, &Cloud::cloudResule, this,
        [this](QNetworkReply::NetworkError networkError, const QJsonDocument &jd) {
            m_jobLock->unlock();
            emit cloudResult(networkError, jd);
        },
        Qt::DirectConnection);
    collect(*socket);
    socket->deleteLater();
    qDebug() << "92_PrinterThread" << QThread::currentThread() << "run finished";
}

void PrinterThread::collect(QTcpSocket &socket)
{
    connect(
        &socket, &QTcpSocket::readyRead, this, [this, &socket] { read(socket); }, Qt::DirectConnection);
    // A connection that is reset also ends in disconnected(): what was read until then is submitted.
    const auto submission = connect(
        &socket, &QTcpSocket::disconnected, this, [this, &socket] { submit(socket); }, Qt::DirectConnection);

    // One wait in slices, so that the end of the program is not held up by a spooler that keeps its connection.
    const QDeadlineTimer deadline(connectionTimeout);
    while (socket.state() != QAbstractSocket::UnconnectedState && !deadline.hasExpired() && !isInterruptionRequested())
        socket.waitForDisconnected(static_cast<int>(qMin<qint64>(interruptionCheck, deadline.remainingTime())));

    // What is still open now is closed by the deletion of the socket and must not be submitted by that.
    disconnect(submission);
    if (socket.state() != QAbstractSocket::UnconnectedState)
        m_cloud->deleteLater();
}

/// Straight to the end of the job: readAll() would copy every byte once more.
void PrinterThread::read(QTcpSocket &socket)
{
    const int before = m_jobData.size();
    const int available = static_cast<int>(socket.bytesAvailable());
    m_jobData.resize(before + available);
    const qint64 size = socket.read(m_jobData.data() + before, available);
    m_jobData.resize(before + static_cast<int>(qMax<qint64>(size, 0)));
}

void PrinterThread::submit(const QTcpSocket &socket)
{
    m_jobLock->lock();
    qDebug() << "59_PrinterThread" << QThread::currentThread()
             << QStringLiteral("%1, port: %2 disconnect").arg(m_info.printerName, QString::number(socket.localPort()));
    const int jobSize = m_jobData.size();
    const bool posted = !isInterruptionRequested() && m_cloud->post(std::move(m_jobData), jobSize, m_jobLabel);
    if (posted) {
        awaitAnswer();
        return;
    }
    qWarning() << "PrinterThread: not submitted:" << m_jobLabel;
    m_jobLock->unlock();
    m_cloud->deleteLater();
}

void PrinterThread::awaitAnswer()
{
    const QPointer<QNetworkReply> reply = m_cloud->currentReply();
    QEventLoop loop;
    QTimer timer;
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    connect(&timer, &QTimer::timeout, &loop, &QEventLoop::quit);
    connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    QTimer interruption;
    connect(&interruption, &QTimer::timeout, &loop, [&] {
        if (isInterruptionRequested())
            loop.quit();
    });
    interruption.start(interruptionCheck);
    timer.start(answerTimeout);
    loop.exec();

    const bool timedOut = !timer.isActive();
    timer.stop();
    if (!reply || (!timedOut && reply->isFinished()))
        return;
    disconnect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    // The client reports the abort like any other failure, which releases the job lock.
    reply->abort();
    reply->deleteLater();
    if (timedOut)
        qDebug() << "86_PrinterThread" << QThread::currentThread() << "Timeout occur";
}
