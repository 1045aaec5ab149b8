#include "app/instanceguard.h"

#include "app/instancemessage.h"

#include <QCryptographicHash>
#include <QDeadlineTimer>
#include <QDebug>
#include <QLocalSocket>
#include <QThread>
#include <QTimer>

#include <windows.h>

using namespace std::chrono_literals;

namespace {

constexpr auto connectPause = 50ms;     // between attempts: the first instance may not listen yet
constexpr auto connectionLifetime = 5s; // then a sender that has not finished is dropped
const QByteArray acknowledgement = QByteArrayLiteral("ack");

/// On Windows local socket names are machine-wide, so the user session is part of the name.
QString nameFor(const QString &identifier)
{
    DWORD session = 0;
    ProcessIdToSessionId(GetCurrentProcessId(), &session);
    const QByteArray hash = QCryptographicHash::hash(identifier.toUtf8(), QCryptographicHash::Sha1);
    return QStringLiteral("orvocloudmanager-%1-%2").arg(QString::fromLatin1(hash.toHex().left(16))).arg(session, 0, 16);
}

int remaining(const QDeadlineTimer &deadline)
{
    return static_cast<int>(deadline.remainingTime());
}

bool connectTo(QLocalSocket &socket, const QString &name, const QDeadlineTimer &deadline)
{
    while (!deadline.hasExpired()) {
        socket.connectToServer(name);
        if (socket.waitForConnected(remaining(deadline)))
            return true;
        socket.abort();
        QThread::msleep(connectPause.count());
    }
    return false;
}

} // namespace

InstanceGuard::InstanceGuard(const QString &identifier, QObject *parent)
    : QObject(parent)
    , m_socketName(nameFor(identifier))
{
    const QString mutexName = QStringLiteral("Local\\") + m_socketName;
    m_mutex = CreateMutexW(nullptr, FALSE, reinterpret_cast<LPCWSTR>(mutexName.utf16()));
    const DWORD error = GetLastError();
    // Access is denied if the mutex belongs to an instance with other rights.
    m_taken = m_mutex ? error == ERROR_ALREADY_EXISTS : error == ERROR_ACCESS_DENIED;
}

InstanceGuard::~InstanceGuard()
{
    m_server.close();
    if (m_mutex)
        CloseHandle(m_mutex);
}

void InstanceGuard::listen()
{
    if (m_taken)
        return;
    connect(&m_server, &QLocalServer::newConnection, this, &InstanceGuard::accept);
    m_server.setSocketOptions(QLocalServer::UserAccessOption);
    // Remove the socket of a killed instance. We hold the mutex, so nobody is using it.
    QLocalServer::removeServer(m_socketName);
    if (!m_server.listen(m_socketName))
        qWarning() << "InstanceGuard cannot listen:" << m_server.errorString();
}

void InstanceGuard::accept()
{
    while (QLocalSocket *socket = m_server.nextPendingConnection()) {
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] { receive(socket); });
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        QTimer::singleShot(connectionLifetime, socket, &QLocalSocket::abort);
    }
}

void InstanceGuard::receive(QLocalSocket *socket)
{
    const InstanceMessage::Reading message = InstanceMessage::read(*socket);
    if (message.state == InstanceMessage::State::TooLong)
        socket->abort();
    if (message.state != InstanceMessage::State::Complete)
        return;
    // One message per connection; anything after it is ignored.
    disconnect(socket, &QLocalSocket::readyRead, this, nullptr);
    // Acknowledged first: acting on the message may take longer than the sender waits.
    socket->write(acknowledgement);
    socket->flush();
    socket->disconnectFromServer();
    emit messageReceived(message.text);
}

InstanceGuard::Delivery InstanceGuard::send(const QString &message, std::chrono::milliseconds timeout) const
{
    // The process that the user has just started may raise windows; the first instance needs its permission.
    AllowSetForegroundWindow(ASFW_ANY);
    const QDeadlineTimer deadline(timeout);
    QLocalSocket socket;
    if (!connectTo(socket, m_socketName, deadline))
        return Delivery::Unreachable;
    socket.write(InstanceMessage::framed(message));
    while (socket.bytesToWrite() > 0)
        if (!socket.waitForBytesWritten(remaining(deadline)))
            return Delivery::Unanswered;
    while (socket.bytesAvailable() < acknowledgement.size())
        if (!socket.waitForReadyRead(remaining(deadline)))
            return Delivery::Unanswered;
    return socket.read(acknowledgement.size()) == acknowledgement ? Delivery::Acknowledged : Delivery::Unanswered;
}
