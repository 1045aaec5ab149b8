#include "app/instanceguard.h"

#include "app/instancemessage.h"

#include <QCryptographicHash>
#include <QDeadlineTimer>
#include <QDebug>
#include <QLocalSocket>
#include <QThread>
#include <QTimer>

#include <windows.h>

namespace {

constexpr int connectPause = 50;         // ms between attempts: the first instance may not listen yet
constexpr int connectionLifetime = 5000; // ms that a sender may take
const QByteArray acknowledgement = QByteArrayLiteral("ack");

/// Local sockets are machine-wide on some systems, so the user session is part of the name.
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
        QThread::msleep(connectPause);
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
    // A mutex that this process may not open belongs to an instance with other rights: that one runs, too.
    m_taken = m_mutex ? error == ERROR_ALREADY_EXISTS : error == ERROR_ACCESS_DENIED;
    if (!m_taken)
        listen();
}

InstanceGuard::~InstanceGuard()
{
    m_server.close();
    if (m_mutex)
        CloseHandle(m_mutex);
}

void InstanceGuard::listen()
{
    connect(&m_server, &QLocalServer::newConnection, this, &InstanceGuard::accept);
    m_server.setSocketOptions(QLocalServer::UserAccessOption);
    // What an instance that was killed left behind; the guard is ours, so nobody listens there.
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
    // One message a connection, whatever comes behind it.
    disconnect(socket, &QLocalSocket::readyRead, this, nullptr);
    // Answered before the message is acted upon, which may take its time.
    socket->write(acknowledgement);
    socket->flush();
    socket->disconnectFromServer();
    emit messageReceived(message.text);
}

bool InstanceGuard::send(const QString &message, int timeout) const
{
    const QDeadlineTimer deadline(timeout);
    QLocalSocket socket;
    if (!connectTo(socket, m_socketName, deadline))
        return false;
    socket.write(InstanceMessage::framed(message));
    while (socket.bytesToWrite() > 0)
        if (!socket.waitForBytesWritten(remaining(deadline)))
            return false;
    while (socket.bytesAvailable() < acknowledgement.size())
        if (!socket.waitForReadyRead(remaining(deadline)))
            return false;
    return socket.read(acknowledgement.size()) == acknowledgement;
}
