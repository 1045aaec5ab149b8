#include "spooler/childprocess.h"

#include <QDeadlineTimer>
#include <QProcess>
#include <QThread>

namespace {
constexpr int interruptionCheck = 100; // ms
}

void startCommand(QProcess &process, const QString &commandLine)
{
    QStringList arguments = QProcess::splitCommand(commandLine);
    const QString program = arguments.takeFirst();
    process.start(program, arguments, QIODevice::ReadWrite);
}

bool waitForFinished(QProcess &process, int milliseconds)
{
    const QDeadlineTimer deadline(milliseconds);
    while (process.state() != QProcess::NotRunning) {
        if (deadline.hasExpired() || QThread::currentThread()->isInterruptionRequested())
            return false;
        process.waitForFinished(static_cast<int>(qMin<qint64>(interruptionCheck, deadline.remainingTime())));
    }
    return true;
}
