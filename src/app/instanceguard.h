#pragma once

#include <QLocalServer>
#include <QObject>
#include <QString>

#include <chrono>

class QLocalSocket;

/// Keeps one instance per user session and identifier, and carries a short text from a later instance to the first.
///
/// The guard itself is a named mutex of Windows, which frees it however the process ends: it is never stale,
/// and of two simultaneous starts exactly one gets it. The text travels over a local socket as an
/// InstanceMessage, acknowledged by "ack". Main thread.
class InstanceGuard : public QObject
{
    Q_OBJECT

public:
    /// Tries to acquire the guard.
    explicit InstanceGuard(const QString &identifier, QObject *parent = nullptr);
    ~InstanceGuard() override;

    bool isTaken() const { return m_taken; }
    const QString &socketName() const { return m_socketName; }

    /// Listens for messages, if this instance holds the guard. A failure is logged.
    void listen();

    enum class Delivery { Acknowledged, Unanswered, Unreachable };

    /// Hands a text to the instance that holds the guard. Connecting, writing and waiting for the acknowledgement share
    /// the time-out. Blocks. Unreachable: nobody listens.
    Delivery send(const QString &message, std::chrono::milliseconds timeout) const;

signals:
    void messageReceived(const QString &message);

private:
    void accept();
    void receive(QLocalSocket *socket);

    QString m_socketName;
    QLocalServer m_server;
    void *m_mutex = nullptr;
    bool m_taken = false;
};
