#include "spooler/cprinter.h"

#include <QDeadlineTimer>
#include <QDebug>
#include <QThread>

#include <chrono>

using namespace std::chrono_literals;

// The set-up entry point of Windows: PrintUIEntry of PRINTUI.DLL, run by RUNDLL32 as a child process. Names are
// intentionally not escaped: a name with a double quote breaks the command line, and the set-up then creates a wrong
// queue or none. Callers check the spooler afterwards.

namespace {

constexpr std::chrono::milliseconds startTimeout = 30s;
constexpr auto setupTimeout = 5min;
constexpr auto testPageTimeout = 30s;
constexpr std::chrono::milliseconds interruptionCheck = 100ms;

QString quoted(const QString &text)
{
    return QLatin1Char('"') + text + QLatin1Char('"');
}

QString setupCommand(const QString &name, const QString &port, const QString &model, const QString &inf, bool useInf)
{
    QString command = QStringLiteral("RUNDLL32 PRINTUI.DLL,PrintUIEntry /if /b ") + quoted(name);
    if (useInf)
        command += QStringLiteral(" /f ") + quoted(inf);
    command += QStringLiteral(" /r ") + quoted(port) + QStringLiteral(" /m ") + quoted(model);
    if (useInf)
        command += QStringLiteral(" /u");
    return command;
}

/// Starts a command line given as one text, split at blanks outside double quotes.
void startCommand(QProcess &process, const QString &commandLine)
{
    QStringList arguments = QProcess::splitCommand(commandLine);
    const QString program = arguments.takeFirst();
    process.start(program, arguments, QIODevice::ReadWrite);
}

/// Waits until a started process has finished, at most until `deadline`; also gives up when the calling thread is asked
/// to end, so that a set-up in progress does not delay the end of the program.
bool waitForFinished(QProcess &process, QDeadlineTimer deadline)
{
    while (process.state() != QProcess::NotRunning) {
        if (deadline.hasExpired() || QThread::currentThread()->isInterruptionRequested())
            return false;
        process.waitForFinished(static_cast<int>(qMin<qint64>(interruptionCheck.count(), deadline.remainingTime())));
    }
    return true;
}

/// Runs the set-up. True when it started and finished in time.
bool runSetup(const QString &command)
{
    // Deleted once the set-up has ended. A set-up that outlasts the wait keeps the object until the program ends:
    // deleting it would kill the set-up.
    auto *process = new QProcess;
    QObject::connect(process, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), process,
                     &QObject::deleteLater);
    startCommand(*process, command);
    if (!process->waitForStarted(static_cast<int>(startTimeout.count()))) {
        qDebug() << "202_CPrinter waitForStarted() returned false";
        process->deleteLater();
        return false;
    }
    if (!waitForFinished(*process, QDeadlineTimer(setupTimeout))) {
        qDebug() << "207_CPrinter waitForFinished(5*60000) returned false";
        return false;
    }
    return true;
}

} // namespace

CPrinter::CPrinter(QObject *parent)
    : QObject(parent)
{
}

bool CPrinter::addCloudPrinter(const QString &name, const QString &port, const QString &model, const QString &inf,
                               bool useInf)
{
    qDebug() << "180_CPrinter addCloudPrinter" << name << port << model << inf;
    const QString command = setupCommand(name, port, model, inf, useInf);
    qDebug() << "197_CPrinter cmd is" << command;
    return runSetup(command);
}

bool CPrinter::InstallDriver(const QString &model, const QString &inf)
{
    qDebug() << "CPrinter InstallDriver" << model << inf;
    return runSetup(QStringLiteral("RUNDLL32 PRINTUI.DLL,PrintUIEntry /ia /m ") + quoted(model) +
                    QStringLiteral(" /f ") + quoted(inf) + QStringLiteral(" /q"));
}

void CPrinter::finished(int exitCode, QProcess::ExitStatus exitStatus)
{
    qDebug() << "215_CPrinter finished";
    qDebug() << exitCode;
    qDebug() << exitStatus;
    // The label alone: the output of the set-up is intentionally not read.
    qDebug() << "finished-output-readAll:";
}

void CPrinter::PrintTestPage(const QString &name)
{
    QProcess process;
    startCommand(process, QStringLiteral("RUNDLL32 PRINTUI.DLL,PrintUIEntry /k /n ") + quoted(name));
    process.waitForStarted(static_cast<int>(startTimeout.count()));
    waitForFinished(process, QDeadlineTimer(testPageTimeout));
    qDebug() << "430_CPrinter" << name << "PrintTestPage";
}
