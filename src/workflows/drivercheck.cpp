#include "workflows/drivercheck.h"

#include "store/cloudprinter.h"

#include <QCoreApplication>
#include <QRegularExpression>
#include <QVersionNumber>

#include <algorithm>

namespace {

using DriverCheck::State;

/// Nothing when the text is not a dotted number. Trailing zeros do not count.
std::optional<QVersionNumber> parsed(const QString &version)
{
    // fromString() could give the end of the number, but Qt declares it as free of side effects, and GCC believes that.
    static const QRegularExpression form(QRegularExpression::anchoredPattern(QStringLiteral("\\d+(\\.\\d+)*")));
    const QVersionNumber number = QVersionNumber::fromString(version);
    const bool whole = number.segmentCount() == version.count(QLatin1Char('.')) + 1;
    return whole && form.match(version).hasMatch() ? std::optional(number.normalized()) : std::nullopt;
}

State stateOf(const QString &installedText, const QString &packageText)
{
    const std::optional<QVersionNumber> package = parsed(packageText);
    if (!package)
        return State::PackageUnreadable;
    if (installedText.isEmpty() && DriverCheck::isInstalled(CloudPrinter::driverName) == false)
        return State::NotInstalled;
    const std::optional<QVersionNumber> installed = parsed(installedText);
    if (!installed)
        return State::InstalledUnreadable;
    if (*installed == *package)
        return State::UpToDate;
    return *installed < *package ? State::PackageNewer : State::InstalledNewer;
}

} // namespace

QString DriverCheck::Versions::meaning() const
{
    static const QMap<State, QString> meanings = {
        {State::NotInstalled, QStringLiteral("驱动尚未安装，添加打印机时会自动安装")},
        {State::UpToDate, QStringLiteral("驱动已是最新版本")},
        {State::PackageNewer, QStringLiteral("驱动有新版本，可以更新")},
        {State::InstalledNewer, QStringLiteral("已安装的驱动比驱动包新，不需要更新")},
        {State::InstalledUnreadable, QStringLiteral("无法读取已安装驱动的版本")},
        {State::PackageUnreadable, QStringLiteral("无法读取驱动包的版本，请检查Driver文件夹")}};
    return meanings.value(state);
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
    const bool answered = CPrinter().EnumLocalPrinters(queues) || CPrinter::nothingFound();
    return answered ? std::optional(queues) : std::nullopt;
}

std::optional<QList<DriverCheck::CloudQueue>> DriverCheck::cloudQueues()
{
    const std::optional<QList<Queue>> queues = localQueues();
    bool failed = !queues;
    QList<CloudQueue> found;
    for (const Queue &queue : queues.value_or(QList<Queue>())) {
        if (failed || !CloudPrinter::isCloudPort(queue.port))
            continue;
        if (const std::optional<CloudQueue> cloudQueue = readQueue(queue.name, &failed))
            found.append(*cloudQueue);
    }
    return failed ? std::nullopt : std::optional(found);
}

std::optional<bool> DriverCheck::isInstalled(const QString &driver)
{
    QList<Driver> drivers;
    if (!CPrinter().EnumLocalDrivers(drivers) && !CPrinter::nothingFound())
        return std::nullopt;
    return std::any_of(drivers.cbegin(), drivers.cend(),
                       [&](const Driver &entry) { return CloudPrinter::isSameName(entry.name, driver); });
}
