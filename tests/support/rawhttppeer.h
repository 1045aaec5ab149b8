#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QThread>
#include <QVector>

#include <memory>

/// What RawHttpPeer does with one request.
struct PeerAnswer
{
    enum Ending { KeepOpen, Close };

    QByteArray bytes;      ///< written as they stand once the whole request is there
    Ending ending = Close; ///< what becomes of the connection afterwards
    int delayMs = 0;       ///< wait before the bytes are written

    /// Never says anything.
    static PeerAnswer silence() { return {QByteArray(), KeepOpen}; }
    /// A complete answer with Content-Length.
    static PeerAnswer http(const QByteArray &statusLine, const QByteArray &body);
    static PeerAnswer ok(const QByteArray &json) { return http("200 OK", json); }
};

/// An HTTP server that follows a script, byte by byte, and keeps what it received: for what a proper server cannot be
/// brought to do. It works on a thread of its own, so the test's thread may block.
class RawHttpPeer
{
public:
    /// The n-th request whose path begins with the key gets the n-th answer, later ones the last.
    using Scripts = QMap<QByteArray, QVector<PeerAnswer>>;

    /// Listens on a free port of 127.0.0.1. What no script covers gets no answer.
    explicit RawHttpPeer(const Scripts &scripts);
    /// One script for all requests.
    explicit RawHttpPeer(const QVector<PeerAnswer> &script);
    ~RawHttpPeer();

    quint16 port() const;
    /// "http://127.0.0.1:PORT"
    QString baseAddress() const;
    /// Complete requests whose path begins with the text.
    int requestCount(const QByteArray &path = "/") const;
    /// Header and body of each.
    QVector<QByteArray> requests() const;

private:
    class Listener;

    QThread m_thread;
    std::unique_ptr<Listener> m_listener;
};
