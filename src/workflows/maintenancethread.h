#pragma once

#include <QStringList>
#include <QThread>

#include <functional>

/// Base of the workers that change the driver or the printers of the whole machine while the manager does not run.
/// Every step is reported by a signal and a line of the diagnostic log. A worker that is asked to end completes the
/// printer, package or port that it is at; one that was interrupted or killed is simply run again. Created, and deleted
/// through finished(), by the interface thread; start it once.
class MaintenanceThread : public QThread
{
    Q_OBJECT

public:
    /// The values are the program's exit codes.
    enum Outcome { Done = 0, Failed = 1, Busy = 2, NotAllowed = 3 };
    Q_ENUM(Outcome)

    using QThread::QThread;

signals:
    /// After each printer, driver package or port: `done` of `total`, and what failed; an empty text when nothing did.
    void progress(int done, int total, const QString &item, const QString &failure);

    /// Emitted exactly once. The message is for the user.
    void result(MaintenanceThread::Outcome outcome, const QString &message);

protected:
    /// The work itself, with a running spooler. Returns the message of its success, or throws a Failure.
    virtual QString work() = 0;

    void run() final;

    /// Calls `step` with the position of each item, and reports the item. One whose step throws a Failure does not keep
    /// the others from theirs. Then throws one for all of them: `summary` with their number for "%1", and each by name.
    void forEach(const QStringList &items, const QString &summary, const std::function<void(int)> &step);
};
