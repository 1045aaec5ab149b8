#include "tests/support/rawhttppeer.h"

#include "tests/support/httphead.h"

#include <QHostAddress>
#include <QTcpSocket>
#include <QTimer>

PeerAnswer PeerAnswer::http(const QByteArray &statusLine, const QByteArray &body)
{
    return {"HTTP/1.1 " + statusLine + "\r\nContent-Type: application/json\r\nContent-Length: " +
            QByteArray::number(body.size()) + HttpHead::end + body};
}

RawHttpPeer::RawHttpPeer(Answer answer)
    : m_answer(std::move(answer))
{
    connect(this, &QTcpServer::newConnection, this, [this] {
        while (QTcpSocket *socket = nextPendingConnection()) {
            connect(socket, &QTcpSocket::readyRead, this, [this, socket] { read(socket); });
            connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        }
    });
    listen(QHostAddress::LocalHost);
}

void RawHttpPeer::read(QTcpSocket *socket)
{
    const QByteArray bytes = socket->peek(socket->bytesAvailable());
    const int headSize = HttpHead::size(bytes);
    if (headSize == 0 || bytes.size() < headSize + HttpHead::contentLength(bytes))
        return;
    m_requests.append(socket->readAll());
    const PeerAnswer answer = m_answer(bytes);
    QTimer::singleShot(answer.delayMs, Qt::PreciseTimer, socket, [socket, answer] {
        socket->write(answer.bytes);
        if (answer.cut)
            socket->disconnectFromHost();
    });
}
