#include "capture/printerserver.h"

#include "base/runningthreads.h"
#include "capture/printerthread.h"
#include "capture/relaylink.h"
#include "spooler/cprinter.h"
#include "store/printrecord.h"

#include <QDebug>
#include <QTcpSocket>

#include <algorithm>
#include <chrono>

using namespace std::chrono_literals;

namespace {

constexpr auto busyRetryInterval = 1s;
constexpr auto acceptPause = 1s;

} // namespace

PrinterServer::PrinterServer(const DriverInfo &info, QObject *parent, qint64 bodyLimit)
    : QTcpServer(parent)
    , m_info(info)
    , m_bodyLimit(bodyLimit)
    , m_link(new RelayLink(this))
    , m_busyTimer(this)
{
    m_busyTimer.setInterval(busyRetryInterval);
    connect(&m_busyTimer, &QTimer::timeout, this, &PrinterServer::on_BusyTimeout);
    connect(this, &PrinterServer::portBusy, this, &PrinterServer::on_PortBusy);
    connect(this, &QTcpServer::acceptError, this, &PrinterServer::resumeLater);
}

PrinterServer::~PrinterServer()
{
    qDebug() << "18_PrinterServer destruct";
    closePending();
    m_link->detach();
}

void PrinterServer::stopListening(QList<PrinterServer *> &servers, const DriverInfo &removed)
{
    // By the pointer: another card's server may have the same name.
    servers.removeOne(this);
    close();
    closePending();
    qDebug() << removed.printerName << "stop listening";
}

void PrinterServer::on_PortBusy(bool isbusy)
{
    qDebug() << "51_PrinterServer PortBusy:" << isbusy;
    m_busy = isbusy;
}

void PrinterServer::onDriverInfoChanged(const DriverInfo &info)
{
    qDebug() << "43_PrinterServer driver info change";
    m_info = info;
}

void PrinterServer::incomingConnection(qintptr handle)
{
    closePending();
    m_pendingDescriptor = handle;
    qDebug() << "24_PrinterServer incomingConnection" << handle << ";port_busy=" << m_busy;
    if (m_busy)
        m_busyTimer.start();
    else
        startRelay();
}

void PrinterServer::on_BusyTimeout()
{
    qDebug() << "57_PrinterServer on_BusyTimeout:" << m_pendingDescriptor;
    if (m_busy)
        return;
    m_busyTimer.stop();
    startRelay();
}

void PrinterServer::startRelay()
{
    auto *thread = new PrinterThread(m_pendingDescriptor, m_info, currentJobLabel(), m_link->jobLock(), m_bodyLimit);
    // Without a receiver the function runs on the relay thread, and keeps the link as long as the thread exists.
    connect(thread, &PrinterThread::cloudResult,
            [link = m_link](QNetworkReply::NetworkError error, const QJsonDocument &jd) { link->deliver(error, jd); });
    emit portBusy(true);
    RunningThreads::start(thread);
    if (thread->isRunning() || thread->isFinished())
        return;
    qWarning() << "PrinterServer: no thread for a relay, trying again";
    delete thread;
    on_PortBusy(false);
    m_busyTimer.start();
}

/// Closes the waiting connection, if there is one: it is replaced by a later one or will not be served.
void PrinterServer::closePending()
{
    if (!m_busyTimer.isActive())
        return;
    m_busyTimer.stop();
    QTcpSocket socket;
    if (socket.setSocketDescriptor(m_pendingDescriptor))
        socket.abort();
}

/// After an accept error, out of descriptors for example, QTcpServer stays paused until it is resumed.
void PrinterServer::resumeLater()
{
    QTimer::singleShot(acceptPause, this, [this] {
        if (isListening())
            resumeAccepting();
    });
}

QString PrinterServer::currentJobLabel() const
{
    const QList<SpoolJob> jobs = spoolJobs(m_info.printerName);
    const auto job =
        std::find_if(jobs.begin(), jobs.end(), [](const SpoolJob &candidate) { return candidate.printing; });
    return job == jobs.end() ? QString() : JobLabel{job->document, job->submissionTime}.text();
}
