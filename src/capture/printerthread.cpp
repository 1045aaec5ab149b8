#include "capture/printerthread.h"

#include "cloud/baseaddress.h"
#include "cloud/cloud.h"
#include "cloud/jobbody.h"
#include "cloud/protocol.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDebug>
#include <QEventLoop>
#include <QMutex>
#include <QTimer>
#include <QUrl>

#include <algorithm>
#include <chrono>
#include <new>
#include <utility>

using namespace std::chrono_literals;

namespace {
constexpr auto connectionTimeout = 30s; // for the spooler to close its connection
constexpr auto answerTimeout = 15s;     // for the cloud's answer
constexpr std::chrono::milliseconds interruptionCheck = 100ms;
constexpr qint64 readBufferSize = 1024 * 1024; // bytes that Qt holds before they are read
} // namespace

PrinterThread::PrinterThread(qintptr socketDescriptor, const DriverInfo &info, const QString &jobLabel, QMutex *jobLock,
                             qint64 bodyLimit, QObject *parent)
    : QThread(parent)
    , m_socketDescriptor(socketDescriptor)
    , m_info(info)
    , m_largestJob(CloudProtocol::largestJob(info.cloudSn, bodyLimit))
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
    // Run deferred deletes now: at thread exit `this` may already be destroyed.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

void PrinterThread::relay()
{
    auto *socket = new QTcpSocket;
    if (!socket->setSocketDescriptor(m_socketDescriptor, QAbstractSocket::ConnectedState, QIODevice::ReadWrite)) {
        // Intentionally without a result: the printer stays busy, and its later jobs wait until the program restarts.
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
    socket.setReadBufferSize(readBufferSize);
    connect(
        &socket, &QTcpSocket::readyRead, this, [this, &socket] { read(socket); }, Qt::DirectConnection);
    // A connection that is reset also emits disconnected(): what was read until then is submitted.
    const auto submission = connect(
        &socket, &QTcpSocket::disconnected, this, [this, &socket] { submit(socket); }, Qt::DirectConnection);

    // One wait in slices, so that a spooler that keeps its connection does not delay the end of the program.
    const QDeadlineTimer deadline(connectionTimeout);
    while (socket.state() != QAbstractSocket::UnconnectedState && !deadline.hasExpired() && !isInterruptionRequested())
        receive(socket, std::min<qint64>(interruptionCheck.count(), deadline.remainingTime()));

    // Disconnect first: deleting an open socket emits disconnected(), which would submit the job.
    disconnect(submission);
    if (socket.state() == QAbstractSocket::UnconnectedState)
        return;
    if (m_refusal)
        submit(socket); // frees the printer although the connection is still open
    else
        m_cloud->deleteLater();
}

void PrinterThread::receive(QTcpSocket &socket, qint64 milliseconds)
{
    try {
        socket.waitForDisconnected(static_cast<int>(milliseconds));
    } catch (const std::bad_alloc &) {
        refuse("no memory for the connection's buffer");
    }
}

/// Appends directly to the job: readAll() would copy every byte once more.
void PrinterThread::read(QTcpSocket &socket)
{
    const qint64 available = socket.bytesAvailable();
    makeRoom(m_jobSize + available);
    if (m_refusal) {
        m_jobSize += socket.skip(available);
        return;
    }
    m_jobData.resize(static_cast<int>(m_jobSize + available));
    m_jobSize += std::max<qint64>(socket.read(m_jobData.data() + m_jobSize, available), 0);
    m_jobData.resize(static_cast<int>(m_jobSize));
}

void PrinterThread::makeRoom(qint64 size)
{
    if (m_refusal || size <= m_jobData.capacity())
        return;
    if (size > m_largestJob) {
        refuse("larger than a request body may be");
        return;
    }
    try {
        reserveJobMemory(m_jobData, std::clamp(2 * qint64(m_jobData.capacity()), size, m_largestJob));
    } catch (const std::bad_alloc &) {
        refuse("no memory for the job");
    }
}

/// The job will not be posted. What has been received is released now, the rest is dropped on arrival.
void PrinterThread::refuse(const char *reason)
{
    m_refusal = reason;
    m_jobData.clear();
}

void PrinterThread::submit(const QTcpSocket &socket)
{
    m_jobLock->lock();
    qDebug() << "59_PrinterThread" << QThread::currentThread()
             << QStringLiteral("%1, port: %2 disconnect").arg(m_info.printerName, QString::number(socket.localPort()));
    if (m_refusal) {
        m_cloud->refuse(m_jobSize, m_jobLabel, m_refusal);
        return;
    }
    if (!isInterruptionRequested() && m_cloud->post(std::move(m_jobData), m_jobSize, m_jobLabel)) {
        if (m_cloud->currentReply())
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
