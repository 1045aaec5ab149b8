#include "tests/support/machine.h"
#include "tests/support/logrecorder.h"
#include "src/workflows/addprinterthread.h"

#include <QTest>

#include <windows.h>

#include "emulator/win32/control.h"

namespace {

const DriverInfo request = {"前台", "0123456789ABCDEF", {}, 0, {}, {}};
const QString succeeded = "添加打印机成功";

const QString port = "port OXCloud001 127.0.0.1:8101";
const QString driver = "driver Orvo OX-410T 1.4.0.2 Windows x64";
const QString package = "package Windows x64";

QString queue(const QString &data)
{
    return "queue 前台 OXCloud001 Orvo OX-410T " + data;
}

DriverInfo recordOf(const QVariantList &result)
{
    return result.value(2).value<DriverInfo>();
}

/// A queue of ours on the port of the given number.
void addCloudPrinter(const QString &name, int number, const std::string &serial)
{
    const std::string portName = QString("OXCloud%1").arg(number, 3, 10, QLatin1Char('0')).toStdString();
    Win32Emulator::addPort(portName, "127.0.0.1", static_cast<unsigned>(8100 + number));
    Win32Emulator::addPrinter(name.toStdString(), portName);
    Win32Emulator::setPrinterData(name.toStdString(), "CloudId", REG_SZ, serial + '\0');
}

} // namespace

