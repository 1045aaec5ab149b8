#include "spooler/cprinter.h"
#include "spooler/environments.h"
#include "support/logrecorder.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include "win32/control.h"

namespace {

const QString model = "Orvo OX-410T";

/// Three models, one of them not installed.
const QByteArray series = "[Manufacturer]\n%Orvo%=Orvo,NTamd64\n[Orvo]\n"
                          "\"Orvo OX-410T\"=a\n\"Orvo OX-420\"=b\n\"Orvo OX-430\"=c\n[Orvo.NTamd64]\n";

/// What a function was called with, without its flags.
QStringList targetsOf(const std::string &function)
{
    QStringList result;
    for (const Win32Emulator::Call &call : Win32Emulator::calls(function))
        result << QString::fromStdString(call.arguments).section(" flags", 0, 0);
    return result;
}

QStringList installedDrivers()
{
    QStringList result;
    for (const auto &driver : Win32Emulator::drivers())
        result << QString::fromStdString(driver.name + '/' + driver.environment);
    return result;
}

QStringList packages()
{
    QStringList result;
    for (const auto &package : Win32Emulator::driverPackages())
        result << QString::fromStdString(package.infPath + '/' + package.environment);
    return result;
}

QStringList queues()
{
    QStringList result;
    for (const auto &printer : Win32Emulator::printers())
        result << QString::fromStdString(printer.name);
    return result;
}

} // namespace

/// Taking drivers, packages and whole series out of the system.
class DriverRemovalTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        Win32Emulator::reset();
        Win32Emulator::useVirtualTime();
        Win32Emulator::installDriver({"Orvo OX-410T", "Windows x64", "1", "x64.inf"});
        Win32Emulator::addPort("P1", "127.0.0.1", 8101);
    }

    void cleanup() { QCOMPARE(Win32Emulator::openHandles(), 0); }

    void driver();
    void driverInUseIsTriedTwice();
    void secondAttemptSucceeds();
    void package_data();
    void package();
    void wholeSeries();
    void seriesStopsAtTheFirstFailure_data();
    void seriesStopsAtTheFirstFailure();

private:
    QString seriesInf()
    {
        QFile file(m_folder.filePath("series.inf"));
        file.open(QIODevice::WriteOnly);
        file.write(series);
        return file.fileName();
    }

    /// Queues and drivers of the series and of another one.
    static void installSeries()
    {
        Win32Emulator::installDriver({"Orvo OX-410T", "Windows NT x86", "1", "x86.inf"});
        Win32Emulator::installDriver({"Orvo OX-420", "Windows x64", "1", "420.inf"});
        Win32Emulator::installDriver({"Other", "Windows x64", "1", "other.inf"});
        Win32Emulator::addPrinter("前台", "P1");
        Win32Emulator::addPrinter("other", "P1", "Other");
        Win32Emulator::addPrinter("二楼", "P1", "Orvo OX-420");
    }

    QTemporaryDir m_folder;
};

void DriverRemovalTest::driver()
{
    const LogRecorder log;
    QVERIFY(CPrinter().RemovePrinterDriver(model, EnvX64));
    QCOMPARE(log.lines().last(), QString("1050_CPrinter QDeletePrinterDriver successfully"));
    QVERIFY(installedDrivers().isEmpty());
    QCOMPARE(packages(), QStringList({"x64.inf/Windows x64"}));
    QVERIFY(Win32Emulator::calls("ControlService").empty());
}

void DriverRemovalTest::driverInUseIsTriedTwice()
{
    Win32Emulator::addPrinter("前台", "P1");
    const LogRecorder log;
    QVERIFY(!CPrinter().RemovePrinterDriver(model, EnvX64));
    QCOMPARE(log.count("1044_CPrinter pF() failed (3001)"), 2);
    // The spooler is restarted after each failure, the last one too.
    QCOMPARE(log.count("1014_CPrinter StartSvc() returned true"), 2);
    QCOMPARE(Win32Emulator::serviceState("Spooler"), unsigned(SERVICE_RUNNING));
    QCOMPARE(installedDrivers(), QStringList({"Orvo OX-410T/Windows x64"}));
}

