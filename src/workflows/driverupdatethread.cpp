#include "workflows/driverupdatethread.h"

#include "workflows/drivercheck.h"
#include "workflows/failure.h"

using DriverCheck::Printer;

namespace {

/// The set-up process does not report whether it succeeded; the version does.
bool isInstalledAfterSetup()
{
    CPrinter().InstallDriver(CloudPrinter::driverName, DriverCheck::infFileForSetup());
    return DriverCheck::versions().state == DriverCheck::State::UpToDate;
}

void installDriver()
{
    if (isInstalledAfterSetup())
        return;
    require(!QThread::currentThread()->isInterruptionRequested(), interrupted);
    // The spooler may hold the files of the old driver.
    CPrinter().RestartSvc(CPrinter::spoolerService);
    require(isInstalledAfterSetup(), QStringLiteral("安装驱动失败，驱动仍是版本%1，请检查Driver文件夹中的驱动包")
                                         .arg(DriverCheck::versions().installed));
}

} // namespace

QString DriverUpdateThread::work()
{
    const DriverCheck::Versions before = DriverCheck::versions();
    require(before.isReadable(), before.meaning());
    if (before.state != DriverCheck::State::PackageNewer)
        return before.meaning();
    const QList<Printer> printers = DriverCheck::queues(&Printer::isCurrent);
    installDriver();
    forEach(DriverCheck::namesOf(printers), QStringLiteral("驱动已更新，但有%1台打印机不正常"),
            [&](int i) { DriverCheck::requireReady(printers.at(i).name, printers.at(i)); });
    return QStringLiteral("驱动已更新到版本%1").arg(before.package);
}
