#pragma once

#include <QList>
#include <QObject>
#include <QProcess>
#include <QString>

#include "spooler/printerhandle.h"

/// The program's one layer over the Windows print spooler. Holds no state: every operation opens what it needs, works,
/// closes and returns, on the calling thread, which may be any. Failures go to the diagnostic log and into the result.
class CPrinter : public QObject
{
    Q_OBJECT

public:
    explicit CPrinter(QObject *parent = nullptr);

    /// Installs a queue, and with `useInf` its driver from the INF file, through the system's printer set-up. True when
    /// the set-up process started and finished in time; its exit code says nothing reliable and is not looked at.
    /// Blocks for up to five and a half minutes.
    bool addCloudPrinter(const QString &name, const QString &port, const QString &model, const QString &inf,
                         bool useInf);

    /// Prints the system's test page. Blocks for up to a minute; failures are not reported.
    void PrintTestPage(const QString &name);

    /// Stores the cloud serial in the printer data "CloudId". 0 or a Win32 error code; -1 when there is no printer of
    /// that name, -2 when it cannot be opened for another reason.
    int SetCloudPrinterId(const QString &name, const QString &id);
    bool GetCloudPrinterId(const QString &name, QString &id);

    /// The local TCP port in the printer data "CloudPort".
    bool SetPrinterPortNum(const QString &name, unsigned short port);
    bool GetPrinterPortNum(const QString &name, unsigned short &port);

    /// The queue's PRINTER_INFO_2, which begins the block.
    bool GetCloudPrinterInfo(const QString &name, SpoolerBuffer &info);

    bool RenamePrinter(const QString &oldName, const QString &newName);

    /// Purges the queue until it is empty. The caller keeps the handle.
    bool DeletePrintJob(HANDLE printer);

    /// Purges and deletes a queue.
    bool RemovePrinter(const QString &name);

    /// Enumerations: append the entries and hand over the buffer that their texts lie in. False also when there are
    /// none.
    bool EnumLocalPrinters(QList<PRINTER_INFO_2W> &printers, SpoolerBuffer &buffer);
    bool EnumLocalPorts(QList<PORT_INFO_2W> &ports, SpoolerBuffer &buffer);
    bool EnumLocalDrivers(QList<DRIVER_INFO_3W> &drivers, SpoolerBuffer &buffer);

public slots:
    /// Logs the end of a set-up process.
    void finished(int exitCode, QProcess::ExitStatus exitStatus);
};
