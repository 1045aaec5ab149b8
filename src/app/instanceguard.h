#pragma once

#include <QLocalServer>
#include <QObject>
#include <QString>

class QLocalSocket;

/// Keeps one instance per user session and identifier, and carries a short text from a later instance to the first.
///
/// The guard itself is a named mutex of the platform: the system frees it when the process ends, however it ends, so
/// there is nothing stale to recognise and two starts in the same instant are told apart. The text goes over a local
/// socket as an InstanceMessage, answered by "ack". Main thread.
class InstanceGuard : public QObject
{
    Q_OBJECT

public:
    /// Takes the guard, or finds it taken, and in the former case begins to listen.
    explicit InstanceGuard(const QString &identifier, QObject *parent = nullptr);
    ~InstanceGuard() override;

    bool isTaken() const { return m_taken; }
    const QString &socketName() const { return m_socketName; }

    /// Hands a text to the instance that holds the guard. True when that one has acknowledged it; connecting, writing
    /// and waiting for the answer share the one time-out in milliseconds. Blocks.
    bool send(const QString &message, int timeout) const;

signals:
    void messageReceived(const QString &message);

private:
    void listen();
    void accept();
    void receive(QLocalSocket *socket);

    QString m_socketName;
    QLocalServer m_server;
    void *m_mutex = nullptr;
    bool m_taken = false;
};
