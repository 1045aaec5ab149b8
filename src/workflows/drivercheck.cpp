#include "workflows/drivercheck.h"

#include "store/cloudprinter.h"

#include <QCoreApplication>
#include <QRegularExpression>

#include <algorithm>

namespace {

using DriverCheck::State;

/// The numbers of a version without their leading zeros; empty when it is not a dotted number.
QStringList numbersOf(const QString &version)
{
    static const QRegularExpression form(QRegularExpression::anchoredPattern(QStringLiteral("\\d+(\\.\\d+)*")));
    if (!form.match(version).hasMatch())
        return {};
    QStringList numbers = version.split(QLatin1Char('.'));
    for (QString &number : numbers)
        number.remove(QRegularExpression(QStringLiteral("^0+")));
    return numbers;
}

/// By value, however many digits they have.
int compareNumbers(const QString &one, const QString &other)
{
    return one.size() != other.size() ? one.size() - other.size() : one.compare(other);
}

State stateOf(const QString &installed, const QString &package)
{
    if (!DriverCheck::compareVersions(package, package))
        return State::PackageUnreadable;
    if (installed.isEmpty() && DriverCheck::isInstalled(CloudPrinter::driverName) == false)
        return State::NotInstalled;
    const std::optional<int> order = DriverCheck::compareVersions(installed, package);
    if (!order)
        return State::InstalledUnreadable;
    if (*order == 0)
        return State::UpToDate;
    return *order < 0 ? State::PackageNewer : State::InstalledNewer;
}

} // namespace

QString DriverCheck::Versions::meaning() const
{
    switch (state) {
    case State::NotInstalled:
        return QStringLiteral("驱动尚未安装，添加打印机时会自动安装");
    case State::UpToDate:
        return QStringLiteral("驱动已是最新版本");
    case State::PackageNewer:
        return QStringLiteral("驱动有新版本，可以更新");
    case State::InstalledNewer:
        return QStringLiteral("已安装的驱动比驱动包新，不需要更新");
    case State::InstalledUnreadable:
        return QStringLiteral("无法读取已安装驱动的版本");
    case State::PackageUnreadable:
        return QStringLiteral("无法读取驱动包的版本，请检查程序文件夹中的Driver");
    }
    return QString();
}

bool DriverCheck::CloudQueue::isOutdated() const
{
    return queue.driver != CloudPrinter::driverName;
}

QString DriverCheck::infFile()
{
    return QCoreApplication::applicationDirPath() + QStringLiteral("/Driver/OrvoPtr.INF");
}

QString DriverCheck::infFileForSetup()
{
    return infFile().replace(QLatin1Char('/'), QLatin1Char('\\'));
}

bool DriverCheck::isSameName(const QString &one, const QString &other)
{
    return one.compare(other, Qt::CaseInsensitive) == 0;
}

std::optional<int> DriverCheck::compareVersions(const QString &one, const QString &other)
{
    const QStringList left = numbersOf(one);
    const QStringList right = numbersOf(other);
    if (left.isEmpty() || right.isEmpty())
        return std::nullopt;
    for (int i = 0; i < std::max(left.size(), right.size()); ++i) {
        // A missing part reads as an empty text, as a 0 does.
        const int order = compareNumbers(left.value(i), right.value(i));
        if (order != 0)
            return order;
    }
    return 0;
}

DriverCheck::Versions DriverCheck::versions()
{
    CPrinter printer;
    const QString installed = printer.GetDriverVersion(CloudPrinter::driverName);
    const QString package = printer.GetInfVersion(infFile());
    return {stateOf(installed, package), installed, package};
}

std::optional<DriverCheck::CloudQueue> DriverCheck::readQueue(const QString &name, bool *failed)
{
    CPrinter printer;
    CloudQueue read;
    const bool exists = printer.GetCloudPrinterInfo(name, read.queue);
    const bool bound =
        exists && printer.GetCloudPrinterId(name, read.serial) && printer.GetPrinterPortNum(name, read.portNumber);
    if (failed)
        *failed = !bound && !(exists && CPrinter::nothingFound());
    return bound && CloudPrinter::isCloudPort(read.queue.port) ? std::optional(read) : std::nullopt;
}

std::optional<QList<Queue>> DriverCheck::localQueues()
{
    QList<Queue> queues;
    if (!CPrinter().EnumLocalPrinters(queues) && !CPrinter::nothingFound())
        return std::nullopt;
    return queues;
}

std::optional<QList<DriverCheck::CloudQueue>> DriverCheck::cloudQueues()
{
    const std::optional<QList<Queue>> queues = localQueues();
    if (!queues)
        return std::nullopt;
    QList<CloudQueue> found;
    for (const Queue &queue : *queues) {
        if (!CloudPrinter::isCloudPort(queue.port))
            continue;
        bool failed = false;
        if (const std::optional<CloudQueue> cloudQueue = readQueue(queue.name, &failed))
            found.append(*cloudQueue);
        if (failed)
            return std::nullopt;
    }
    return found;
}

QString DriverCheck::unreadable()
{
    return QStringLiteral("无法读取打印机列表");
}

std::optional<bool> DriverCheck::isInstalled(const QString &driver)
{
    QList<Driver> drivers;
    if (!CPrinter().EnumLocalDrivers(drivers) && !CPrinter::nothingFound())
        return std::nullopt;
    return std::any_of(drivers.cbegin(), drivers.cend(),
                       [&](const Driver &entry) { return isSameName(entry.name, driver); });
}
