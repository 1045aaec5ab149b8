#include "app/qtsingleapplication.h"
#include "app/startup.h"
#include "store/driverinfo.h"
#include "ui/appearance.h"
#include "ui/errordialog.h"
#include "ui/velmainwindow.h"

#include <QDebug>

#include <chrono>

using namespace std::chrono_literals;

namespace {

constexpr auto endTimeout = 5s; // for the threads to end

/// If the running instance hangs, nothing follows. If it does not listen, no later start will reach it either, so the
/// user is shown the other way to its window.
void showRunningInstance(const QtSingleApplication &application)
{
    if (handOver(application) != InstanceGuard::Delivery::Unreachable)
        return;
    prepareAppearance();
    showMessage(QStringLiteral("程序已在运行，请双击任务栏通知区域中的图标打开主界面。"));
}

int runMainWindow(QtSingleApplication &application)
{
    prepareAppearance();
    VelMainWindow window;
    application.setActivationWindow(&window, true);
    // Connected twice on purpose: a message raises the window twice, which is harmless.
    QObject::connect(&application, &QtSingleApplication::messageReceived, &application,
                     &QtSingleApplication::activateWindow);
    window.show();
    return QApplication::exec();
}

} // namespace

int main(int argc, char *argv[])
{
    enableHighDpi();
    QtSingleApplication application(argc, argv);
    startLog();
    if (application.isRunning()) {
        showRunningInstance(application);
        return 0;
    }
    qRegisterMetaType<DriverInfo>("DriverInfo");
    QApplication::setQuitOnLastWindowClosed(false);
    // A log-off leaves the windows open: the user may still cancel it.
    QGuiApplication::setFallbackSessionManagementEnabled(false);
    takeOver(application, endTimeout);
    return runMainWindow(application);
}
