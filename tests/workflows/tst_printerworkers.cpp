#include "tests/support/machine.h"
#include "src/workflows/addprinterthread.h"
#include "src/workflows/removeprinterthread.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <windows.h>

#include "emulator/win32/control.h"

/// Of the address sanitizer, if the test is built with it.
extern "C" [[gnu::weak]] void __lsan_disable();

namespace {

const QString serial = "0123456789ABCDEF";

/// All that the worker reports at its end.
QString add(AddPrinterThread &thread)
{
    const QVariantList result = resultOf(thread, &AddPrinterThread::addResult);
    const auto record = result.value(2).value<DriverInfo>();
    return QString("%1 %2: %3 %4 %5 %6 %7 %8")
        .arg(result.value(0).toString(), result.value(1).toString(), record.printerName, record.cloudSn,
             record.portName, QString::number(record.portNum), record.driverName, record.ip);
}

QString add(const QString &name = "前台", const QString &ofSerial = serial)
{
    AddPrinterThread thread({name, ofSerial, {}, 0, {}, {}});
    return add(thread);
}

enum Options { QueueOnly, WithDriver, WithPackage };

// What there is: the port in any case, and what a removal can take.
const QStringList port = {"port OXCloud001 127.0.0.1:8101"};
const QStringList drivers = {"driver Orvo OX-410T 1 Windows x64", "driver Orvo OX-410T 1 Windows NT x86"};
const QStringList packages = {"package Windows x64", "package Windows NT x86"};
const QStringList queue = {"queue 前台 OXCloud001 Orvo OX-410T 0123456789ABCDEF 8101"};
const QStringList other = {"queue 二楼 OXCloud001 ORVO ox-410t - -"};

} // namespace

/// Adding and removing a printer with the real set-up process and the real helper library over the emulated machine.
class PrinterWorkersTest : public QObject
{
    Q_OBJECT

    const QByteArray m_path = qgetenv("PATH");

private slots:
    void initTestCase() { qRegisterMetaType<DriverInfo>("DriverInfo"); }
    void init() { Win32Emulator::reset(); }
    void cleanup()
    {
        qputenv("PATH", m_path);
        QCOMPARE(Win32Emulator::openHandles(), 0);
    }

    void firstAndSecond()
    {
        AddPrinterThread thread({"前台", serial, {}, 0, {}, {}});
        QStringList before;
        const auto look = [&](const DriverInfo &info) { before = machineContent() << info.printerName; };
        connect(&thread, &AddPrinterThread::aboutToCreateQueue, &thread, look, Qt::DirectConnection);
        QCOMPARE(add(thread),
                 QString("true 添加打印机成功: 前台 0123456789ABCDEF OXCloud001 8101 Orvo OX-410T 127.0.0.1"));
        QCOMPARE(before, port + QStringList("前台"));
        QCOMPARE(machineContent(), port + QStringList({"driver Orvo OX-410T 1.4.0.2 Windows x64", "package Windows x64",
                                                       "queue 前台 OXCloud001 Orvo OX-410T 0123456789ABCDEF 8101"}));
        CPrinter().PrintTestPage("前台");
        QCOMPARE(spoolJobs("前台").value(0).document, QString("测试页"));

        // The next one takes the next port and the driver that is there.
        QVERIFY(add("%1 二 ", "FEDCBA9876543210").startsWith("true"));
        QCOMPARE(machineContent().last(), QString("queue %1 二  OXCloud002 Orvo OX-410T FEDCBA9876543210 8102"));
        const QString inf = QCoreApplication::applicationDirPath().replace('/', '\\') + "\\Driver\\OrvoPtr.INF";
        QCOMPARE(argumentsOf("PrintUIEntry"),
                 QStringList({"/if /b 前台 /f " + inf + " /r OXCloud001 /m Orvo OX-410T /u", "/k /n 前台",
                              "/if /b %1 二  /r OXCloud002 /m Orvo OX-410T"}));
    }

    /// Nothing is rolled back.
    void failedSteps()
    {
        const struct
        {
            const char *function;
            unsigned error;
            int skip;
            const char *message;
            QString left; ///< the end of the machine's content
        } steps[] = {
            {"XcvDataW", 5, 0, "添加打印机失败，无法添加端口", {}},
            {"set-up", 0, 0, "安装驱动失败", "127.0.0.1:8101"}, // not found
            {"PrintUIEntry", 5, 0, "安装驱动失败", "127.0.0.1:8101"},
            {"RegOpenKeyExW", 2, 0, "安装驱动失败", "Orvo OX-410T - -"},
            // The port monitor was opened first.
            {"OpenPrinterW", 1801, 1, "添加打印机失败, 打印机名无效", "Orvo OX-410T - -"},
            {"OpenPrinterW", 5, 1, "添加打印机失败, 无法设置云序列号", "Orvo OX-410T - -"},
            {"SetPrinterDataW", 5, 0, "添加打印机失败, 无法设置云序列号", "Orvo OX-410T - -"},
            {"SetPrinterDataW", 6, 1, "添加打印机失败, 无法设置端口号", "0123456789ABCDEF -"},
        };
        for (const auto &step : steps) {
            Win32Emulator::reset();
            qputenv("PATH", step.error ? m_path : "/nowhere");
            Win32Emulator::failCalls(step.function, step.error, step.skip, -1);
            // The record carries no more than it was given.
            QCOMPARE(add(), QString("false %1: 前台 0123456789ABCDEF  0  ").arg(step.message));
            const QString last = machineContent().value(machineContent().size() - 1);
            QVERIFY2(last.endsWith(step.left) && last.isEmpty() == step.left.isEmpty(), qPrintable(last));
        }
    }

