#pragma once

#include <QThread>

#include "store/driverinfo.h"
#include "spooler/cprinter.h"

/// Makes one cloud printer in the spooler: port, driver, queue and printer data. Created, and deleted through
/// finished(), by the interface thread; start it once. A step that fails ends the work, and what the earlier steps made
/// stays.
class AddPrinterThread : public QThread
{
    Q_OBJECT

public:
    /// Of the record only the printer's name and the cloud serial are read.
    explicit AddPrinterThread(const DriverInfo &info, QObject *parent = nullptr);
    ~AddPrinterThread() override;

signals:
    /// The queue is about to be made with this name, port and port number, which are free in the spooler. A printer
    /// that still listens on the port number must have stopped when the connected slots return.
    void placeTaken(const DriverInfo &driverinfo);

    /// Emitted exactly once. The message is for the user; the record is complete on success and as it was given on
    /// failure.
    void addResult(bool success, const QString &message, const DriverInfo &driverinfo);

protected:
    void run() override;

private:
    /// The steps. Each gives the message of its failure, or an empty text.
    QString addPrinter();
    QString providePort(const QString &portName, quint16 portNumber);
    QString installQueue(const QString &portName);
    QString bindQueue(quint16 portNumber);

    bool isDriverInstalled();

    DriverInfo m_info;
    CPrinter m_printer;
};
