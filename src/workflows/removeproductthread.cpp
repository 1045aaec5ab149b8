#include "workflows/removeproductthread.h"

#include "workflows/drivercheck.h"
#include "workflows/failure.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QSettings>

#include <algorithm>

using DriverCheck::Printer;

namespace {

const auto removalFailed = QStringLiteral("没有删除");
const QLatin1Char fieldSeparator('\t'); // between driver, environment and INF file of a package

QString noteFile()
{
    return QCoreApplication::applicationDirPath() + QStringLiteral("/logs/removal.ini");
}

bool isUsed(QString Queue::*field, const QString &name)
{
    const QList<Queue> queues = DriverCheck::localQueues();
    return std::any_of(queues.cbegin(), queues.cend(),
                       [&](const Queue &queue) { return CloudPrinter::isSameName(queue.*field, name); });
}

QStringList packagesOf(const QString &driver)
{
    QMap<QString, QString> paths = CPrinter().GetDriverInfPaths(driver);
    // An installed driver has a path; this one could not be read.
    if (paths.values().join(QString()).isEmpty() && DriverCheck::isInstalled(driver).value_or(true))
        paths = CPrinter().GetDriverInfPaths(driver);
    QStringList packages;
    for (auto path = paths.cbegin(); path != paths.cend(); ++path) {
        if (!path.value().isEmpty())
            packages.append(QStringList({driver, path.key(), path.value()}).join(fieldSeparator));
    }
    return packages;
}

/// The packages of our drivers, noted in a file: a package's path is known only while its driver is installed, and the
/// next run must know it if this one ends between the two.
QStringList notePackages()
{
    QSet<QString> drivers = CPrinter().GetInfDrivers(DriverCheck::infFile()) << CloudPrinter::driverName;
    const QList<Printer> printers = DriverCheck::queues(&Printer::isBound);
    for (const Printer &printer : printers)
        drivers.insert(printer.driver);
    QSettings note(noteFile(), QSettings::IniFormat);
    const auto key = QStringLiteral("packages");
    QStringList packages = note.value(key).toStringList();
    for (const QString &driver : qAsConst(drivers))
        packages += packagesOf(driver);
    packages.removeDuplicates();
    note.setValue(key, packages);
    return packages;
}

void removePackage(const QStringList &package)
{
    CPrinter spooler;
    const QString driver = package.value(0);
    const QString environment = package.value(1);
    const QString infPath = package.value(2);
    if (isUsed(&Queue::driver, driver))
        return;
    const bool isInstalled = !spooler.GetDriverInfPath(driver, environment).isEmpty();
    require(!isInstalled || spooler.RemovePrinterDriver(driver, environment), removalFailed);
    require(spooler.RemovePrinterDriverPackage(infPath, environment) || !QFileInfo::exists(infPath), removalFailed);
}

} // namespace

QString RemoveProductThread::work()
{
    const QStringList packages = notePackages();
    removePrinters();
    removeDrivers(packages);
    removePorts();
    QFile::remove(noteFile());
    return QStringLiteral("云打印机、驱动和端口已全部删除");
}

/// A half-installed printer has the driver only.
void RemoveProductThread::removePrinters()
{
    const QStringList names = DriverCheck::namesOf(DriverCheck::queues(
        [](const Printer &queue) { return queue.isBound() || queue.driver == CloudPrinter::driverName; }));
    forEach(names, QStringLiteral("%1台打印机没有删除"),
            [&](int i) { require(CPrinter().RemovePrinter(names.at(i)), removalFailed); });
}

void RemoveProductThread::removeDrivers(const QStringList &packages)
{
    const bool seriesRemoved = CPrinter().RemoveSeriesDriver(DriverCheck::infFile());
    forEach(packages, QStringLiteral("%1个驱动包没有删除"),
            [&](int i) { removePackage(packages.at(i).split(fieldSeparator)); });
    // A package removed meanwhile may have blocked the first attempt. Otherwise a queue of another model does.
    require(seriesRemoved || CPrinter().RemoveSeriesDriver(DriverCheck::infFile()),
            QStringLiteral("同系列的打印机或驱动没有删除"));
}

void RemoveProductThread::removePorts()
{
    QList<Port> ports;
    require(CPrinter().EnumLocalPorts(ports) || CPrinter::nothingFound(), QStringLiteral("无法读取端口列表"));
    QStringList unused;
    for (const Port &port : qAsConst(ports)) {
        if (CloudPrinter::isPortName(port.name) && !isUsed(&Queue::port, port.name))
            unused.append(port.name);
    }
    forEach(unused, QStringLiteral("%1个端口没有删除"),
            [&](int i) { require(CPrinter().DeleteStandardTcpPort(unused.at(i)) == 0, removalFailed); });
}