void DriverRemovalTest::secondAttemptSucceeds()
{
    Win32Emulator::failCalls("DeletePrinterDriverExW", ERROR_PRINTER_DRIVER_IN_USE);
    QVERIFY(CPrinter().RemovePrinterDriver(model, EnvX64));
    QCOMPARE(Win32Emulator::calls("StartServiceW").size(), size_t(1));
}

void DriverRemovalTest::package_data()
{
    QTest::addColumn<QByteArray>("function");
    QTest::addColumn<unsigned>("error");
    QTest::addColumn<bool>("result");
    QTest::addColumn<QString>("line");
    QTest::newRow("free") << QByteArray() << 0U << true << "1083_CPrinter Result of DeletePrinterDriverPackageW is 0";
    QTest::newRow("refused") << QByteArray("DeletePrinterDriverPackageW") << 5U << false
                             << "1083_CPrinter Result of DeletePrinterDriverPackageW is -2147024891";
    QTest::newRow("no module") << QByteArray("GetModuleHandleW") << 126U << false
                               << "1071_CPrinter GetModuleHandle Winspool.drv failed (126)";
    QTest::newRow("no function")
        << QByteArray("GetProcAddress") << 127U << false
        << "1078_CPrinter Winspool.drv GetProcAddress DeletePrinterDriverPackageW failde (127)";
}

void DriverRemovalTest::package()
{
    QFETCH(QByteArray, function);
    QFETCH(unsigned, error);
    QFETCH(bool, result);
    QVERIFY(CPrinter().RemovePrinterDriver(model, EnvX64));
    if (error)
        Win32Emulator::failCalls(function.toStdString(), error);
    const LogRecorder log;
    QCOMPARE(CPrinter().RemovePrinterDriverPackage("x64.inf", EnvX64), result);
    QTEST(log.lines().last(), "line");
    QCOMPARE(packages().isEmpty(), result);
}

void DriverRemovalTest::wholeSeries()
{
    installSeries();
    const LogRecorder log;
    QVERIFY(CPrinter().RemoveSeriesDriver(seriesInf()));
    QCOMPARE(log.lines().last(), QString("1159_CPrinter RemoveSeriesDriver() return true"));
    QCOMPARE(queues(), QStringList({"other"}));
    QCOMPARE(installedDrivers(), QStringList({"Other/Windows x64"}));
    QCOMPARE(targetsOf("DeletePrinterDriverExW"),
             QStringList({"Orvo OX-410T environment=Windows NT x86", "Orvo OX-410T environment=Windows x64",
                          "Orvo OX-420 environment=Windows x64"}));
    // Only the package of the driver that came last.
    QCOMPARE(targetsOf("DeletePrinterDriverPackageW"), QStringList({"420.inf environment=Windows x64"}));
}

void DriverRemovalTest::seriesStopsAtTheFirstFailure_data()
{
    QTest::addColumn<QByteArray>("function");
    QTest::addColumn<int>("skip");
    QTest::addColumn<int>("queuesLeft");
    QTest::addColumn<int>("driversLeft");
    QTest::newRow("first queue") << QByteArray("DeletePrinter") << 0 << 3 << 4;
    QTest::newRow("second queue") << QByteArray("DeletePrinter") << 1 << 2 << 4;
    QTest::newRow("second environment") << QByteArray("DeletePrinterDriverExW") << 1 << 1 << 3;
    QTest::newRow("second driver") << QByteArray("DeletePrinterDriverExW") << 2 << 1 << 2;
    QTest::newRow("package") << QByteArray("DeletePrinterDriverPackageW") << 0 << 1 << 1;
}

void DriverRemovalTest::seriesStopsAtTheFirstFailure()
{
    QFETCH(QByteArray, function);
    QFETCH(int, skip);
    installSeries();
    Win32Emulator::failCalls(function.toStdString(), ERROR_ACCESS_DENIED, skip, 2);
    QVERIFY(!CPrinter().RemoveSeriesDriver(seriesInf()));
    QTEST(int(queues().size()), "queuesLeft");
    QTEST(int(installedDrivers().size()), "driversLeft");
    QCOMPARE(packages().size(), 4);
}

QTEST_GUILESS_MAIN(DriverRemovalTest)
#include "tst_driverremoval.moc"
