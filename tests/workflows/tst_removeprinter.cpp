#include "tests/support/machine.h"
#include "tests/support/logrecorder.h"
#include "src/workflows/removeprinterthread.h"

#include <QTest>

#include "emulator/win32/control.h"

namespace {

const DriverInfo record = {"前台", "0123456789ABCDEF", "OXCloud001", 8101, "Orvo OX-410T", "127.0.0.1"};

// What is there beside the queue.
const QString port = "port OXCloud001 127.0.0.1:8101";
const QString driverX64 = "driver Orvo OX-410T 1 Windows x64";
const QString driverX86 = "driver Orvo OX-410T 1 Windows NT x86";
const QString packageX86 = "package Windows NT x86";
const QString packageX64 = "package Windows x64";
const QString queue = "queue 前台 OXCloud001 Orvo OX-410T - -";

struct Fault
{
    const char *function = nullptr;
    unsigned error = 0;
    int times = 1;
};

enum Options { QueueOnly, WithDriver, WithPackage };

} // namespace

Q_DECLARE_METATYPE(Options)
Q_DECLARE_METATYPE(Fault)

class RemovePrinterTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { qRegisterMetaType<DriverInfo>("DriverInfo"); }
    void init()
    {
        Win32Emulator::reset();
        Win32Emulator::useVirtualTime();
        Win32Emulator::addDriver({"Orvo OX-410T", "Windows x64", "1", "x64.inf"});
        Win32Emulator::addDriver({"Orvo OX-410T", "Windows NT x86", "1", "x86.inf"});
        Win32Emulator::addPort("OXCloud001", "127.0.0.1", 8101);
        Win32Emulator::addPrinter("前台", "OXCloud001");
    }

    void cleanup() { QCOMPARE(Win32Emulator::openHandles(), 0); }

    void outcomes_data()
    {
        QTest::addColumn<Options>("options");
        QTest::addColumn<Fault>("fault");
        QTest::addColumn<QString>("message");
        QTest::addColumn<QStringList>("left");

        const QStringList drivers = {port, driverX64, driverX86, packageX64, packageX86};
        const QStringList packages = {port, packageX64, packageX86};
        const QStringList everything = drivers + QStringList(queue);
        const auto row = [](const char *name, Options options, const Fault &fault, const QString &message,
                            const QStringList &left) { QTest::newRow(name) << options << fault << message << left; };
        row("queue only", QueueOnly, {}, "删除打印机驱动成功", drivers);
        row("queue does not open", QueueOnly, {"OpenPrinterW", 5}, "删除打印机失败", everything);
        row("queue refuses", WithPackage, {"DeletePrinter", 5}, "删除打印机失败", everything);
        row("driver removed", WithDriver, {}, "删除打印机驱动成功", packages);
        row("driver removed at the second attempt", WithDriver, {"DeletePrinterDriverExW", 3001}, "删除打印机驱动成功",
            packages);
        row("driver stays", WithPackage, {"DeletePrinterDriverExW", 3001, 2}, "删除打印机驱动失败", drivers);
        row("no environment", WithDriver, {"RegOpenKeyExW", 2, 3}, "查找驱动环境失败", drivers);
        row("package removed", WithPackage, {}, "删除打印机驱动包成功", {port});
        row("package stays", WithPackage, {"DeletePrinterDriverPackageW", 5}, "删除打印机驱动包失败", packages);
    }

    void outcomes()
    {
        QFETCH(Options, options);
        QFETCH(Fault, fault);
        if (fault.function)
            Win32Emulator::failCalls(fault.function, fault.error, 0, fault.times);
        RemovePrinterThread thread(record);
        QVERIFY(!thread.removeDriver() && !thread.removeDriverPackage());
        thread.setRemoveDriver(options != QueueOnly);
        thread.setRemoveDriverPackage(options == WithPackage);
        const LogRecorder log;
        const QVariantList result = resultOf(thread, &RemovePrinterThread::removeResult);
        QCOMPARE(result.value(0).toBool(), result.value(1).toString().endsWith("成功"));
        QTEST(result.value(1).toString(), "message");
        QTEST(machineContent(), "left");
        const auto returned = result.value(2).value<DriverInfo>();
        QCOMPARE(returned.printerName, record.printerName);
        QCOMPARE(returned.portNum, record.portNum);
    }

    void driverOfAnotherPrinterStays()
    {
        Win32Emulator::addPrinter("二楼", "OXCloud001", "ORVO ox-410t");
        RemovePrinterThread thread(record);
        thread.setRemoveDriver(true);
        const LogRecorder log;
        const QVariantList result = resultOf(thread, &RemovePrinterThread::removeResult);
        QVERIFY(result[0].toBool());
        QCOMPARE(result[1].toString(), QString("删除打印机成功"));
        QCOMPARE(log.lines().last(), QString("二楼依赖ORVO ox-410t, 不删除驱动"));
        QCOMPARE(Win32Emulator::drivers().size(), size_t(2));
    }
};

QTEST_GUILESS_MAIN(RemovePrinterTest)
#include "tst_removeprinter.moc"
