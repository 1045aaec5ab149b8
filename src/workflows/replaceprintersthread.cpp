#include "workflows/replaceprintersthread.h"

#include "store/cloudprinter.h"

#include <algorithm>

using DriverCheck::CloudQueue;

namespace {

const auto temporarySuffix = QStringLiteral("（替换中）");

bool contains(const QList<Queue> &queues, const QString &name)
{
    return std::any_of(queues.cbegin(), queues.cend(),
                       [&](const Queue &queue) { return CloudPrinter::isSameName(queue.name, name); });
}

} // namespace

bool ReplacePrintersThread::isTemporary(const QString &queue)
{
    return queue.endsWith(temporarySuffix);
}

bool ReplacePrintersThread::work(QString &message)
{
    const std::optional<QList<Queue>> queues = DriverCheck::localQueues();
    message = queues ? finishLastRun(*queues) : DriverCheck::unreadable;
    if (!message.isEmpty())
        return false;
    const std::optional<QList<CloudQueue>> printers = DriverCheck::cloudQueues();
    message = DriverCheck::unreadable;
    if (!printers)
        return false;
    QList<CloudQueue> outdated;
    for (const CloudQueue &printer : *printers) {
        if (printer.isOutdated())
            outdated.append(printer);
    }
    for (int i = 0; i < outdated.size(); ++i)
        report(i + 1, outdated.size(), outdated.at(i).queue.name, replace(outdated.at(i)));
    message = failures() == 0 ? QStringLiteral("已替换%1台打印机").arg(outdated.size())
                              : QStringLiteral("%1台打印机没有替换").arg(failures());
    return failures() == 0;
}

QString ReplacePrintersThread::finishLastRun(const QList<Queue> &queues)
{
    for (const Queue &queue : queues) {
        if (!isTemporary(queue.name) || !CloudPrinter::isCloudPort(queue.port))
            continue;
        const QString failure = finish(queue.name, queues);
        if (!failure.isEmpty())
            return QStringLiteral("“%1”：%2").arg(queue.name, failure);
    }
    return QString();
}

QString ReplacePrintersThread::finish(const QString &temporary, const QList<Queue> &queues)
{
    const QString name = temporary.chopped(temporarySuffix.size());
    const std::optional<CloudQueue> values = DriverCheck::readQueue(temporary);
    // With its old driver the printer is then replaced from the start.
    const bool lacksValues = contains(queues, name) && !DriverCheck::readQueue(name);
    const QString failure = values && lacksValues ? setValues(name, *values) : QString();
    return failure.isEmpty() ? removeTemporary(temporary) : failure;
}

QString ReplacePrintersThread::replace(const CloudQueue &printer)
{
    if (printer.queue.jobs > 0)
        return QStringLiteral("有%1个任务等待打印，请先取消").arg(printer.queue.jobs);
    // The set-up's command line cannot carry one; it would make some other queue.
    if (printer.queue.name.contains(QLatin1Char('"')))
        return QStringLiteral("打印机名含有双引号，请先改名");
    const QString temporary = printer.queue.name + temporarySuffix;
    QString failure = tryOut(printer, temporary);
    if (failure.isEmpty())
        failure = changeDriver(printer);
    // Until the printer has its values the temporary queue keeps them for the next run.
    QString left = setValues(printer.queue.name, printer);
    if (left.isEmpty())
        left = removeTemporary(temporary);
    return failure.isEmpty() ? left : failure;
}

QString ReplacePrintersThread::tryOut(const CloudQueue &printer, const QString &temporary)
{
    const std::optional<bool> installed = DriverCheck::isInstalled(CloudPrinter::driverName);
    if (!installed || !m_printer.addCloudPrinter(temporary, printer.queue.port, CloudPrinter::driverName,
                                                 DriverCheck::infFileForSetup(), !*installed))
        return QStringLiteral("无法建立新打印机");
    const QString failure = bindQueue(temporary, printer);
    return failure.isEmpty() ? QString() : QStringLiteral("无法建立新打印机，") + failure;
}

QString ReplacePrintersThread::changeDriver(const CloudQueue &printer)
{
    const QString &name = printer.queue.name;
    if (!m_printer.SetPrinterDriver(name, CloudPrinter::driverName))
        return QStringLiteral("无法更换驱动");
    // The spooler may have dropped the values with the old driver's.
    const QString failure = bindQueue(name, printer);
    if (failure.isEmpty())
        return QString();
    m_printer.SetPrinterDriver(name, printer.queue.driver);
    return QStringLiteral("无法更换驱动，") + failure;
}

QString ReplacePrintersThread::removeTemporary(const QString &temporary)
{
    constexpr int attempts = 2;
    for (int attempt = 1;; ++attempt) {
        const std::optional<QList<Queue>> queues = DriverCheck::localQueues();
        if (queues && !contains(*queues, temporary))
            return QString();
        if (attempt > attempts)
            return QStringLiteral("无法删除临时打印机“%1”").arg(temporary);
        m_printer.RemovePrinter(temporary);
    }
}
