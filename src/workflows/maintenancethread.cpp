#include "workflows/maintenancethread.h"

#include "spooler/cprinter.h"
#include "workflows/failure.h"

#include <QCoreApplication>

void MaintenanceThread::run()
{
    const CPrinter::SvcState spooler = CPrinter().RunSvc(CPrinter::spoolerService);
    Outcome outcome = spooler == CPrinter::SvcState::NotAllowed ? NotAllowed : Failed;
    QString message;
    try {
        require(outcome != NotAllowed, QStringLiteral("没有管理员权限"));
        require(spooler == CPrinter::SvcState::Running,
                QStringLiteral("打印服务（Print Spooler）没有运行，也无法启动"));
        message = work();
        outcome = Done;
    } catch (const Failure &failure) {
        message = failure.message;
    }
    qInfo("%s ends with %d: %s", metaObject()->className(), outcome, qUtf8Printable(message));
    emit result(outcome, message);
    // Run deferred deletes of set-up processes now; at thread exit `this` may already be destroyed.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

void MaintenanceThread::forEach(const QStringList &items, const QString &summary, const std::function<void(int)> &step)
{
    QStringList failures;
    for (int i = 0; i < items.size(); ++i) {
        require(!isInterruptionRequested(), interrupted);
        const QString &item = items.at(i);
        QString failed;
        try {
            step(i);
        } catch (const Failure &failure) {
            failed = failure.message;
            failures.append(QStringLiteral("“%1”：%2").arg(item, failed));
        }
        qInfo("%s %d/%d %s %s", metaObject()->className(), i + 1, items.size(), qUtf8Printable(item),
              qUtf8Printable(failed));
        emit progress(i + 1, items.size(), item, failed);
    }
    require(failures.isEmpty(), summary.arg(failures.size()) + QLatin1Char('\n') + failures.join(QLatin1Char('\n')));
}
