#include "workflows/maintenancethread.h"

#include "store/cloudprinter.h"

#include <QCoreApplication>

void MaintenanceThread::run()
{
    Outcome outcome = Failed;
    QString message = QStringLiteral("打印服务（Print Spooler）没有运行，也无法启动");
    switch (m_printer.RunSvc(CPrinter::spoolerService)) {
    case CPrinter::SvcState::NotAllowed:
        outcome = NotAllowed;
        message = QStringLiteral("没有管理员权限");
        break;
    case CPrinter::SvcState::Stopped:
        break;
    case CPrinter::SvcState::Running:
        outcome = work(message) ? Done : Failed;
    }
    qInfo("%s ends with %d: %s", metaObject()->className(), outcome, qUtf8Printable(message));
    emit result(outcome, message);
    // Run deferred deletes of set-up processes now; at thread exit `this` may already be destroyed.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

void MaintenanceThread::report(int done, int total, const QString &item, const QString &failure)
{
    m_failures += failure.isEmpty() ? 0 : 1;
    qInfo("%s %d/%d %s %s", metaObject()->className(), done, total, qUtf8Printable(item), qUtf8Printable(failure));
    emit progress(done, total, item, failure);
}

QString MaintenanceThread::setValues(const QString &queue, const DriverCheck::CloudQueue &printer)
{
    const std::optional<DriverCheck::CloudQueue> before = DriverCheck::readQueue(queue);
    if ((!before || before->serial != printer.serial) && m_printer.SetCloudPrinterId(queue, printer.serial) != 0)
        return QStringLiteral("无法设置云序列号");
    if ((!before || before->portNumber != printer.portNumber) &&
        !m_printer.SetPrinterPortNum(queue, printer.portNumber))
        return QStringLiteral("无法设置端口号");
    return QString();
}

QString MaintenanceThread::bindQueue(const QString &queue, const DriverCheck::CloudQueue &printer)
{
    const QString failure = setValues(queue, printer);
    if (!failure.isEmpty())
        return failure;
    const std::optional<DriverCheck::CloudQueue> now = DriverCheck::readQueue(queue);
    if (!now || now->serial != printer.serial || now->portNumber != printer.portNumber)
        return QStringLiteral("云序列号或端口号不正确");
    if (now->isOutdated())
        return QStringLiteral("驱动不正确");
    return now->queue.port == printer.queue.port ? QString() : QStringLiteral("端口不正确");
}
