#include "spooler/cprinter.h"

#include "spooler/helperexport.h"
#include "spooler/win32text.h"
#include "quaylink/quaylink.h"

#include <QDebug>

namespace {

constexpr int deletionAttempts = 2;
const auto spoolerService = QStringLiteral("Spooler");

// Found at run time: not every Windows has it.
using DeletePackage = HRESULT(WINAPI *)(LPCWSTR server, LPCWSTR infPath, LPCWSTR environment);

DeletePackage findDeletePackage()
{
    const HMODULE module = GetModuleHandleW(WideText(QStringLiteral("Winspool.drv")).data());
    if (!module) {
        qDebug("1071_CPrinter GetModuleHandle Winspool.drv failed (%lu)", ulong(GetLastError()));
        return nullptr;
    }
    const FARPROC address = GetProcAddress(module, "DeletePrinterDriverPackageW");
    if (!address) {
        qDebug("1078_CPrinter Winspool.drv GetProcAddress DeletePrinterDriverPackageW failde (%lu)",
               ulong(GetLastError()));
        return nullptr;
    }
    return reinterpret_cast<DeletePackage>(reinterpret_cast<void *>(address));
}

bool removeQueues(CPrinter &printer, const QList<PRINTER_INFO_2W> &queues, const QSet<QString> &models)
{
    for (const PRINTER_INFO_2W &queue : queues) {
        if (models.contains(fromWide(queue.pDriverName)) && !printer.RemovePrinter(fromWide(queue.pPrinterName)))
            return false;
    }
    return true;
}

/// Removes a driver from each environment that it has an INF path in.
bool removeDriver(CPrinter &printer, const QString &driver, const QMap<QString, QString> &paths)
{
    for (auto path = paths.cbegin(); path != paths.cend(); ++path) {
        if (!path.value().isEmpty() && !printer.RemovePrinterDriver(driver, path.key()))
            return false;
    }
    return true;
}

bool removePackages(CPrinter &printer, const QMap<QString, QString> &paths)
{
    for (auto path = paths.cbegin(); path != paths.cend(); ++path) {
        if (!path.value().isEmpty() && !printer.RemovePrinterDriverPackage(path.value(), path.key()))
            return false;
    }
    return true;
}

} // namespace

bool CPrinter::RemovePrinterDriver(const QString &driver, const QString &environment)
{
    qDebug() << "1020_CPrinter RemovePrinterDriver()" << driver << environment;
    const HelperExport helper("QDeletePrinterDriver",
                              {"1024_CPrinter load Quaylink.dll failed", "1032_CPrinter resolve Quaylink.dll failed"});
    if (!helper)
        return false;
    auto *deleteDriver = helper.as<Quaylink::QDeletePrinterDriver>();
    DWORD error = 0;
    for (int attempt = 0; attempt < deletionAttempts; ++attempt) {
        if (deleteDriver(WideText(driver).data(), WideText(environment).data(), &error)) {
            qDebug("1050_CPrinter QDeletePrinterDriver successfully");
            return true;
        }
        qDebug("1044_CPrinter pF() failed (%d)", static_cast<int>(error));
        // The spooler may still hold the driver. It is restarted behind the last attempt too.
        StopSvc(spoolerService);
        StartSvc(spoolerService);
    }
    return false;
}

bool CPrinter::RemovePrinterDriverPackage(const QString &infPath, const QString &environment)
{
    qDebug() << "1061_CPrinter RemovePrinterDriverPackage()" << infPath << environment;
    const DeletePackage deletePackage = findDeletePackage();
    if (!deletePackage)
        return false;
    const HRESULT result = deletePackage(nullptr, WideText(infPath).data(), WideText(environment).data());
    qDebug("1083_CPrinter Result of DeletePrinterDriverPackageW is %ld", static_cast<long>(result));
    return result == S_OK;
}

bool CPrinter::RemoveSeriesDriver(const QString &fileName)
{
    qDebug("1090_CPrinter RemoveSeriesDriver()");
    QList<PRINTER_INFO_2W> queues;
    SpoolerBuffer queueBuffer;
    EnumLocalPrinters(queues, queueBuffer);
    const QSet<QString> models = GetInfDrivers(fileName);
    if (!removeQueues(*this, queues, models))
        return false;

    QList<DRIVER_INFO_3W> drivers;
    SpoolerBuffer driverBuffer;
    EnumLocalDrivers(drivers, driverBuffer);
    // Intended: only the packages of the last matching driver are removed. One series comes in one package.
    QMap<QString, QString> packages;
    for (const DRIVER_INFO_3W &driver : qAsConst(drivers)) {
        const QString name = fromWide(driver.pName);
        if (!models.contains(name))
            continue;
        packages = GetDriverInfPaths(name);
        if (!removeDriver(*this, name, packages))
            return false;
    }
    if (!removePackages(*this, packages))
        return false;
    qDebug("1159_CPrinter RemoveSeriesDriver() return true");
    return true;
}
