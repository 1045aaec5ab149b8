#pragma once

#include <QTcpServer>
#include <QVector>

#include <functional>

/// What RawHttpPeer does with one request.
struct PeerAnswer
{
    QByteArray bytes; ///< written as they stand
    int delayMs = 0;
    bool cut = false; ///< the connection is closed after the bytes

    static PeerAnswer silence() { return {}; }
    /// A complete answer with Content-Length.
    static PeerAnswer http(const QByteArray &statusLine, const QByteArray &body);
    static PeerAnswer ok(const QByteArray &json) { return http("200 OK", json); }
};

/// An HTTP server on the test's thread that answers byte by byte as the test says and keeps what it received: for what
/// a proper server cannot be brought to do.
class RawHttpPeer : public QTcpServer
{
public:
    /// `answer` is called with each complete request, header and body.
    using Answer = std::function<PeerAnswer(const QByteArray &request)>;

    /// Listens on a free port of 127.0.0.1.
    explicit RawHttpPeer(Answer answer);
    explicit RawHttpPeer(const PeerAnswer &answer)
        : RawHttpPeer([answer](const QByteArray &) { return answer; })
    {
    }

    QString baseAddress() const { return QStringLiteral("http://127.0.0.1:%1").arg(serverPort()); }
    QVector<QByteArray> requests() const { return m_requests; }

private:
    void read(QTcpSocket *socket);

    const Answer m_answer;
    QVector<QByteArray> m_requests;
};
