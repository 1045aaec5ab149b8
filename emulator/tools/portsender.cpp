#include "emulator/tools/portsender.h"

#include "emulator/win32/model/ports.h"

#include <QHostAddress>

#include <sys/socket.h>
#include <unistd.h>
#include <windows.h>
#include <winspool.h>

#include <cerrno>
#include <cstring>

namespace Tools {

namespace {

using namespace Win32Emulator;

constexpr int blockSize = 256 * 1024;
constexpr int retryInterval = 1000; // ms
constexpr int closingTime = 1000;   // ms

} // namespace

PortSender::PortSender(std::string port)
    : m_port(std::move(port))
{
    connect(&m_socket, &QTcpSocket::connected, this, &PortSender::sendBlock);
    connect(&m_socket, &QTcpSocket::bytesWritten, this, &PortSender::sendBlock);
    connect(&m_socket, &QTcpSocket::errorOccurred, this, [this] { fail(m_socket.errorString()); });
    m_closingTime.setSingleShot(true);
    connect(&m_closingTime, &QTimer::timeout, this, &PortSender::succeed);
}

PortSender::~PortSender()
{
    look(false);
}

void PortSender::look(bool serving)
{
    if (m_job && (!serving || !jobExists(m_job->id))) {
        setJobStatus(m_job->id, 0);
        release();
    }
    if (m_job || !serving || (m_sinceFailure.isValid() && !m_sinceFailure.hasExpired(retryInterval)))
        return;
    // The job that a killed spooler left marked as printing is the oldest one, too.
    m_job = oldestJob(m_port);
    if (m_job)
        start();
}

void PortSender::start()
{
    // Before the connection: whoever accepts it looks for the job that is printing.
    setJobStatus(m_job->id, JOB_STATUS_PRINTING);
    const std::optional<Port> port = findPort(m_port);
    m_file.setFileName(QString::fromStdString(m_job->file));
    if (port && m_file.open(QIODevice::ReadOnly))
        m_socket.connectToHost(QString::fromStdString(port->host), static_cast<quint16>(port->number));
    else
        fail(QStringLiteral("no port, or cannot read ") + m_file.fileName());
}

void PortSender::sendBlock()
{
    if (m_socket.bytesToWrite() > blockSize)
        return;
    const QByteArray block = m_file.read(blockSize);
    if (!block.isEmpty())
        m_socket.write(block);
    else if (m_socket.bytesToWrite() == 0)
        awaitClose();
}

/// Reports the end of the job to the printer, and gives it a moment to close its side: so the job is still in the queue
/// when the printer's software looks for it, and a reset is noticed. On a duplicate of the descriptor: QTcpSocket does
/// not distinguish a reset from a close.
void PortSender::awaitClose()
{
    m_closing = dup(static_cast<int>(m_socket.socketDescriptor()));
    shutdown(m_closing, SHUT_WR);
    m_socket.abort();
    m_answer = std::make_unique<QSocketNotifier>(m_closing, QSocketNotifier::Read);
    connect(m_answer.get(), &QSocketNotifier::activated, this, &PortSender::readAnswer);
    m_closingTime.start(closingTime);
}

void PortSender::readAnswer()
{
    char answer[256];
    const ssize_t size = recv(m_closing, answer, sizeof answer, 0);
    if (size == 0)
        succeed();
    else if (size < 0 && errno != EAGAIN && errno != EINTR)
        fail(QString::fromLocal8Bit(std::strerror(errno)));
}

void PortSender::succeed()
{
    removeJob(m_job->id);
    release();
    look(true);
}

void PortSender::fail(const QString &reason)
{
    setJobStatus(m_job->id, JOB_STATUS_ERROR);
    if (m_reportedJob != m_job->id) // once per job, not once per second
        std::fprintf(stderr, "spoolsv: port %s, job %u: %s\n", m_port.c_str(), m_job->id, qPrintable(reason));
    m_reportedJob = m_job->id;
    m_sinceFailure.start();
    release();
}

void PortSender::release()
{
    m_job.reset();
    m_file.close();
    m_closingTime.stop();
    if (m_answer) {
        m_answer->setEnabled(false);       // its descriptor is closed below
        m_answer.release()->deleteLater(); // it may be the caller
    }
    if (m_closing >= 0)
        close(std::exchange(m_closing, -1));
    m_socket.abort();
}

} // namespace Tools
