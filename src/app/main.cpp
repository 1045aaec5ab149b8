#include "app/qtsingleapplication.h"
#include "app/startup.h"
#include "base/runningthreads.h"
#include "store/driverinfo.h"
#include "ui/appearance.h"
#include "ui/errordialog.h"
#include "ui/velmainwindow.h"

#include <QDebug>

#include <chrono>

using namespace std::chrono_literals;

namespace {

constexpr auto handOverTimeout = 5s;
constexpr auto endTimeout = 5s; // for the workers to end

/// Lets the running instance show its window. If it hangs, nothing follows. If it does not listen, no later start will
/// reach it either, so the user is shown the other way to its window.
void handOver(const QtSingleApplication &application)
{
    const auto delivery = application.sendMessage(QStringLiteral("raise_window_noop"), handOverTimeout);
    if (delivery == InstanceGuard::Delivery::Acknowledged)
        return;
    qWarning() << "the running instance has not acknowledged";
    if (delivery != InstanceGuard::Delivery::Unreachable)
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

/// At log-off Windows ends the process as soon as the windows have been notified, so the threads end before exec()
/// returns. The windows stay open: the user may still cancel the log-off.
void endThreadsBeforeQuit(QApplication &application)
{
    QGuiApplication::setFallbackSessionManagementEnabled(false);
    QObject::connect(&application, &QCoreApplication::aboutToQuit, [] { RunningThreads::endAll(endTimeout); });
}

} // namespace

int main(int argc, char *argv[])
{
    enableHighDpi();
    QtSingleApplication application(argc, argv);
    startLog();
    if (application.isRunning()) {
        handOver(application);
        return 0;
    }
    application.listen();
    qRegisterMetaType<DriverInfo>("DriverInfo");
    QApplication::setQuitOnLastWindowClosed(false);
    installTranslation(application);
    endThreadsBeforeQuit(application);
    return runMainWindow(application);
}
