#include "app/qtsingleapplication.h"

#include <QSysInfo>
#include <QWidget>

QString QtSingleApplication::identifierOf(const QString &path)
{
    return QSysInfo::kernelType() == QLatin1String("winnt") ? path.toLower() : path;
}

QtSingleApplication::QtSingleApplication(int &argc, char **argv)
    : QApplication(argc, argv)
    , m_guard(identifierOf(applicationFilePath()))
{
    connect(&m_guard, &InstanceGuard::messageReceived, this, &QtSingleApplication::messageReceived);
}

void QtSingleApplication::setActivationWindow(QWidget *window, bool activateOnMessage)
{
    m_activationWindow = window;
    if (activateOnMessage)
        connect(this, &QtSingleApplication::messageReceived, this, &QtSingleApplication::activateWindow);
}

void QtSingleApplication::activateWindow()
{
    if (!m_activationWindow)
        return;
    m_activationWindow->setWindowState(m_activationWindow->windowState() & ~Qt::WindowMinimized);
    m_activationWindow->showNormal();
    m_activationWindow->raise();
    m_activationWindow->activateWindow();
}
