#pragma once

#include <QApplication>
#include <QPointer>

#include "app/instanceguard.h"

/// The application object of a program that runs once per user session and executable path.
///
/// The second instance sees isRunning(), hands over with sendMessage() and ends; the first raises its window. Main
/// thread.
class QtSingleApplication : public QApplication
{
    Q_OBJECT

public:
    QtSingleApplication(int &argc, char **argv);

    /// The guard's identifier for an executable with this path.
    static QString identifierOf(const QString &path);

    /// True when another instance holds the guard.
    bool isRunning() const { return m_guard.isTaken(); }

    /// Sends a text to that instance and waits for its acknowledgement.
    InstanceGuard::Delivery sendMessage(const QString &message, std::chrono::milliseconds timeout) const
    {
        return m_guard.send(message, timeout);
    }

    /// Starts receiving the messages of later instances. Call it when the log is set up: it reports a failure there.
    void listen() { m_guard.listen(); }

    /// The window that activateWindow() brings to the front; not owned. With `activateOnMessage` every message does so.
    void setActivationWindow(QWidget *window, bool activateOnMessage = true);

public slots:
    /// Shows the activation window, also when it is hidden or minimised, and makes it the active one.
    void activateWindow();

signals:
    void messageReceived(const QString &message);

private:
    InstanceGuard m_guard;
    QPointer<QWidget> m_activationWindow;
};
