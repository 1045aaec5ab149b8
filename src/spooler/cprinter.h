#pragma once

#include <QList>
#include <QMap>
#include <QObject>
#include <QProcess>
#include <QSet>
#include <QString>

#include <functional>

struct SC_HANDLE__; // what the Win32 type SC_HANDLE points to

// The spooler's names of the processor platforms that a driver can be installed for.
const auto EnvX86 = QStringLiteral("Windows NT x86");
const auto EnvX64 = QStringLiteral("Windows x64");
const auto EnvIA64 = QStringLiteral("Windows IA64");

/// A printer queue of the spooler.
struct Queue
{
    QString name;
    QString port;
    QString driver;
    int jobs = 0; ///< in the queue, the one that is printing included
};

/// A port of the spooler.
struct Port
{
    QString name;
};

/// An installed printer driver.
struct Driver
{
    QString name;
};

/// A job in a queue.
struct SpoolJob
{
    QString document;
    /// "hour:minute:second" of the submission in China Standard Time, two digits each. The spooler's UTC hour plus 8,
    /// intentionally not wrapped at 24: a job of 23:30:00 UTC reads "31:30:00".
    QString submissionTime;
    bool printing = false;
};

/// The jobs of a queue in the spooler's order. Empty when the queue cannot be opened or read, or holds none. Any
/// thread.
QList<SpoolJob> spoolJobs(const QString &printerName);

/// The program's one layer over the Windows print spooler. Holds no state: every operation opens what it needs, works,
/// closes and returns. Callable on any thread. Failures are logged and reported by the result.
class CPrinter : public QObject
{
    Q_OBJECT

public:
    /// Results of SetCloudPrinterId: no queue of that name, or one that cannot be opened for another reason.
    static constexpr int invalidPrinterName = -1;
    static constexpr int printerNotOpened = -2;
    /// Result of the port operations when the helper library or its export is missing.
    static constexpr int helperMissing = -1;

    static constexpr QLatin1String spoolerService{"Spooler", 7}; // clang's strlen() is not constexpr

    explicit CPrinter(QObject *parent = nullptr);

    /// Installs a queue, and with `useInf` its driver from the INF file, through the printer set-up of Windows. True
    /// when the set-up process started and finished in time; its exit code is unreliable and ignored. Blocks for up to
    /// five and a half minutes.
    bool addCloudPrinter(const QString &name, const QString &port, const QString &model, const QString &inf,
                         bool useInf);

    /// Installs the model's driver from the INF file, or a newer one in its place; the queues stay. Result and duration
    /// as above.
    bool InstallDriver(const QString &model, const QString &inf);

    /// Prints the test page of Windows. Blocks for up to a minute; failures are not reported.
    void PrintTestPage(const QString &name);

    /// Stores the cloud serial in the printer data "CloudId". 0, a Win32 error code, or a result named above.
    int SetCloudPrinterId(const QString &name, const QString &id);
    bool GetCloudPrinterId(const QString &name, QString &id);

    /// The local TCP port in the printer data "CloudPort".
    bool SetPrinterPortNum(const QString &name, unsigned short port);
    bool GetPrinterPortNum(const QString &name, unsigned short &port);

    /// Writes `queue` only on success.
    bool GetCloudPrinterInfo(const QString &name, Queue &queue);

    bool RenamePrinter(const QString &oldName, const QString &newName);

    /// Changes a queue's driver to another installed one and drops the old one's print settings. If `check` then
    /// throws, the queue gets both back.
    bool SetPrinterDriver(const QString &name, const QString &driver, const std::function<void()> &check);

    /// Purges the queue with this Win32 handle until it is empty. The caller keeps the handle.
    bool DeletePrintJob(void *printer);

    /// Purges and deletes a queue.
    bool RemovePrinter(const QString &name);

    /// Enumerations append to the list. False also when there is nothing to list.
    bool EnumLocalPrinters(QList<Queue> &queues);
    bool EnumLocalPorts(QList<Port> &ports);
    bool EnumLocalDrivers(QList<Driver> &drivers);

    /// After an enumeration or a reading of printer data has returned false on this thread: true if there was nothing
    /// to find, false if it failed. Call it at once.
    static bool nothingFound();

    /// Standard TCP/IP ports, by the helper library: 0, an error code of the library, or `helperMissing`.
    int addStandardTcpPort(const QString &portName, const QString &host, unsigned int portNumber);
    int ConfigStandardTcpPort(const QString &portName, const QString &host, unsigned int portNumber);
    int DeleteStandardTcpPort(const QString &portName);
    /// Writes `host` and `portNumber` only on success.
    int GetPortInfo(const QString &portName, QString &host, unsigned short &portNumber);

    /// Stops the services that depend on a service, by the helper library. Blocks for up to half a minute.
    bool StopDependentServices(SC_HANDLE__ *manager, SC_HANDLE__ *service);

    /// The service manager, or null. The caller closes it.
    SC_HANDLE__ *QOpenSCManager();

    /// A service, or null. The caller closes it and the manager; on failure the manager has been closed.
    SC_HANDLE__ *QOpenService(SC_HANDLE__ *manager, const QString &name, quint32 access);

    /// Stops a service and those that depend on it. True only if this call stopped it, not if it was stopped already
    /// or being stopped. Blocks for half a minute or more.
    bool StopSvc(const QString &name);

    /// Starts a service; waits up to half a minute for one that is still stopping. True once the start is accepted,
    /// even if the service then stalls. Blocks while it starts.
    bool StartSvc(const QString &name);

    enum class SvcState { NotAllowed, Stopped, Running };

    /// State of a service, which is started first if it is stopped. Blocks while it starts.
    SvcState RunSvc(const QString &name);

    /// Stops a service and starts it again, even if the stop fails.
    void RestartSvc(const QString &name);

    /// A text value of a driver's registry key; empty when it cannot be read.
    QString GetDriverRegInfo(const QString &value, const QString &driver, const QString &environment);

    /// The driver's version in the first environment that has one; empty if none.
    QString GetDriverVersion(const QString &driver);

    /// Path of the INF file that the spooler installed the driver from.
    QString GetDriverInfPath(const QString &driver, const QString &environment);

    /// INF path by environment: always all three environments, with an empty path where the driver is not installed.
    /// Empty for an empty driver name.
    QMap<QString, QString> GetDriverInfPaths(const QString &driver);

    /// Declarations of an INF file; empty when it cannot be read, is larger than 16 MiB or has none.
    QString GetInfVersion(const QString &fileName);
    QString GetInfManufacturer(const QString &fileName);
    QSet<QString> GetInfDrivers(const QString &fileName);

    /// Deletes a driver, by the helper library. After a failure the spooler is restarted and the deletion tried once
    /// more.
    bool RemovePrinterDriver(const QString &driver, const QString &environment);

    /// Deletes a driver package from the driver store.
    bool RemovePrinterDriverPackage(const QString &infPath, const QString &environment);

    /// Removes every queue, driver and driver package of the models that an INF file declares. Stops at the first
    /// failure, without a rollback.
    bool RemoveSeriesDriver(const QString &fileName);

public slots:
    /// Logs the end of a set-up process.
    void finished(int exitCode, QProcess::ExitStatus exitStatus);
};
