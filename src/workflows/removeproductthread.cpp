#include "workflows/removeproductthread.h"

#include "store/cloudprinter.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QSettings>

#include <algorithm>

namespace {

QString noteFile()
{
    return QCoreApplication::applicationDirPath() + QStringLiteral("/logs/removal.ini");
}

/// By the package's path: its driver and the environment.
class Note : public QSettings
{
public:
    Note()
        : QSettings(noteFile(), IniFormat)
    {
    }
    static QString keyOf(const QString &infPath) { return QString::fromLatin1(infPath.toUtf8().toHex()); }
    static QString pathOf(const QString &key) { return QString::fromUtf8(QByteArray::fromHex(key.toLatin1())); }
};

template <typename Uses>
bool anyQueue(Uses uses)
{
    const QList<Queue> queues = DriverCheck::localQueues().value_or(QList<Queue>());
    return std::any_of(queues.cbegin(), queues.cend(), uses);
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
    const std::optional<QList<Queue>> queues = DriverCheck::localQueues();
    const std::optional<QList<DriverCheck::CloudQueue>> printers = DriverCheck::cloudQueues();
    if (!queues || !printers)
        return DriverCheck::unreadable;
    QStringList names;
    for (const DriverCheck::CloudQueue &printer : *printers)
        names.append(printer.queue.name);
    for (const Queue &queue : *queues) { // a half-installed printer has the driver only
        if (queue.driver == CloudPrinter::driverName && !names.contains(queue.name))
            names.append(queue.name);
    }
    return removeEach(names, QStringLiteral("打印机“%1”没有删除"),
                      [this](const QString &name) { return m_printer.RemovePrinter(name); });
}

QString RemoveProductThread::removeDrivers()
{
    const bool seriesRemoved = m_printer.RemoveSeriesDriver(DriverCheck::infFile());
    QStringList paths;
    for (const QString &key : Note().allKeys())
        paths.append(Note::pathOf(key));
    const QString left = removeEach(paths, QStringLiteral("驱动包“%1”没有删除"),
                                    [this](const QString &path) { return removePackage(path); });
    // A package removed meanwhile may have blocked the first attempt. Otherwise a queue of another model does.
    if (!left.isEmpty() || seriesRemoved || m_printer.RemoveSeriesDriver(DriverCheck::infFile()))
        return left;
    return QStringLiteral("同系列的打印机或驱动没有删除");
}

bool RemoveProductThread::removePackage(const QString &infPath)
{
    const QStringList package = Note().value(Note::keyOf(infPath)).toStringList();
    const QString driver = package.value(0);
    const QString environment = package.value(1);
    if (anyQueue([&](const Queue &queue) { return CloudPrinter::isSameName(queue.driver, driver); }))
        return true;
    const bool installed = !m_printer.GetDriverInfPath(driver, environment).isEmpty();
    if (installed && !m_printer.RemovePrinterDriver(driver, environment))
        return false;
    return m_printer.RemovePrinterDriverPackage(infPath, environment) || !QFileInfo::exists(infPath);
}

QString RemoveProductThread::removePorts()
{
    QList<Port> ports;
    if ((!m_printer.EnumLocalPorts(ports) && !CPrinter::nothingFound()) || !DriverCheck::localQueues())
        return DriverCheck::unreadable;
    QStringList unused;
    for (const Port &port : qAsConst(ports)) {
        if (CloudPrinter::isPortName(port.name) &&
            !anyQueue([&](const Queue &queue) { return CloudPrinter::isSameName(queue.port, port.name); }))
            unused.append(port.name);
    }
    return removeEach(unused, QStringLiteral("端口“%1”没有删除"),
                      [this](const QString &port) { return m_printer.DeleteStandardTcpPort(port) == 0; });
}

QString RemoveProductThread::removeEach(const QStringList &items, const QString &left,
                                        const std::function<bool(const QString &)> &remove)
{
    for (int i = 0; i < items.size(); ++i) {
        const QString failure = remove(items.at(i)) ? QString() : left.arg(items.at(i));
        report(i + 1, items.size(), items.at(i), failure);
        if (!failure.isEmpty())
            return failure;
    }
    return QString();
}

QString RemoveProductThread::notePackages()
{
    const std::optional<QList<DriverCheck::CloudQueue>> printers = DriverCheck::cloudQueues();
    if (!printers)
        return DriverCheck::unreadable;
    QSet<QString> drivers = m_printer.GetInfDrivers(DriverCheck::infFile()) << CloudPrinter::driverName;
    for (const DriverCheck::CloudQueue &printer : *printers)
        drivers.insert(printer.queue.driver);
    for (const QString &driver : qAsConst(drivers))
        notePackagesOf(driver);
    return QString();
}

void RemoveProductThread::notePackagesOf(const QString &driver)
{
    QMap<QString, QString> paths = m_printer.GetDriverInfPaths(driver);
    // An installed driver has a path; this one could not be read.
    if (paths.values().join(QString()).isEmpty() && DriverCheck::isInstalled(driver).value_or(true))
        paths = m_printer.GetDriverInfPaths(driver);
    for (auto path = paths.cbegin(); path != paths.cend(); ++path) {
        if (!path.value().isEmpty())
            Note().setValue(Note::keyOf(path.value()), QStringList({driver, path.key()}));
    }
}