    void knownPrinter()
    {
        Win32Emulator::addDriver();
        Win32Emulator::addPort("LPT", "10.0.0.1", 9100);
        Win32Emulator::addPrinter("plain", "LPT");
        addCloudPrinter("Café", "OXCloud001", 8101, serial);
        const QStringList before = machineContent();
        for (const auto &[name, ofSerial] : {std::pair("CAFé", "FEDC"), {"x", "0123456789abcdef"}, {"PLAIN", "FEDC"}})
            QVERIFY(add(name, ofSerial).startsWith("false 当前打印机已经存在!:"));
        QCOMPARE(machineContent(), before);
        // A double quote ends the name early in the set-up's command line: the queue gets another name.
        for (const char *name : {"a\"b\"c", "a\\b"})
            QVERIFY(add(name, "FEDC").startsWith("false 添加打印机失败, 打印机名无效"));
    }

    /// The numbers follow the queues. A port without a queue is used as it stands.
    void numbers()
    {
        Win32Emulator::addDriver();
        addCloudPrinter("3", "OXCloud003", 8103, "3");
        addCloudPrinter("1", "oxcloud001", 8101, "1");
        Win32Emulator::addPort("oxcloud002", "10.0.0.1", 9100);
        QVERIFY(add().contains(" OXCloud002 8102 "));
        QVERIFY(machineContent().contains("port oxcloud002 10.0.0.1:9100"));
        QVERIFY(add("4", "4").contains(" OXCloud004 8104 "));
    }

    /// The end of the program does not wait for a set-up, nor does it cut it off.
    void setUpOutlastsTheProgram()
    {
        const QTemporaryDir folder;
        const auto exists = [&](const char *name) { return QFile::exists(folder.filePath(name)); };
        QFile setUp(folder.filePath("RUNDLL32"));
        QVERIFY(setUp.open(QIODevice::WriteOnly));
        setUp.write("#!/bin/sh\ncd \"${0%/*}\" && touch begun\n"
                    "for i in $(seq 1000); do [ ! -e go ] || break; sleep 0.01; done\ntouch ended\n");
        setUp.setPermissions(QFile::ReadOwner | QFile::ExeOwner);
        setUp.close();
        qputenv("PATH", folder.path().toLocal8Bit() + ':' + m_path);
        Win32Emulator::addDriver();
        AddPrinterThread thread({"前台", serial, {}, 0, {}, {}});
        // The set-up's process object has no owner and outlives the worker.
        const auto expectLeak = [] { __lsan_disable ? __lsan_disable() : void(); };
        connect(&thread, &AddPrinterThread::aboutToCreateQueue, &thread, expectLeak, Qt::DirectConnection);
        const QSignalSpy results(&thread, &AddPrinterThread::addResult);
        thread.start();
        QTRY_VERIFY(exists("begun"));
        thread.requestInterruption();
        QVERIFY(thread.wait(5000));
        QCOMPARE(results.value(0).value(1).toString(), QString("安装驱动失败"));
        QVERIFY(!exists("ended") && QFile(folder.filePath("go")).open(QIODevice::WriteOnly));
        QTRY_VERIFY(exists("ended"));
    }

    void removal()
    {
        const struct
        {
            Options options;
            QString message;
            QStringList left; ///< beside the port
            const char *failing = "";
            int times = 1;
        } cases[] = {
            {QueueOnly, "删除打印机驱动成功", drivers + packages},
            {WithPackage, "删除打印机失败", drivers + packages + queue, "DeletePrinter"},
            {WithPackage, "删除打印机成功", drivers + packages + other},
            {WithDriver, "删除打印机驱动成功", packages, "DeletePrinterDriverExW"},
            {WithPackage, "删除打印机驱动失败", drivers + packages, "DeletePrinterDriverExW", 2},
            {WithDriver, "查找驱动环境失败", drivers + packages, "RegOpenKeyExW", 3},
            {WithPackage, "删除打印机驱动包成功", {}},
            {WithPackage, "删除打印机驱动包失败", packages, "DeletePrinterDriverPackageW"},
        };
        for (const auto &outcome : cases) {
            Win32Emulator::reset();
            Win32Emulator::useVirtualTime();
            Win32Emulator::addDriver({"Orvo OX-410T", "Windows x64", "1", "x64.inf"});
            Win32Emulator::addDriver({"Orvo OX-410T", "Windows NT x86", "1", "x86.inf"});
            addCloudPrinter("前台", "OXCloud001", 8101, "0123456789ABCDEF");
            if (outcome.left.endsWith(other.first()))
                Win32Emulator::addPrinter("二楼", "OXCloud001", "ORVO ox-410t");
            Win32Emulator::failCalls(outcome.failing, 5, 0, outcome.times);
            RemovePrinterThread thread({"前台", "0123456789ABCDEF", "OXCloud001", 8101, "Orvo OX-410T", "127.0.0.1"});
            if (outcome.options != QueueOnly) // off at first
                thread.setRemoveDriver(true);
            thread.setRemoveDriverPackage(outcome.options == WithPackage);
            const QVariantList result = resultOf(thread, &RemovePrinterThread::removeResult);
            QCOMPARE(result.value(1).toString(), outcome.message);
            QCOMPARE(result[0].toBool(), outcome.message.endsWith("成功"));
            QCOMPARE(result[2].value<DriverInfo>().printerName, QString("前台"));
            QCOMPARE(machineContent(), port + outcome.left);
            QCOMPARE(Win32Emulator::openHandles(), 0);
        }
    }
};

QTEST_GUILESS_MAIN(PrinterWorkersTest)
#include "tst_printerworkers.moc"
