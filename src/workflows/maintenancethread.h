#pragma once

#include <QThread>

#include "workflows/drivercheck.h"

/// Base of the workers that change the driver or the printers of the whole machine while the manager does not run.
/// Every step is reported by a signal and a line of the diagnostic log. A worker that was killed is simply run again.
/// Created, and deleted through finished(), by the interface thread; start it once.
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
    /// The work itself, with a running spooler. True on success; `message` is for the user.
    virtual bool work(QString &message) = 0;

    void run() final;

    /// Reports progress, and counts the failures.
    void report(int done, int total, const QString &item, const QString &failure);
    int failures() const { return m_failures; }

    /// Gives the queue the serial and the local port of `printer` if its own differ. What failed, or an empty text.
    QString setValues(const QString &queue, const DriverCheck::CloudQueue &printer);

    /// The same, then checks in the spooler that the queue has the supported driver and the printer's port.
    QString bindQueue(const QString &queue, const DriverCheck::CloudQueue &printer);

    CPrinter m_printer;

private:
    int m_failures = 0;
};
