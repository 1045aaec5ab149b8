#pragma once

#include "spooler/cprinter.h"
#include "store/driverinfo.h"

#include <QThread>

/// Creates one cloud printer in the spooler: port, driver, queue and printer data. The interface thread creates it,
/// starts it once and deletes it through finished(). A step that fails ends the work without a rollback.
class AddPrinterThread : public QThread
{
    Q_OBJECT

public:
    /// Only the printer's name and the cloud serial of the record are read.
    explicit AddPrinterThread(const DriverInfo &info, QObject *parent = nullptr);
    ~AddPrinterThread() override;

signals:
    /// The queue is about to be created with this name, port and port number, which are free in the spooler. A printer
    /// that still listens on the port number must have stopped when the connected slots return.
    void aboutToCreateQueue(const DriverInfo &driverinfo);

    /// Emitted exactly once. The message is for the user; the record is complete on success and as it was given on
    /// failure.
    void addResult(bool success, const QString &message, const DriverInfo &driverinfo);

protected:
    void run() override;

private:
    /// The steps. Each returns the message of its failure, or an empty text.
    QString addPrinter();
    QString providePort(const DriverInfo &added);
    QString installQueue(const DriverInfo &added);
    QString bindQueue(const DriverInfo &added);

    DriverInfo m_info;
    CPrinter m_printer;
};
