// OrvoDriverUpdate [/check | /update | /remove]: with an option it works without a window, for installers and
// administrators. The exit codes are MaintenanceThread's outcomes.

#include "app/qtsingleapplication.h"
#include "app/startup.h"
#include "base/runningthreads.h"
#include "ui/appearance.h"
#include "ui/driverupdatewindow.h"
#include "workflows/drivercheck.h"
#include "workflows/driverupdatethread.h"
#include "workflows/removeproductthread.h"

#include <QDebug>
#include <QFileInfo>
#include <QMessageBox>

#include <chrono>
#include <memory>

using namespace std::chrono_literals;

namespace {

constexpr auto endTimeout = 2min; // for the worker to complete the printer that it is at

/// The manager is in the same folder.
QString managerPath()
{
    const QFileInfo program(QCoreApplication::applicationFilePath());
    return program.path() + QLatin1Char('/') +
           program.fileName().replace(program.baseName(), QStringLiteral("OrvoCloudManager"));
}

bool askToRetry()
{
    QMessageBox question(QMessageBox::Warning, QStringLiteral("注意"),
                         QStringLiteral("Orvo云驱动管家正在运行。\n请右击托盘图标，选择“退出”，然后重试。"),
                         QMessageBox::Retry | QMessageBox::Cancel, nullptr,
                         Qt::Dialog | Qt::MSWindowsFixedSizeDialogHint);
    question.setButtonText(QMessageBox::Retry, QStringLiteral("重试"));
    question.setButtonText(QMessageBox::Cancel, QStringLiteral("取消"));
    return question.exec() == QMessageBox::Retry;
}

/// The manager's guard, held here so that it does not start meanwhile; null when it runs.
std::unique_ptr<InstanceGuard> managerGuard()
{
    auto guard = std::make_unique<InstanceGuard>(QtSingleApplication::identifierOf(managerPath()));
    if (guard->isTaken())
        return nullptr;
    guard->listen();
    return guard;
}

int run(MaintenanceThread *worker)
{
    int exitCode = MaintenanceThread::Failed; // of a program that is asked to end before its worker has
    QObject::connect(worker, &MaintenanceThread::result, qApp, [&exitCode](MaintenanceThread::Outcome outcome) {
        exitCode = outcome;
        QCoreApplication::quit();
    });
    RunningThreads::start(worker);
    QCoreApplication::exec();
    return exitCode;
}

int runOption(const QString &option)
{
    if (option == QLatin1String("/update"))
        return run(new DriverUpdateThread);
    if (option == QLatin1String("/remove"))
        return run(new RemoveProductThread);
    const DriverCheck::Versions versions = DriverCheck::versions();
    qInfo("DriverCheck installed %s, package %s: %s", qUtf8Printable(versions.installed),
          qUtf8Printable(versions.package), qUtf8Printable(versions.meaning()));
    return option == QLatin1String("/check") && versions.isReadable() ? MaintenanceThread::Done
                                                                      : MaintenanceThread::Failed;
}

int runWindow(QtSingleApplication &application, const InstanceGuard &guard)
{
    DriverUpdateWindow window;
    application.setActivationWindow(&window, true);
    // Started meanwhile, the manager hands over to this window.
    QObject::connect(&guard, &InstanceGuard::messageReceived, &application, &QtSingleApplication::activateWindow);
    window.show();
    QApplication::setQuitOnLastWindowClosed(true);
    return QCoreApplication::exec();
}

} // namespace

int main(int argc, char *argv[])
{
    enableHighDpi();
    QtSingleApplication application(argc, argv);
    startLog();
    const QString option = QCoreApplication::arguments().value(1);
    if (application.isRunning()) {
        handOver(application);
        return MaintenanceThread::Busy;
    }
    qRegisterMetaType<MaintenanceThread::Outcome>();
    QApplication::setQuitOnLastWindowClosed(false); // by closing the question below
    takeOver(application, endTimeout);
    prepareAppearance();
    std::unique_ptr<InstanceGuard> guard = managerGuard();
    while (!guard && option.isEmpty() && askToRetry())
        guard = managerGuard();
    if (!guard) {
        qWarning("The manager runs");
        return MaintenanceThread::Busy;
    }
    return option.isEmpty() ? runWindow(application, *guard) : runOption(option);
}
