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
const QLatin1Char fieldSeparator('\t'); // between driver, environment and INF file of a noted package

QString noteFile()
{
    return QCoreApplication::applicationDirPath() + QStringLiteral("/logs/removal.ini");
}

/// Whether any queue has one of these drivers, or ports.
bool isUsed(QString Queue::*field, const QStringList &names)
{
    const QList<Queue> queues = DriverCheck::localQueues();
    return std::any_of(queues.cbegin(), queues.cend(), [&](const Queue &queue) {
        return names.contains(queue.*field, Qt::CaseInsensitive); // as CloudPrinter::isSameName()
    });
}

/// The drivers that come with the package at hand.
QStringList ourModels()
{
    return (CPrinter().GetInfDrivers(DriverCheck::infFile()) << CloudPrinter::driverName).values();
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
    QStringList drivers = ourModels();
    const QList<Printer> printers = DriverCheck::queues(&Printer::isBound);
    for (const Printer &printer : printers) {
        if (CloudPrinter::isOurDriver(printer.driver)) // an older model's, and not one that the user has chosen
            drivers.append(printer.driver);
    }
    QSettings note(noteFile(), QSettings::IniFormat);
    const auto key = QStringLiteral("packages");
    QStringList packages = note.value(key).toStringList();
    for (const QString &driver : qAsConst(drivers))
        packages += packagesOf(driver);
    packages.removeDuplicates();
    note.setValue(key, packages);
    return packages;
}

void removeDriver(const QString &driver, const QString &environment)
{
    const bool isThere =
        !isUsed(&Queue::driver, {driver}) && !CPrinter().GetDriverInfPath(driver, environment).isEmpty();
    require(!isThere || CPrinter().RemovePrinterDriver(driver, environment), removalFailed);
}

/// Unless a driver that is used comes from it, too.
void removePackage(const QStringList &package, const QStringList &all)
{
    const QString infPath = package.value(2);
    const bool isNeeded = std::any_of(all.cbegin(), all.cend(), [&infPath](const QString &other) {
        return other.endsWith(fieldSeparator + infPath) &&
               isUsed(&Queue::driver, {other.section(fieldSeparator, 0, 0)});
    });
    require(isNeeded || CPrinter().RemovePrinterDriverPackage(infPath, package.value(1)) || !QFileInfo::exists(infPath),
            removalFailed);
}

} // namespace

QString RemoveProductThread::work()
{
    const QStringList packages = notePackages();
    removePrinters();
    removeDrivers(packages);
    removePorts();
    QFile::remove(noteFile());
    return isUsed(&Queue::driver, ourModels())
               ? QStringLiteral("云打印机和端口已删除，驱动还有其他打印机使用，没有删除")
               : QStringLiteral("云打印机、驱动和端口已全部删除");
}

/// A half-installed printer has driver and port only.
void RemoveProductThread::removePrinters()
{
    const QStringList names = DriverCheck::namesOf(DriverCheck::queues(
        [](const Printer &queue) { return queue.isBound() || CloudPrinter::isCloudQueue(queue.driver, queue.port); }));
    forEach(names, QStringLiteral("%1台打印机没有删除"),
            [&](int i) { require(CPrinter().RemovePrinter(names.at(i)), removalFailed); });
}

/// A driver that somebody else's queue uses stays, with its package.
void RemoveProductThread::removeDrivers(const QStringList &packages)
{
    const QStringList models = ourModels();
    // It would remove the queues with these drivers as well. What it leaves is removed, or found, below.
    if (!isUsed(&Queue::driver, models))
        CPrinter().RemoveSeriesDriver(DriverCheck::infFile());
    const auto fields = [&packages](int i) { return packages.at(i).split(fieldSeparator); };
    forEach(packages, QStringLiteral("%1个驱动没有删除"),
            [&](int i) { removeDriver(fields(i).value(0), fields(i).value(1)); });
    forEach(packages, QStringLiteral("%1个驱动包没有删除"), [&](int i) { removePackage(fields(i), packages); });
    for (const QString &model : models)
        require(isUsed(&Queue::driver, {model}) || !DriverCheck::isInstalled(model).value_or(true),
                QStringLiteral("驱动“%1”没有删除").arg(model));
}

void RemoveProductThread::removePorts()
{
    QList<Port> ports;
    require(CPrinter().EnumLocalPorts(ports) || CPrinter::nothingFound(), QStringLiteral("无法读取端口列表"));
    QStringList unused;
    for (const Port &port : qAsConst(ports)) {
        if (CloudPrinter::isPortName(port.name) && !isUsed(&Queue::port, {port.name}))
            unused.append(port.name);
    }
    forEach(unused, QStringLiteral("%1个端口没有删除"),
            [&](int i) { require(CPrinter().DeleteStandardTcpPort(unused.at(i)) == 0, removalFailed); });
}
