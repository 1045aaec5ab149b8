#include "tests/support/rawhttppeer.h"

#include "tests/support/httphead.h"

#include <QHash>
#include <QHostAddress>
#include <QMutex>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

#include <algorithm>

namespace {

/// The path in the request line of a header.
QByteArray pathOf(const QByteArray &header)
{
    return header.left(header.indexOf('\r')).split(' ').value(1);
}

} // namespace

PeerAnswer PeerAnswer::http(const QByteArray &statusLine, const QByteArray &body)
{
    return {"HTTP/1.1 " + statusLine + "\r\nContent-Type: application/json\r\nContent-Length: " +
                QByteArray::number(body.size()) + HttpHead::end + body,
            KeepOpen};
}

/// Lives on the peer's thread; only what the mutex guards is read from others.
class RawHttpPeer::Listener : public QTcpServer
{
public:
    explicit Listener(const Scripts &scripts)
        : m_scripts(scripts)
    {
        connect(this, &QTcpServer::newConnection, this, &Listener::accept);
        listen(QHostAddress::LocalHost);
    }

    QVector<QByteArray> requests() const
    {
        QMutexLocker locker(&m_mutex);
        return m_requests;
    }

private:
    void accept();
    void read(QTcpSocket *socket);
    PeerAnswer nextAnswer(const QByteArray &path);

    const Scripts m_scripts;
    QHash<QByteArray, int> m_answered; // by the scripts' keys
    QHash<QTcpSocket *, QByteArray> m_incoming;
    mutable QMutex m_mutex;
    QVector<QByteArray> m_requests;
};

void RawHttpPeer::Listener::accept()
{
    while (QTcpSocket *socket = nextPendingConnection()) {
        connect(socket, &QTcpSocket::readyRead, this, [this, socket] { read(socket); });
        connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
            m_incoming.remove(socket);
            socket->deleteLater();
        });
    }
}

void RawHttpPeer::Listener::read(QTcpSocket *socket)
{
    QByteArray &bytes = m_incoming[socket];
    bytes += socket->readAll();
    const int bodyStart = HttpHead::size(bytes);
    if (bodyStart == 0 || bytes.size() < bodyStart + HttpHead::contentLength(bytes))
        return;
    const PeerAnswer answer = nextAnswer(pathOf(bytes));
    {
        QMutexLocker locker(&m_mutex);
        m_requests.append(m_incoming.take(socket));
    }
    QTimer::singleShot(answer.delayMs, socket, [socket, answer] {
        socket->write(answer.bytes);
        if (answer.ending == PeerAnswer::Close)
            socket->disconnectFromHost();
    });
}

PeerAnswer RawHttpPeer::Listener::nextAnswer(const QByteArray &path)
{
    for (auto script = m_scripts.begin(); script != m_scripts.end(); ++script)
        if (path.startsWith(script.key()))
            return script->at(std::min(m_answered[script.key()]++, script->size() - 1));
    return PeerAnswer::silence();
}

RawHttpPeer::RawHttpPeer(const QVector<PeerAnswer> &script)
    : RawHttpPeer(Scripts{{"/", script}})
{
}

RawHttpPeer::RawHttpPeer(const Scripts &scripts)
    : m_listener(std::make_unique<Listener>(scripts))
{
    m_listener->moveToThread(&m_thread);
    m_thread.start();
}

RawHttpPeer::~RawHttpPeer()
{
    // The listener and its sockets have to go on their own thread.
    Listener *listener = m_listener.release();
    QObject::connect(&m_thread, &QThread::finished, listener, &QObject::deleteLater);
    m_thread.quit();
    m_thread.wait();
}

quint16 RawHttpPeer::port() const
{
    return m_listener->serverPort();
}

QString RawHttpPeer::baseAddress() const
{
    return QStringLiteral("http://127.0.0.1:%1").arg(port());
}

int RawHttpPeer::requestCount(const QByteArray &path) const
{
    const QVector<QByteArray> all = requests();
    return int(std::count_if(all.begin(), all.end(),
                             [&](const QByteArray &request) { return pathOf(request).startsWith(path); }));
}

QVector<QByteArray> RawHttpPeer::requests() const
{
    return m_listener->requests();
}
