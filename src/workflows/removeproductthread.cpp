#include "workflows/removeproductthread.h"

#include "store/cloudprinter.h"
#include "workflows/replaceprintersthread.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QSaveFile>

#include <algorithm>

namespace {

QString noteFile()
{
    return QCoreApplication::applicationDirPath() + QStringLiteral("/logs/removal.txt");
}

/// The cloud printers, and what has our driver without being one: half-made ones.
std::optional<QStringList> ourQueues()
{
    const std::optional<QList<Queue>> queues = DriverCheck::localQueues();
    const std::optional<QList<DriverCheck::CloudQueue>> printers = DriverCheck::cloudQueues();
    if (!queues || !printers)
        return std::nullopt;
    QStringList names;
    for (const DriverCheck::CloudQueue &printer : *printers)
        names.append(printer.queue.name);
    for (const Queue &queue : *queues) {
        if (queue.driver == CloudPrinter::driverName && !names.contains(queue.name))
            names.append(queue.name);
    }
    return names;
}

/// Our ports that no queue uses.
std::optional<QStringList> freePorts()
{
    QList<Port> ports;
    if (!CPrinter().EnumLocalPorts(ports) && !CPrinter::nothingFound())
        return std::nullopt;
    const std::optional<QList<Queue>> queues = DriverCheck::localQueues();
    if (!queues)
        return std::nullopt;
    QStringList names;
    for (const Port &port : qAsConst(ports)) {
        const auto usesIt = [&](const Queue &queue) { return DriverCheck::isSameName(queue.port, port.name); };
        if (CloudPrinter::isPortName(port.name) && std::none_of(queues->cbegin(), queues->cend(), usesIt))
            names.append(port.name);
    }
    return names;
}

bool isUsed(const QString &driver)
{
    const QList<Queue> queues = DriverCheck::localQueues().value_or(QList<Queue>());
    return std::any_of(queues.cbegin(), queues.cend(),
                       [&](const Queue &queue) { return DriverCheck::isSameName(queue.driver, driver); });
}

} // namespace

bool RemoveProductThread::work(QString &message)
{
    message = notePackages();
    if (message.isEmpty())
        message = removePrinters();
    if (message.isEmpty())
        message = removeDrivers();
    if (message.isEmpty())
        message = removePorts();
    if (!message.isEmpty())
        return false;
    QFile::remove(noteFile());
    message = QStringLiteral("云打印机、驱动和端口已全部删除");
    return true;
}

QString RemoveProductThread::removePrinters()
{
    const std::optional<QStringList> names = ourQueues();
    if (!names)
        return DriverCheck::unreadable();
    for (int i = 0; i < names->size(); ++i) {
        const QString &name = names->at(i);
        const QString failure =
            m_printer.RemovePrinter(name) ? QString() : QStringLiteral("打印机“%1”没有删除").arg(name);
        report(i + 1, names->size(), name, failure);
        if (!failure.isEmpty())
            return failure;
    }
    return QString();
}

QString RemoveProductThread::removeDrivers()
{
    const bool seriesRemoved = m_printer.RemoveSeriesDriver(DriverCheck::infFile());
    for (int i = 0; i < m_packages.size(); ++i) {
        const Package &package = m_packages.at(i);
        const QString failure = removeDriver(package);
        report(i + 1, m_packages.size(), package.driver + QLatin1Char(' ') + package.infPath, failure);
        if (!failure.isEmpty())
            return failure;
    }
    // What stopped the series the first time may be gone now; else it is a queue of another of its models.
    if (seriesRemoved || m_printer.RemoveSeriesDriver(DriverCheck::infFile()))
        return QString();
    return QStringLiteral("同系列的打印机或驱动没有删除");
}

QString RemoveProductThread::removeDriver(const Package &package)
{
    if (isUsed(package.driver))
        return QString();
    const bool installed = !m_printer.GetDriverInfPath(package.driver, package.environment).isEmpty();
    if (installed && !m_printer.RemovePrinterDriver(package.driver, package.environment))
        return QStringLiteral("驱动“%1”没有删除").arg(package.driver);
    // A package that is not there any more is not an error.
    if (!m_printer.RemovePrinterDriverPackage(package.infPath, package.environment) &&
        QFileInfo::exists(package.infPath))
        return QStringLiteral("驱动包“%1”没有删除").arg(package.infPath);
    return QString();
}

QString RemoveProductThread::removePorts()
{
    const std::optional<QStringList> ports = freePorts();
    if (!ports)
        return DriverCheck::unreadable();
    for (int i = 0; i < ports->size(); ++i) {
        const QString &port = ports->at(i);
        const QString failure =
            m_printer.DeleteStandardTcpPort(port) == 0 ? QString() : QStringLiteral("端口“%1”没有删除").arg(port);
        report(i + 1, ports->size(), port, failure);
        if (!failure.isEmpty())
            return failure;
    }
    return QString();
}

QString RemoveProductThread::notePackages()
{
    readNote();
    const std::optional<QList<DriverCheck::CloudQueue>> printers = DriverCheck::cloudQueues();
    if (!printers)
        return DriverCheck::unreadable();
    QSet<QString> drivers = m_printer.GetInfDrivers(DriverCheck::infFile());
    drivers.insert(CloudPrinter::driverName);
    for (const DriverCheck::CloudQueue &printer : *printers)
        drivers.insert(printer.queue.driver);
    for (const QString &driver : qAsConst(drivers))
        notePackagesOf(driver);
    writeNote();
    return QString();
}

void RemoveProductThread::notePackagesOf(const QString &driver)
{
    QMap<QString, QString> paths = m_printer.GetDriverInfPaths(driver);
    // An installed driver has a path; this one did not let itself be read.
    if (paths.values().join(QString()).isEmpty() && DriverCheck::isInstalled(driver).value_or(true))
        paths = m_printer.GetDriverInfPaths(driver);
    for (auto path = paths.cbegin(); path != paths.cend(); ++path) {
        if (!path.value().isEmpty())
            m_packages.append({driver, path.key(), path.value()});
    }
}

void RemoveProductThread::readNote()
{
    QFile file(noteFile());
    file.open(QIODevice::ReadOnly | QIODevice::Text);
    while (!file.atEnd()) {
        const QStringList fields = QString::fromUtf8(file.readLine()).trimmed().split(QLatin1Char('\t'));
        if (fields.size() == 3)
            m_packages.append({fields.at(0), fields.at(1), fields.at(2)});
    }
}

void RemoveProductThread::writeNote() const
{
    QSaveFile file(noteFile());
    if (!file.open(QIODevice::WriteOnly | QIODevice::Text))
        return;
    for (const Package &package : m_packages)
        file.write(QStringLiteral("%1\t%2\t%3\n").arg(package.driver, package.environment, package.infPath).toUtf8());
    file.commit();
}
