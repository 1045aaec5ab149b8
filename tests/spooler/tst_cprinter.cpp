#include "src/spooler/cprinter.h"
#include "tests/support/logrecorder.h"
#include "tests/support/machine.h"

#include <QTest>
#include <QThread>

#include <windows.h>

#include "emulator/win32/control.h"

#include <memory>

namespace {

const QString queue = "前台";
const std::string queueUtf8 = "前台";
const std::string serialBytes = std::string("0123456789ABCDEF") + '\0';
constexpr unsigned regSz = 1;
constexpr unsigned regBinary = 3;

/// An operation that fails with its Win32 call.
using Operation = bool (*)(CPrinter &);

bool getId(CPrinter &printer)
{
    QString id;
    return printer.GetCloudPrinterId(queue, id);
}

bool setPort(CPrinter &printer)
{
    return printer.SetPrinterPortNum(queue, 2);
}

bool getPort(CPrinter &printer)
{
    unsigned short port = 0;
    return printer.GetPrinterPortNum(queue, port);
}

bool getInfo(CPrinter &printer)
{
    Queue info;
    return printer.GetCloudPrinterInfo(queue, info);
}

bool rename(CPrinter &printer)
{
    return printer.RenamePrinter(queue, "new");
}

bool remove(CPrinter &printer)
{
    return printer.RemovePrinter(queue);
}

bool enumPrinters(CPrinter &printer)
{
    QList<Queue> queues;
    return printer.EnumLocalPrinters(queues);
}

bool enumPorts(CPrinter &printer)
{
    QList<Port> ports;
    return printer.EnumLocalPorts(ports);
}

bool enumDrivers(CPrinter &printer)
{
    QList<Driver> drivers;
    return printer.EnumLocalDrivers(drivers);
}

} // namespace

Q_DECLARE_METATYPE(Operation)

class CPrinterTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        Win32Emulator::reset();
        Win32Emulator::addDriver();
        Win32Emulator::addPort("OXCloud001", "127.0.0.1", 8101);
        Win32Emulator::addPrinter(queueUtf8, "OXCloud001");
        Win32Emulator::clearCalls();
    }
    void cleanup() { QCOMPARE(Win32Emulator::openHandles(), 0); }

    void writesPrinterData()
    {
        CPrinter printer;
        QCOMPARE(printer.SetCloudPrinterId(queue, "0123456789ABCDEF"), 0);
        QCOMPARE(Win32Emulator::printerData(queueUtf8, "CloudId").value(), std::make_pair(regSz, serialBytes));
        QVERIFY(printer.SetPrinterPortNum(queue, 8101));
        QCOMPARE(Win32Emulator::printerData(queueUtf8, "CloudPort").value(),
                 std::make_pair(regBinary, std::string("\xa5\x1f")));

        Win32Emulator::failCalls("OpenPrinterW", ERROR_ACCESS_DENIED);
        QCOMPARE(printer.SetCloudPrinterId(queue, "F"), CPrinter::printerNotOpened);
        LogRecorder log;
        QCOMPARE(printer.SetCloudPrinterId("nobody", "F"), CPrinter::invalidPrinterName);
        QVERIFY(log.contains("224_CPrinter SetCloudPrinterId \"nobody\" \"F\""));
        QVERIFY(log.contains("234_CPrinter OpenPrinter nobody, error is 1801"));
    }

    void readsPrinterData_data()
    {
        QTest::addColumn<QByteArray>("id");
        QTest::addColumn<QByteArray>("port");
        QTest::addColumn<int>("expectedPort");
        const QByteArray digits = "0123456789ABCDEF";
        QTest::newRow("as written") << digits + '\0' << QByteArray("\xa5\x1f") << 0x1fa5;
        QTest::newRow("no terminator, one byte") << digits << QByteArray("\x21") << 0x21;
        QTest::newRow("lengthened by Windows")
            << digits + QByteArray("\0\n\0", 3) << QByteArray("\x01\x02\x03") << 0x0201;
    }

    void readsPrinterData()
    {
        QFETCH(QByteArray, id);
        QFETCH(QByteArray, port);
        Win32Emulator::setPrinterData(queueUtf8, "CloudId", regSz, id.toStdString());
        Win32Emulator::setPrinterData(queueUtf8, "CloudPort", regBinary, port.toStdString());
        CPrinter printer;
        QString readId;
        unsigned short readPort = 7;
        QVERIFY(printer.GetCloudPrinterId(queue, readId));
        QCOMPARE(readId, QString("0123456789ABCDEF"));
        QVERIFY(printer.GetPrinterPortNum(queue, readPort));
        QTEST(int(readPort), "expectedPort");
    }

    void asksForTheRightsItNeeds()
    {
        CPrinter printer;
        printer.SetCloudPrinterId(queue, "F");
        for (const Operation operation : {getId, setPort, getPort, getInfo, rename})
            operation(printer);
        printer.RemovePrinter("new");
        const QStringList calls = argumentsOf("OpenPrinterW");
        QCOMPARE(calls.size(), 7);
        QCOMPARE(calls.filter("0x4").size(), 4);
        QCOMPARE(calls.filter("0xf000c", Qt::CaseInsensitive).size(), 3);
    }

    /// Each Win32 call of an operation fails once; the operation reports it and leaves no handle open.
    void failsStepByStep_data()
    {
        QTest::addColumn<Operation>("operation");
        QTest::addColumn<QString>("function");
        QTest::addColumn<int>("skip");
        QTest::addColumn<QString>("line");
        const auto row = [](Operation operation, const char *function, int skip, const char *line) {
            QTest::newRow(line) << operation << function << skip << line;
        };
        row(getId, "OpenPrinterW", 0, "267_CPrinter OpenPrinter 前台, error is 5");
        row(getId, "GetPrinterDataW", 0, "283_CPrinter GetPrinterData error is ");
        row(getId, "GetPrinterDataW", 1, "292_CPrinter GetPrinterData error is 5");
        row(setPort, "OpenPrinterW", 0, "314_CPrinter OpenPrinter 前台, error is 5");
        row(setPort, "SetPrinterDataW", 0, "314_CPrinter SetPrinterPortNum result is : 5");
        row(getPort, "OpenPrinterW", 0, "342_CPrinter OpenPrinter 前台, error is 5");
        row(getPort, "GetPrinterDataW", 0, "358_CPrinter GetPrinterData error is ");
        row(getPort, "GetPrinterDataW", 1, "367_CPrinter GetPrinterData error is 5");
        row(getInfo, "OpenPrinterW", 0, "392_CPrinter OpenPrinter 前台, error is 5");
        row(getInfo, "GetPrinterW", 0, "402_CPrinter GetPrinter lasterror is 5 cbNeeded is 0");
        row(getInfo, "GetPrinterW", 1, "411_CPrinter GetPrinterlasterror is 5");
        row(rename, "OpenPrinterW", 0, "684_CPrinter OpenPrinter 前台, error is 5");
        row(rename, "GetPrinterW", 0, "694_CPrinter GetPrinter getlasterror is 5 cbNeeded is 0");
        row(rename, "GetPrinterW", 1, "704_CPrinter GetPrinter getlasterror is 5");
        row(rename, "SetPrinterW", 0, "715_CPrinter SetPrinter getlasterror is 5");
        row(remove, "OpenPrinterW", 0, "524_CPrinter OpenPrinter LastError: 5");
        row(remove, "GetPrinterW", 0, "567_CPrinter GetPrinter failed: 5");
        row(remove, "GetPrinterW", 1, "576_CPrinter GetPrinter failed: 5");
        row(remove, "GetPrinterW", 1, "530_CPrinter DeletePrintJob failed");
        row(remove, "DeletePrinter", 0, "539_CPrinter DeletePrinter failed GetLastError: 5");
        row(enumPrinters, "EnumPrintersW", 0, "115_CPrinter EnumPrinters GetLastError() == 5 || pcbNeeded == 0");
        row(enumPrinters, "EnumPrintersW", 1, "126_CPrinter EnumPrinters GetLastError() == 5");
        row(enumPorts, "EnumPortsW", 0, "152_CPrinter EnumPorts GetLastError() == 5 || pcbNeeded == 0");
        row(enumPorts, "EnumPortsW", 1, "163_CPrinter EnumPorts GetLastError() == 5");
        row(enumDrivers, "EnumPrinterDriversW", 0,
            "479_CPrinter EnumPrinterDrivers GetLastError() == 5 || pcbNeeded == 0");
        row(enumDrivers, "EnumPrinterDriversW", 1, "490_CPrinter EnumPrinterDrivers GetLastError() == 5");
    }

    void failsStepByStep()
    {
        QFETCH(Operation, operation);
        QFETCH(QString, function);
        QFETCH(int, skip);
        QFETCH(QString, line);
        CPrinter printer;
        printer.SetCloudPrinterId(queue, "F");
        printer.SetPrinterPortNum(queue, 1);
        Win32Emulator::failCalls(function.toStdString(), ERROR_ACCESS_DENIED, skip);
        LogRecorder log;
        QVERIFY(!operation(printer));
        QVERIFY2(log.contains(line), qPrintable(log.lines().join('\n')));
        QCOMPARE(Win32Emulator::openHandles(), 0);
        QVERIFY2(operation(printer), "the fault was met, and once only");
    }

    void renames()
    {
        Win32Emulator::addPrinter("taken", "OXCloud001");
        Win32Emulator::setPrinterData(queueUtf8, "CloudId", regSz, serialBytes);
        CPrinter printer;
        QVERIFY(!printer.RenamePrinter(queue, "taken"));
        QVERIFY(printer.RenamePrinter(queue, "后台 %1"));
        Queue info;
        QVERIFY(!printer.GetCloudPrinterInfo(queue, info));
        QVERIFY(printer.GetCloudPrinterInfo("后台 %1", info));
        QCOMPARE(info.port, QString("OXCloud001"));
        QCOMPARE(info.driver, QString("Orvo OX-410T"));
        QCOMPARE(Win32Emulator::printerData("后台 %1", "CloudId")->second, serialBytes);
    }

    void purgesAndRemoves()
    {
        CPrinter printer;
        Win32Emulator::addJob(queueUtf8, "a", "bytes");
        Win32Emulator::addJob(queueUtf8, "b", "bytes");
        Win32Emulator::failCalls("SetPrinterW", ERROR_ACCESS_DENIED, 0, 3);
        QVERIFY(printer.RemovePrinter(queue));
        QVERIFY2(argumentsOf("SetPrinterW").filter("command=3").size() >= 4, "a purge that does nothing is repeated");
        QCOMPARE(argumentsOf("DeletePrinterConnectionW").size(), 1);
        QVERIFY(Win32Emulator::printers().empty());

        Win32Emulator::clearCalls();
        QVERIFY(!printer.RemovePrinter(""));
        QVERIFY(Win32Emulator::calls().empty());
    }

    void purgeEndsWithTheProgram()
    {
        Win32Emulator::addJob(queueUtf8, "a", "bytes");
        Win32Emulator::failCalls("SetPrinterW", ERROR_ACCESS_DENIED, 0, 1000000);
        bool removed = true;
        const std::unique_ptr<QThread> thread(QThread::create([&] { removed = CPrinter().RemovePrinter(queue); }));
        thread->start();
        QTRY_VERIFY(Win32Emulator::calls("SetPrinterW").size() > 3);
        thread->requestInterruption();
        QVERIFY(thread->wait(5000));
        QVERIFY(!removed);
    }

    /// A queue added between the size query and the reading does not make the list fail.
    void queuesAreAddedWhileTheyAreRead()
    {
        Win32Emulator::beforeCall("EnumPrintersW", [] {
            Win32Emulator::beforeCall("EnumPrintersW", [] { Win32Emulator::addPrinter("added", "OXCloud001"); });
        });
        QList<Queue> queues;
        QVERIFY(CPrinter().EnumLocalPrinters(queues));
        QCOMPARE(queues.size(), 2);

        // The attempts are limited.
        Win32Emulator::failCalls("EnumPrintersW", ERROR_INSUFFICIENT_BUFFER, 0, 100);
        QVERIFY(!CPrinter().EnumLocalPrinters(queues));
    }

    void jobCountChangesBetweenTheCalls()
    {
        const unsigned job = Win32Emulator::addJob(queueUtf8, "a", "x");
        Win32Emulator::beforeCall("EnumJobsW", [&] { Win32Emulator::removeJob(job); });
        QVERIFY(spoolJobs(queue).isEmpty());

        Win32Emulator::addJob(queueUtf8, "a", "x");
        Win32Emulator::beforeCall("EnumJobsW", [] { Win32Emulator::addJob(queueUtf8, "b", "x"); });
        QCOMPARE(spoolJobs(queue).size(), 1);
    }

    void commandLines()
    {
        LogRecorder log;
        CPrinter printer;
        QVERIFY2(printer.addCloudPrinter("n", "p", "m", "C:\\x y\\z.INF", true), "the exit code is not looked at");
        QVERIFY(log.contains("180_CPrinter addCloudPrinter \"n\" \"p\" \"m\" \"C:\\\\x y\\\\z.INF\""));
        QVERIFY(log.contains("197_CPrinter cmd is \"RUNDLL32 PRINTUI.DLL,PrintUIEntry /if /b \\\"n\\\" /f \\\"C:\\\\x "
                             "y\\\\z.INF\\\" /r \\\"p\\\" /m \\\"m\\\" /u\""));
        QVERIFY(printer.addCloudPrinter("n", "p", "m", "i", false));
        QVERIFY(
            log.contains("cmd is \"RUNDLL32 PRINTUI.DLL,PrintUIEntry /if /b \\\"n\\\" /r \\\"p\\\" /m \\\"m\\\"\""));

        const QByteArray path = qgetenv("PATH");
        qputenv("PATH", "");
        const bool started = printer.addCloudPrinter("n", "p", "m", "i", false);
        qputenv("PATH", path);
        QVERIFY(!started);
        QVERIFY(log.contains("202_CPrinter waitForStarted() returned false"));
    }

    void printsTestPage()
    {
        LogRecorder log;
        CPrinter().PrintTestPage(queue);
        QVERIFY(log.contains("430_CPrinter \"前台\" PrintTestPage"));
        QCOMPARE(spoolJobs(queue).value(0).document, QString("测试页"));
    }
};

QTEST_GUILESS_MAIN(CPrinterTest)
#include "tst_cprinter.moc"
