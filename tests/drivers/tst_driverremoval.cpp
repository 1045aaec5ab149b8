#include "src/spooler/cprinter.h"
#include "tests/support/logrecorder.h"
#include "tests/support/machine.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <windows.h>
#include <winsvc.h>

#include "emulator/win32/control.h"

namespace {

const QString model = "Orvo OX-410T";

/// Three models, one of them not installed.
const QByteArray series = "[Manufacturer]\n%Orvo%=Orvo,NTamd64\n[Orvo]\n"
                          "\"Orvo OX-410T\"=a\n\"Orvo OX-420\"=b\n\"Orvo OX-430\"=c\n[Orvo.NTamd64]\n";

} // namespace

/// The removal of packages and of whole series of drivers.
class DriverRemovalTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        Win32Emulator::reset();
        Win32Emulator::useVirtualTime();
        Win32Emulator::addDriver({"Orvo OX-410T", "Windows x64", "1", "x64.inf"});
        Win32Emulator::addPort("P1", "127.0.0.1", 8101);
    }
    void cleanup() { QCOMPARE(Win32Emulator::openHandles(), 0); }

    void driverInUseIsTriedTwice()
    {
        Win32Emulator::addPrinter("前台", "P1");
        const LogRecorder log;
        QVERIFY(!CPrinter().RemovePrinterDriver(model, EnvX64));
        QCOMPARE(log.count("1044_CPrinter pF() failed (3001)"), 2);
        // The spooler is restarted after each failure, the last one too.
        QCOMPARE(log.count("1014_CPrinter StartSvc() returned true"), 2);
        QCOMPARE(Win32Emulator::serviceState("Spooler"), unsigned(SERVICE_RUNNING));
    }

    void package_data()
    {
        QTest::addColumn<QByteArray>("function");
        QTest::addColumn<unsigned>("error");
        QTest::addColumn<QString>("line");
        QTest::newRow("free") << QByteArray() << 0U << "1083_CPrinter Result of DeletePrinterDriverPackageW is 0";
        QTest::newRow("refused") << QByteArray("DeletePrinterDriverPackageW") << 5U
                                 << "1083_CPrinter Result of DeletePrinterDriverPackageW is -2147024891";
        QTest::newRow("no module") << QByteArray("GetModuleHandleW") << 126U
                                   << "1071_CPrinter GetModuleHandle Winspool.drv failed (126)";
        QTest::newRow("no function")
            << QByteArray("GetProcAddress") << 127U
            << "1078_CPrinter Winspool.drv GetProcAddress DeletePrinterDriverPackageW failde (127)";
    }

    void package()
    {
        QFETCH(QByteArray, function);
        QFETCH(unsigned, error);
        QVERIFY(CPrinter().RemovePrinterDriver(model, EnvX64));
        if (error)
            Win32Emulator::failCalls(function.toStdString(), error);
        const LogRecorder log;
        QCOMPARE(CPrinter().RemovePrinterDriverPackage("x64.inf", EnvX64), error == 0);
        QTEST(log.lines().last(), "line");
        QCOMPARE(Win32Emulator::driverPackages().empty(), error == 0);
    }

    void wholeSeries_data()
    {
        QTest::addColumn<QByteArray>("failing");
        QTest::addColumn<int>("skip");
        QTest::addColumn<int>("queuesLeft");
        QTest::addColumn<int>("driversLeft");
        QTest::newRow("no failure") << QByteArray() << 0 << 1 << 1;
        QTest::newRow("second queue") << QByteArray("DeletePrinter") << 1 << 2 << 4;
        QTest::newRow("second environment") << QByteArray("DeletePrinterDriverExW") << 1 << 1 << 3;
        QTest::newRow("second driver") << QByteArray("DeletePrinterDriverExW") << 2 << 1 << 2;
        QTest::newRow("package") << QByteArray("DeletePrinterDriverPackageW") << 0 << 1 << 1;
    }

    /// It ends with the first failure.
    void wholeSeries()
    {
        QFETCH(QByteArray, failing);
        QFETCH(int, skip);
        Win32Emulator::addDriver({"Orvo OX-410T", "Windows NT x86", "1", "x86.inf"});
        Win32Emulator::addDriver({"Orvo OX-420", "Windows x64", "1", "420.inf"});
        Win32Emulator::addDriver({"Other", "Windows x64", "1", "other.inf"});
        Win32Emulator::addPrinter("前台", "P1");
        Win32Emulator::addPrinter("other", "P1", "Other");
        Win32Emulator::addPrinter("二楼", "P1", "Orvo OX-420");
        if (!failing.isEmpty())
            Win32Emulator::failCalls(failing.toStdString(), ERROR_ACCESS_DENIED, skip, 2);
        QTemporaryDir folder;
        QFile inf(folder.filePath("series.inf"));
        QVERIFY(inf.open(QIODevice::WriteOnly));
        inf.write(series);
        inf.close();

        QCOMPARE(CPrinter().RemoveSeriesDriver(inf.fileName()), failing.isEmpty());
        QTEST(machineContent().filter("queue ").size(), "queuesLeft");
        QTEST(machineContent().filter("driver ").size(), "driversLeft");
        QVERIFY(machineContent().contains("queue other P1 Other - -"));
        // Only the package of the last driver is removed.
        QCOMPARE(Win32Emulator::driverPackages().size(), size_t(failing.isEmpty() ? 3 : 4));
        if (failing.isEmpty())
            QVERIFY(argumentsOf("DeletePrinterDriverPackageW").first().startsWith("420.inf environment=Windows x64"));
    }
};

QTEST_GUILESS_MAIN(DriverRemovalTest)
#include "tst_driverremoval.moc"
