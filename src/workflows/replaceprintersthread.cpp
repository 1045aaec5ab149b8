#include "workflows/replaceprintersthread.h"

#include "workflows/drivercheck.h"
#include "workflows/failure.h"

using DriverCheck::Printer;

namespace {

const auto temporarySuffix = QStringLiteral("（替换中）");

void bindQueue(const QString &queue, const Printer &printer)
{
    require(CPrinter().SetCloudPrinterId(queue, printer.serial) == 0, QStringLiteral("无法设置云序列号"));
    require(CPrinter().SetPrinterPortNum(queue, printer.portNumber), QStringLiteral("无法设置端口号"));
}

void removeTemporary(const QString &temporary)
{
    // Twice: it would look like a printer of the user's.
    const bool removed = CPrinter().RemovePrinter(temporary) || CPrinter().RemovePrinter(temporary);
    require(removed || !DriverCheck::findQueue(temporary), QStringLiteral("无法删除临时打印机“%1”").arg(temporary));
}

/// After a failure, or a run that was killed. Until the printer, which is on the same port, has its values the
/// temporary queue keeps them; if the user has deleted the printer since, the temporary queue becomes the printer.
void cleanUp(const QString &temporary)
{
    const std::optional<Printer> values = DriverCheck::findQueue(temporary);
    const QList<Printer> printers = DriverCheck::queues([&values](const Printer &queue) {
        return values && queue.port == values->port && !ReplacePrintersThread::isTemporary(queue.name);
    });
    const bool isBound = values && values->isBound();
    if (isBound && printers.isEmpty()) {
        const QString name = temporary.section(temporarySuffix, 0, 0);
        require(CPrinter().RenamePrinter(temporary, name), QStringLiteral("无法改名为“%1”").arg(name));
        return;
    }
    if (isBound && !printers.first().isBound())
        bindQueue(printers.first().name, *values);
    removeTemporary(temporary);
}

void tryOut(const Printer &printer, const QString &temporary)
{
    const std::optional<bool> installed = DriverCheck::isInstalled(CloudPrinter::driverName);
    const bool setUp = installed && CPrinter().addCloudPrinter(temporary, printer.port, CloudPrinter::driverName,
                                                               DriverCheck::infFileForSetup(), !*installed);
    // The set-up process does not report whether it succeeded.
    require(setUp && DriverCheck::findQueue(temporary), QStringLiteral("无法建立新打印机"));
    bindQueue(temporary, printer);
    DriverCheck::requireReady(temporary, printer);
}

void requireNoJobs(const Printer &printer)
{
    require(printer.jobs == 0, QStringLiteral("有%1个任务等待打印，请先取消").arg(printer.jobs));
}

void changeDriver(const Printer &printer)
{
    requireNoJobs(DriverCheck::findQueue(printer.name).value_or(printer)); // the try-out took its time
    const auto check = [&printer] {
        bindQueue(printer.name, printer); // the spooler may have dropped the values with the old driver's
        DriverCheck::requireReady(printer.name, printer);
    };
    require(CPrinter().SetPrinterDriver(printer.name, CloudPrinter::driverName, check), QStringLiteral("无法更换驱动"));
}

void replace(const Printer &printer)
{
    requireNoJobs(printer);
    // The set-up's command line cannot carry one; it would make some other queue.
    require(!printer.name.contains(QLatin1Char('"')), QStringLiteral("打印机名含有双引号，请先改名"));
    const QString temporary = printer.name + temporarySuffix;
    require(!DriverCheck::findQueue(temporary), QStringLiteral("打印机“%1”还在，请先删除").arg(temporary));
    try {
        tryOut(printer, temporary);
        changeDriver(printer);
    } catch (const Failure &) {
        cleanUp(temporary);
        throw;
    }
    removeTemporary(temporary);
}

} // namespace

bool ReplacePrintersThread::isTemporary(const QString &queue)
{
    return queue.contains(temporarySuffix); // the set-up numbers a name that is taken
}

QString ReplacePrintersThread::work()
{
    const QStringList left = DriverCheck::namesOf(DriverCheck::queues(
        [](const Printer &queue) { return isTemporary(queue.name) && CloudPrinter::isCloudPort(queue.port); }));
    std::optional<Failure> failure;
    try {
        forEach(left, QStringLiteral("上次的替换有%1台没有完成"), [&](int i) { cleanUp(left.at(i)); });
    } catch (const Failure &notCleanedUp) {
        failure = notCleanedUp; // does not keep the others from theirs
    }
    const QList<Printer> outdated = DriverCheck::queues(&Printer::isOutdated);
    forEach(DriverCheck::namesOf(outdated), QStringLiteral("%1台打印机没有替换"),
            [&](int i) { replace(outdated.at(i)); });
    require(!failure, failure.value_or(Failure()).message);
    return QStringLiteral("已替换%1台打印机").arg(outdated.size());
}
