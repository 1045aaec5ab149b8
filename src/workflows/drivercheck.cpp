#include "workflows/drivercheck.h"

#include "workflows/failure.h"

#include <QCoreApplication>
#include <QRegularExpression>
#include <QVersionNumber>

#include <algorithm>

namespace {

using DriverCheck::Printer;
using DriverCheck::State;

const auto unreadable = QStringLiteral("无法读取打印机列表");

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
    if (installedText.isEmpty() && !DriverCheck::isInstalled(CloudPrinter::driverName).value_or(true))
        return State::NotInstalled;
    const std::optional<QVersionNumber> installed = parsed(installedText);
    if (!installed)
        return State::InstalledUnreadable;
    if (*installed == *package)
        return State::UpToDate;
    return *installed < *package ? State::PackageNewer : State::InstalledNewer;
}

Printer withBinding(const Queue &queue)
{
    CPrinter spooler;
    Printer printer{queue};
    const bool isRead =
        !CloudPrinter::isCloudPort(queue.port) || (spooler.GetCloudPrinterId(queue.name, printer.serial) &&
                                                   spooler.GetPrinterPortNum(queue.name, printer.portNumber));
    require(isRead || CPrinter::nothingFound(), unreadable);
    return printer;
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
    CPrinter spooler;
    const QString installed = spooler.GetDriverVersion(CloudPrinter::driverName);
    // A comment may stand after it.
    const QString package = spooler.GetInfVersion(infFile()).section(QLatin1Char(';'), 0, 0).trimmed();
    return {stateOf(installed, package), installed, package};
}

QList<Queue> DriverCheck::localQueues()
{
    QList<Queue> queues;
    require(CPrinter().EnumLocalPrinters(queues) || CPrinter::nothingFound(), unreadable);
    return queues;
}

QList<Printer> DriverCheck::queues(const std::function<bool(const Printer &)> &isWanted)
{
    QList<Printer> wanted;
    const QList<Queue> all = localQueues();
    for (const Queue &queue : all) {
        const Printer printer = withBinding(queue);
        if (isWanted(printer))
            wanted.append(printer);
    }
    return wanted;
}

std::optional<Printer> DriverCheck::findQueue(const QString &name)
{
    const QList<Queue> all = localQueues();
    const auto found = std::find_if(all.cbegin(), all.cend(),
                                    [&](const Queue &queue) { return CloudPrinter::isSameName(queue.name, name); });
    return found == all.cend() ? std::nullopt : std::optional(withBinding(*found));
}

QStringList DriverCheck::namesOf(const QList<Printer> &printers)
{
    QStringList names;
    std::transform(printers.cbegin(), printers.cend(), std::back_inserter(names), std::mem_fn(&Printer::name));
    return names;
}

void DriverCheck::requireReady(const QString &queue, const Printer &printer)
{
    const std::optional<Printer> now = findQueue(queue);
    const bool isReady = now && now->isCurrent() && now->port == printer.port && now->serial == printer.serial &&
                         now->portNumber == printer.portNumber;
    require(isReady, QStringLiteral("打印机的驱动、端口、云序列号或端口号不正确"));
}

std::optional<bool> DriverCheck::isInstalled(const QString &driver)
{
    QList<Driver> drivers;
    if (!CPrinter().EnumLocalDrivers(drivers) && !CPrinter::nothingFound())
        return std::nullopt;
    return std::any_of(drivers.cbegin(), drivers.cend(),
                       [&](const Driver &entry) { return CloudPrinter::isSameName(entry.name, driver); });
}
