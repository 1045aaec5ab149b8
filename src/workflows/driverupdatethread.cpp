#include "workflows/driverupdatethread.h"

#include "store/cloudprinter.h"

#include <algorithm>
#include <functional>

using DriverCheck::State;

bool DriverUpdateThread::work(QString &message)
{
    const DriverCheck::Versions before = DriverCheck::versions();
    message = before.meaning();
    if (before.state != State::PackageNewer)
        return before.isReadable();
    const std::optional<QList<DriverCheck::CloudQueue>> printers = DriverCheck::cloudQueues();
    if (!printers) {
        message = DriverCheck::unreadable;
        return false;
    }
    if (!installDriver()) {
        message = QStringLiteral("安装驱动失败，驱动仍是版本%1").arg(DriverCheck::versions().installed);
        return false;
    }
    checkPrinters(*printers);
    message = failures() == 0 ? QStringLiteral("驱动已更新到版本%1").arg(before.package)
                              : QStringLiteral("驱动已更新，但有%1台打印机不正常").arg(failures());
    return failures() == 0;
}

bool DriverUpdateThread::installDriver()
{
    constexpr int attempts = 2;
    for (int attempt = 1; attempt <= attempts; ++attempt) {
        qInfo("DriverUpdateThread installs the driver, attempt %d", attempt);
        m_printer.InstallDriver(CloudPrinter::driverName, DriverCheck::infFileForSetup());
        // The set-up process does not report whether it succeeded.
        if (DriverCheck::versions().state == State::UpToDate)
            return true;
        // The spooler may hold the files of the old driver.
        if (attempt < attempts)
            m_printer.RestartSvc(CPrinter::spoolerService);
    }
    return false;
}

void DriverUpdateThread::checkPrinters(QList<DriverCheck::CloudQueue> printers)
{
    printers.erase(std::remove_if(printers.begin(), printers.end(), std::mem_fn(&DriverCheck::CloudQueue::isOutdated)),
                   printers.end());
    for (int i = 0; i < printers.size(); ++i) {
        const QString &name = printers.at(i).queue.name;
        report(i + 1, printers.size(), name, bindQueue(name, printers.at(i)));
    }
}