/// Adding a printer with the real set-up process and the real helper library over the emulated machine.
class AddPrinterTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { qRegisterMetaType<DriverInfo>("DriverInfo"); }
    void init() { Win32Emulator::reset(); }
    void cleanup() { QCOMPARE(Win32Emulator::openHandles(), 0); }

    void freshMachine()
    {
        LogRecorder log;
        AddPrinterThread thread(request);
        const QVariantList result = resultOf(thread, &AddPrinterThread::addResult);
        QVERIFY(result[0].toBool());
        QCOMPARE(result[1].toString(), succeeded);
        const DriverInfo record = recordOf(result);
        QCOMPARE(record.printerName, request.printerName);
        QCOMPARE(record.cloudSn, request.cloudSn);
        QCOMPARE(record.portName, QString("OXCloud001"));
        QCOMPARE(record.portNum, quint16(8101));
        QCOMPARE(record.driverName, QString("Orvo OX-410T"));
        QCOMPARE(record.ip, QString("127.0.0.1"));
        QCOMPARE(machineContent(), QStringList({port, driver, package, queue("0123456789ABCDEF 8101")}));
        QVERIFY(log.lines().contains("68_AddPrinterThread add driver 前台,need port is OXCloud001,port num is 8101"));
        QCOMPARE(log.lines().last(), QString("155_AddPrinterThread succeed"));

        // The next one takes the next port and finds the driver there.
        log.clear();
        AddPrinterThread next({"二楼", "FEDCBA9876543210", {}, 0, {}, {}});
        QVERIFY(resultOf(next, &AddPrinterThread::addResult)[0].toBool());
        QVERIFY(log.lines().contains("104_AddPrinterThread driver already installed"));
        QVERIFY(log.contains("104_AddPrinterThread inf is: \""));
        QVERIFY(log.contains("\\\\Driver\\\\OrvoPtr.INF"));
        QCOMPARE(machineContent().last(), QString("queue 二楼 OXCloud002 Orvo OX-410T FEDCBA9876543210 8102"));
    }

    void failedSteps_data()
    {
        QTest::addColumn<QByteArray>("function");
        QTest::addColumn<unsigned>("error");
        QTest::addColumn<int>("skip");
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("line");
        QTest::addColumn<QStringList>("left");

        const QStringList withQueue = {port, driver, package, queue("- -")};
        const QStringList withSerial = {port, driver, package, queue("0123456789ABCDEF -")};
        const auto row = [](const char *function, unsigned error, int skip, const QString &message, const QString &line,
                            const QStringList &left) {
            QTest::addRow("%s %u", function, error) << QByteArray(function) << error << skip << message << line << left;
        };
        row("XcvDataW", 5, 0, "添加打印机失败，无法添加端口", "85_AddPrinterThread addStandardTcpPort failed", {});
        row("RegOpenKeyExW", 2, 0, "安装驱动失败", "125_AddPrinterThread GetDriverVersion failed", withQueue);
        // The port monitor was opened first.
        row("OpenPrinterW", 1801, 1, "添加打印机失败, 打印机名无效",
            "134_AddPrinterThread setCloudPrinterId failed: -1", withQueue);
        row("OpenPrinterW", 5, 1, "添加打印机失败, 无法设置云序列号",
            "134_AddPrinterThread setCloudPrinterId failed: -2", withQueue);
        row("SetPrinterDataW", 5, 0, "添加打印机失败, 无法设置云序列号",
            "134_AddPrinterThread setCloudPrinterId failed: 5", withQueue);
        row("SetPrinterDataW", 6, 1, "添加打印机失败, 无法设置端口号", "146_AddPrinterThread setPrinterPortNum failed",
            withSerial);
    }

    void failedSteps()
    {
        QFETCH(QByteArray, function);
        QFETCH(unsigned, error);
        QFETCH(int, skip);
        // The fault ends with the workflow: what is left is looked at without it.
        constexpr int forGood = -1;
        Win32Emulator::failCalls(function.toStdString(), error, skip, forGood);
        const LogRecorder log;
        AddPrinterThread thread(request);
        const QVariantList result = resultOf(thread, &AddPrinterThread::addResult);
        QVERIFY(!result[0].toBool());
        QTEST(result[1].toString(), "message");
        QTEST(log.lines().last(), "line");
        QTEST(machineContent(), "left");
        // The record carries no more than it was given.
        const DriverInfo record = recordOf(result);
        QVERIFY(record.portName.isEmpty() && record.portNum == 0 && record.driverName.isEmpty() && record.ip.isEmpty());
    }

    void setUpDoesNotStart()
    {
        const QByteArray path = qgetenv("PATH");
        qputenv("PATH", "/nowhere");
        const LogRecorder log;
        AddPrinterThread thread(request);
        const QVariantList result = resultOf(thread, &AddPrinterThread::addResult);
        qputenv("PATH", path);
        QCOMPARE(result[1].toString(), QString("安装驱动失败"));
        QCOMPARE(log.lines().last(), QString("118_AddPrinterThread addCloudPrinter failed"));
        QCOMPARE(machineContent(), QStringList({port}));
    }

    void brokenName_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("message");
        const QString invalid = "添加打印机失败, 打印机名无效";
        QTest::newRow("placeholder") << "%1 %2" << succeeded;
        QTest::newRow("single quote") << "it's" << succeeded;
        QTest::newRow("ten ideographs") << "一二三四五六七八九十" << succeeded;
        QTest::newRow("blanks around") << " a " << succeeded;
        // A double quote ends the name early in the set-up's command line: the queue gets another name.
        QTest::newRow("double quotes") << "a\"b\"c" << invalid;
        QTest::newRow("backslash") << "a\\b" << invalid;
    }

    void brokenName()
    {
        QFETCH(QString, name);
        Win32Emulator::addDriver();
        AddPrinterThread thread({name, "0123456789ABCDEF", {}, 0, {}, {}});
        const QVariantList result = resultOf(thread, &AddPrinterThread::addResult);
        QTEST(result[1].toString(), "message");
        QCOMPARE(result[0].toBool(), result[1].toString() == succeeded);
    }

    void knownPrinter_data()
    {
        QTest::addColumn<DriverInfo>("known");
        const auto row = [](const QString &name, const QString &serial) {
            QTest::newRow(qPrintable(name)) << DriverInfo{name, serial, {}, 0, {}, {}};
        };
        row("CAFé", "FEDCBA9876543210");
        row("same serial in another case", "0123456789abcdef");
        row("PLAIN", "FEDCBA9876543210"); // a foreign queue
    }

    void knownPrinter()
    {
        QFETCH(DriverInfo, known);
        Win32Emulator::addDriver();
        Win32Emulator::addPort("LPT", "10.0.0.1", 9100);
        Win32Emulator::addPrinter("plain", "LPT");
        addCloudPrinter("Café", 1, "0123456789ABCDEF");
        const QStringList before = machineContent();
        AddPrinterThread thread(known);
        const QVariantList result = resultOf(thread, &AddPrinterThread::addResult);
        QVERIFY(!result[0].toBool());
        QCOMPARE(result[1].toString(), QString("当前打印机已经存在!"));
        QCOMPARE(machineContent(), before);
    }

    void numbering_data()
    {
        QTest::addColumn<QList<int>>("taken");
        QTest::addColumn<QString>("portName");
        QTest::addColumn<int>("portNumber");
        QList<int> many;
        for (int number = 1; number < 1000; ++number)
            many << number;
        QTest::newRow("gap") << QList<int>{3, 1} << "OXCloud002" << 8102;
        QTest::newRow("first is free") << QList<int>{2} << "OXCloud001" << 8101;
        QTest::newRow("four digits") << many << "OXCloud1000" << 9100;
    }

    void numbering()
    {
        QFETCH(QList<int>, taken);
        Win32Emulator::addDriver();
        for (int number : qAsConst(taken))
            addCloudPrinter(QString("p%1").arg(number), number, std::to_string(number));
        AddPrinterThread thread(request);
        const LogRecorder log;
        const DriverInfo record = recordOf(resultOf(thread, &AddPrinterThread::addResult));
        QTEST(record.portName, "portName");
        QTEST(int(record.portNum), "portNumber");
    }

    void leftOverPort()
    {
        // Found without regard to case, and used as it stands.
        Win32Emulator::addDriver();
        Win32Emulator::addPort("oxcloud001", "10.0.0.1", 9100);
        AddPrinterThread thread(request);
        QCOMPARE(recordOf(resultOf(thread, &AddPrinterThread::addResult)).portName, QString("OXCloud001"));
        QCOMPARE(machineContent().first(), QString("port oxcloud001 10.0.0.1:9100"));
        QVERIFY(Win32Emulator::calls("XcvDataW").empty());

        // A queue on a port in another case takes the number.
        AddPrinterThread next({"二楼", "FEDCBA9876543210", {}, 0, {}, {}});
        QCOMPARE(recordOf(resultOf(next, &AddPrinterThread::addResult)).portName, QString("OXCloud002"));
    }
};

QTEST_GUILESS_MAIN(AddPrinterTest)
#include "tst_addprinter.moc"
