#include "capture/printerserver.h"

#include "base/descriptors.h"
#include "base/runningthreads.h"
#include "capture/printerthread.h"
#include "capture/relaylink.h"
#include "spooler/cprinter.h"

#include <QDebug>
#include <QTcpSocket>

#include <algorithm>

namespace {

constexpr int busyRetryInterval = 1000; // ms
constexpr int acceptPause = 1000;       // ms
/// What a job takes until its end, for the relay's thread, the connections to the cloud and the files, and some more
/// for connections that come meanwhile.
constexpr int descriptorsOfJob = 12;

int busyServers = 0;

} // namespace

PrinterServer::PrinterServer(const DriverInfo &info, QObject *parent)
    : QTcpServer(parent)
    , m_info(info)
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
    busyServers -= m_busy;
}

void PrinterServer::stopListening(QList<PrinterServer *> &servers, const DriverInfo &removed)
{
    // By the pointer: another card's server may bear the same name.
    servers.removeOne(this);
    close();
    closePending();
    qDebug() << removed.printerName << "stop listening";
}

void PrinterServer::on_PortBusy(bool isbusy)
{
    qDebug() << "51_PrinterServer PortBusy:" << isbusy;
    busyServers += int(isbusy) - int(m_busy);
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
    if (mayRelay())
        startRelay();
    else
        m_busyTimer.start();
}

void PrinterServer::on_BusyTimeout()
{
    qDebug() << "57_PrinterServer on_BusyTimeout:" << m_pendingDescriptor;
    if (!mayRelay())
        return;
    m_busyTimer.stop();
    startRelay();
}

/// The framework ends the process when it finds no descriptor for a new thread, so a connection waits until there are
/// enough for its job. The other printers' jobs may not have taken theirs yet.
bool PrinterServer::mayRelay() const
{
    if (m_busy)
        return false;
    if (descriptorsAreLeft(descriptorsOfJob * (busyServers + 1)))
        return true;
    qWarning() << "PrinterServer: too few descriptors are left for a relay";
    return false;
}

void PrinterServer::startRelay()
{
    auto *thread = new PrinterThread(m_pendingDescriptor, m_info, currentJobLabel(), m_link->jobLock());
    // Without a receiver the function runs on the relay thread, and keeps the link for as long as the thread is there.
    connect(thread, &PrinterThread::cloudResult,
            [link = m_link](QNetworkReply::NetworkError error, const QJsonDocument &jd) { link->deliver(error, jd); });
    emit portBusy(true);
    RunningThreads::start(thread);
}

/// Closes the connection that waits, if one does: a later one takes its place, or nobody will serve it.
void PrinterServer::closePending()
{
    if (!m_busyTimer.isActive())
        return;
    m_busyTimer.stop();
    QTcpSocket socket;
    if (socket.setSocketDescriptor(m_pendingDescriptor))
        socket.abort();
}

/// Out of descriptors, say: the base class has stopped accepting and would never begin again.
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
    return job == jobs.end() ? QString() : job->document + QLatin1Char(';') + job->submissionTime;
}
