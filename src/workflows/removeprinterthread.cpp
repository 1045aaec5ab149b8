#include "workflows/removeprinterthread.h"

#include "store/cloudprinter.h"

#include <QDebug>

RemovePrinterThread::RemovePrinterThread(const DriverInfo &info, QObject *parent)
    : QThread(parent)
    , m_info(info)
{
}

void RemovePrinterThread::run()
{
    const Outcome outcome = removePrinter();
    emit removeResult(outcome.success, outcome.message, m_info);
}

RemovePrinterThread::Outcome RemovePrinterThread::removePrinter()
{
    if (!m_printer.RemovePrinter(m_info.printerName))
        return {false, QStringLiteral("删除打印机失败")};
    // The message intentionally names the driver although only the queue was deleted.
    if (!m_removeDriver)
        return {true, QStringLiteral("删除打印机驱动成功")};
    if (isDriverInUse())
        return {true, QStringLiteral("删除打印机成功")};
    return removeDriverAndPackages();
}

bool RemovePrinterThread::isDriverInUse()
{
    QList<Queue> queues;
    m_printer.EnumLocalPrinters(queues);
    for (const Queue &queue : qAsConst(queues)) {
        if (CloudPrinter::isSameName(queue.driver, m_info.driverName)) {
            qDebug("%ls依赖%ls, 不删除驱动", qUtf16Printable(queue.name), qUtf16Printable(queue.driver));
            return true;
        }
    }
    return false;
}

RemovePrinterThread::Outcome RemovePrinterThread::removeDriverAndPackages()
{
    // The map has every environment; the driver is not installed in one without an INF path.
    QMap<QString, QString> packages = m_printer.GetDriverInfPaths(m_info.driverName);
    for (auto package = packages.begin(); package != packages.end();)
        package = package.value().isEmpty() ? packages.erase(package) : package + 1;
    if (packages.isEmpty())
        return {false, QStringLiteral("查找驱动环境失败")};

    for (auto package = packages.cbegin(); package != packages.cend(); ++package) {
        if (!m_printer.RemovePrinterDriver(m_info.driverName, package.key()))
            return {false, QStringLiteral("删除打印机驱动失败")};
    }
    if (!m_removeDriverPackage)
        return {true, QStringLiteral("删除打印机驱动成功")};
    for (auto package = packages.cbegin(); package != packages.cend(); ++package) {
        if (!m_printer.RemovePrinterDriverPackage(package.value(), package.key()))
            return {false, QStringLiteral("删除打印机驱动包失败")};
    }
    return {true, QStringLiteral("删除打印机驱动包成功")};
}
