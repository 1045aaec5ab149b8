#pragma once

#include <QList>
#include <QMap>
#include <QObject>
#include <QProcess>
#include <QSet>
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

    /// Standard TCP/IP ports, by the port helper library: 0, an error code of the library, or -1 when the library or
    /// its export is missing.
    int addStandardTcpPort(const QString &portName, const QString &host, unsigned int portNumber);
    int ConfigStandardTcpPort(const QString &portName, const QString &host, unsigned int portNumber);
    int DeleteStandardTcpPort(const QString &portName);
    /// Writes `host` and `portNumber` only on success.
    int GetPortInfo(const QString &portName, QString &host, unsigned short &portNumber);

    /// Stops what depends on a service, by the helper library. Blocks for up to half a minute.
    bool StopDependentServices(SC_HANDLE manager, SC_HANDLE service);

    /// The service manager, or null. The caller closes it.
    SC_HANDLE QOpenSCManager();

    /// A service, or null. The caller closes it and the manager; a failure has closed the manager already.
    SC_HANDLE QOpenService(SC_HANDLE manager, const QString &name, DWORD access);

    /// Stops a service and what depends on it. True only when this call stopped it: one that was stopped already, or
    /// was being stopped, gives false. Blocks for half a minute and more.
    bool StopSvc(const QString &name);

    /// Starts a service. True once the start is accepted, even if the service then stalls. Blocks while it starts.
    bool StartSvc(const QString &name);

    /// A text value of a driver's registry key, as it stands; empty when it cannot be read.
    QString GetDriverRegInfo(const QString &value, const QString &driver, const QString &environment);

    /// The driver's version in the first environment that has one; empty if none.
    QString GetDriverVersion(const QString &driver);

    /// The INF file that the spooler installed the driver from.
    QString GetDriverInfPath(const QString &driver, const QString &environment);

    /// INF path by environment: always all three environments, with an empty path where the driver is not installed.
    /// Empty for an empty driver name.
    QMap<QString, QString> GetDriverInfPaths(const QString &driver);

    /// What an INF file declares; empty when it cannot be read or does not say.
    QString GetInfVersion(const QString &fileName);
    QString GetInfManufacturer(const QString &fileName);
    QSet<QString> GetInfDrivers(const QString &fileName);

    /// Deletes a driver, by the helper library. After a failure the spooler is restarted and the deletion tried once
    /// more.
    bool RemovePrinterDriver(const QString &driver, const QString &environment);

    /// Deletes a driver package from the driver store.
    bool RemovePrinterDriverPackage(const QString &infPath, const QString &environment);

    /// Removes every queue, driver and driver package of the models that an INF file declares. The first failure ends
    /// it; what was removed by then stays removed.
    bool RemoveSeriesDriver(const QString &fileName);

public slots:
    /// Logs the end of a set-up process.
    void finished(int exitCode, QProcess::ExitStatus exitStatus);
};
