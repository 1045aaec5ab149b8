#include "spooler/cprinter.h"
#include "spooler/spooljobs.h"
#include "spooler/win32text.h"
#include "support/logrecorder.h"

#include <QTest>

#include "win32/control.h"

namespace {

const QString queue = "前台";
const std::string queueUtf8 = "前台";
const std::string serialBytes = std::string("0123456789ABCDEF") + '\0';
constexpr unsigned regSz = 1;
constexpr unsigned regBinary = 3;

QStringList callsOf(const std::string &function)
{
    QStringList result;
    for (const Win32Emulator::Call &call : Win32Emulator::calls(function))
        result << QString::fromStdString(call.arguments);
    return result;
}

} // namespace

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

    void writesPrinterData();
    void readsPrinterData_data();
    void readsPrinterData();
    void asksForTheRightsItNeeds();
    void failsStepByStep_data();
    void failsStepByStep();
    void renames();
    void purgesAndRemoves();
    void enumerates();
    void labelsJobs();
    void jobCountChangesBetweenTheCalls();
    void installsQueues_data();
    void installsQueues();
    void commandLines();
    void printsTestPage();
};

void CPrinterTest::writesPrinterData()
{
    CPrinter printer;
    QCOMPARE(printer.SetCloudPrinterId(queue, "0123456789ABCDEF"), 0);
    QCOMPARE(Win32Emulator::printerData(queueUtf8, "CloudId").value(), std::make_pair(regSz, serialBytes));
    QVERIFY(printer.SetPrinterPortNum(queue, 8101));
    QCOMPARE(Win32Emulator::printerData(queueUtf8, "CloudPort").value(),
             std::make_pair(regBinary, std::string("\xa5\x1f")));

    Win32Emulator::failCalls("SetPrinterDataW", ERROR_ACCESS_DENIED, 0, 2);
    QCOMPARE(printer.SetCloudPrinterId(queue, "F"), int(ERROR_ACCESS_DENIED));
    QVERIFY(!printer.SetPrinterPortNum(queue, 1));
    Win32Emulator::failCalls("OpenPrinterW", ERROR_ACCESS_DENIED);
    QCOMPARE(printer.SetCloudPrinterId(queue, "F"), -2);
    LogRecorder log;
    QCOMPARE(printer.SetCloudPrinterId("nobody", "F"), -1);
    QVERIFY(log.contains("224_CPrinter SetCloudPrinterId \"nobody\" \"F\""));
    QVERIFY(log.contains("234_CPrinter OpenPrinter nobody, error is 1801"));
}

void CPrinterTest::readsPrinterData_data()
{
    QTest::addColumn<QByteArray>("id");
    QTest::addColumn<QString>("expectedId");
    QTest::addColumn<QByteArray>("port");
    QTest::addColumn<int>("expectedPort");
    const QByteArray digits = "0123456789ABCDEF";
    QTest::newRow("as written") << digits + '\0' << QString(digits) << QByteArray("\xa5\x1f") << 0x1fa5;
    QTest::newRow("no terminator, one byte") << digits << QString(digits) << QByteArray("\x21") << 0x21;
    QTest::newRow("lengthened, more bytes")
        << digits + QByteArray("\0\n\0", 3) << QString(digits) << QByteArray("\x01\x02\x03\x04") << 0x0201;
    QTest::newRow("empty text") << QByteArray(1, '\0') << "" << QByteArray(2, '\0') << 0;
}

void CPrinterTest::readsPrinterData()
{
    QFETCH(QByteArray, id);
    QFETCH(QString, expectedId);
    QFETCH(QByteArray, port);
    QFETCH(int, expectedPort);
    Win32Emulator::setPrinterData(queueUtf8, "CloudId", regSz, id.toStdString());
    Win32Emulator::setPrinterData(queueUtf8, "CloudPort", regBinary, port.toStdString());
    CPrinter printer;
    QString readId;
    unsigned short readPort = 7;
    QVERIFY(printer.GetCloudPrinterId(queue, readId));
    QCOMPARE(readId, expectedId);
    QVERIFY(printer.GetPrinterPortNum(queue, readPort));
    QCOMPARE(int(readPort), expectedPort);
}

void CPrinterTest::asksForTheRightsItNeeds()
{
    CPrinter printer;
    QString id;
    unsigned short port = 0;
    SpoolerBuffer info;
    printer.SetCloudPrinterId(queue, "F");
    printer.GetCloudPrinterId(queue, id);
    printer.SetPrinterPortNum(queue, 1);
    printer.GetPrinterPortNum(queue, port);
    printer.GetCloudPrinterInfo(queue, info);
    printer.RenamePrinter(queue, queue);
    printer.RemovePrinter(queue);
    const QStringList calls = callsOf("OpenPrinterW");
    QCOMPARE(calls.size(), 7);
    QCOMPARE(calls.filter("0x4").size(), 4);
    QCOMPARE(calls.filter("0xf000c", Qt::CaseInsensitive).size(), 3);
}

/// Each platform call that an operation makes fails once; the operation says so and leaves no handle open.
void CPrinterTest::failsStepByStep_data()
{
    QTest::addColumn<QString>("operation");
    QTest::addColumn<QString>("function");
    QTest::addColumn<int>("skip");
    QTest::addColumn<QString>("line");
    const auto row = [](const char *operation, const char *function, int skip, const char *line) {
        QTest::addRow("%s %s %d", operation, function, skip) << operation << function << skip << line;
    };
    row("get id", "OpenPrinterW", 0, "267_CPrinter OpenPrinter 前台, error is 5");
    row("get id", "GetPrinterDataW", 0, "283_CPrinter GetPrinterData error is ");
    row("get id", "GetPrinterDataW", 1, "292_CPrinter GetPrinterData error is 5");
    row("set port", "OpenPrinterW", 0, "314_CPrinter OpenPrinter 前台, error is 5");
    row("set port", "SetPrinterDataW", 0, "314_CPrinter SetPrinterPortNum result is : 5");
    row("get port", "OpenPrinterW", 0, "342_CPrinter OpenPrinter 前台, error is 5");
    row("get port", "GetPrinterDataW", 0, "358_CPrinter GetPrinterData error is ");
    row("get port", "GetPrinterDataW", 1, "367_CPrinter GetPrinterData error is 5");
    row("info", "OpenPrinterW", 0, "392_CPrinter OpenPrinter 前台, error is 5");
    row("info", "GetPrinterW", 0, "402_CPrinter GetPrinter lasterror is 5 cbNeeded is 0");
    row("info", "GetPrinterW", 1, "411_CPrinter GetPrinterlasterror is 5");
    row("rename", "OpenPrinterW", 0, "684_CPrinter OpenPrinter 前台, error is 5");
    row("rename", "GetPrinterW", 0, "694_CPrinter GetPrinter getlasterror is 5 cbNeeded is 0");
    row("rename", "GetPrinterW", 1, "704_CPrinter GetPrinter getlasterror is 5");
    row("rename", "SetPrinterW", 0, "715_CPrinter SetPrinter getlasterror is 5");
    row("remove", "OpenPrinterW", 0, "524_CPrinter OpenPrinter LastError: 5");
    row("remove", "GetPrinterW", 0, "567_CPrinter GetPrinter failed: 5");
    row("remove", "GetPrinterW", 1, "576_CPrinter GetPrinter failed: 5");
    row("remove", "GetPrinterW", 1, "530_CPrinter DeletePrintJob failed");
    row("remove", "DeletePrinter", 0, "539_CPrinter DeletePrinter failed GetLastError: 5");
    row("printers", "EnumPrintersW", 0, "115_CPrinter EnumPrinters GetLastError() == 5 || pcbNeeded == 0");
    row("printers", "EnumPrintersW", 1, "126_CPrinter EnumPrinters GetLastError() == 5");
    row("ports", "EnumPortsW", 0, "152_CPrinter EnumPorts GetLastError() == 5 || pcbNeeded == 0");
    row("ports", "EnumPortsW", 1, "163_CPrinter EnumPorts GetLastError() == 5");
    row("drivers", "EnumPrinterDriversW", 0, "479_CPrinter EnumPrinterDrivers GetLastError() == 5 || pcbNeeded == 0");
    row("drivers", "EnumPrinterDriversW", 1, "490_CPrinter EnumPrinterDrivers GetLastError() == 5");
}

void CPrinterTest::failsStepByStep()
{
    QFETCH(QString, operation);
    QFETCH(QString, function);
    QFETCH(int, skip);
    QFETCH(QString, line);
    CPrinter printer;
    printer.SetCloudPrinterId(queue, "F");
    printer.SetPrinterPortNum(queue, 1);
    Win32Emulator::failCalls(function.toStdString(), ERROR_ACCESS_DENIED, skip);

    LogRecorder log;
    const auto perform = [&]() -> bool {
        QString id;
        unsigned short port = 0;
        SpoolerBuffer buffer;
        QList<PRINTER_INFO_2W> printers;
        QList<PORT_INFO_2W> ports;
        QList<DRIVER_INFO_3W> drivers;
        if (operation == "get id")
            return printer.GetCloudPrinterId(queue, id);
        if (operation == "set port")
            return printer.SetPrinterPortNum(queue, 2);
        if (operation == "get port")
            return printer.GetPrinterPortNum(queue, port);
        if (operation == "info")
            return printer.GetCloudPrinterInfo(queue, buffer);
        if (operation == "rename")
            return printer.RenamePrinter(queue, "new");
        if (operation == "remove")
            return printer.RemovePrinter(queue);
        if (operation == "printers")
            return printer.EnumLocalPrinters(printers, buffer);
        if (operation == "ports")
            return printer.EnumLocalPorts(ports, buffer);
        return printer.EnumLocalDrivers(drivers, buffer);
    };
    QVERIFY(!perform());
    QVERIFY2(log.contains(line), qPrintable(log.lines().join('\n')));
    QCOMPARE(Win32Emulator::openHandles(), 0);
    QVERIFY2(perform(), "the fault was met, and once only");
}

void CPrinterTest::renames()
{
    Win32Emulator::addPrinter("taken", "OXCloud001");
    Win32Emulator::setPrinterData(queueUtf8, "CloudId", regSz, serialBytes);
    CPrinter printer;
    QVERIFY(!printer.RenamePrinter(queue, "taken"));
    QVERIFY(printer.RenamePrinter(queue, "后台 %1"));
    SpoolerBuffer info;
    QVERIFY(!printer.GetCloudPrinterInfo(queue, info));
    QVERIFY(!info);
    QVERIFY(printer.GetCloudPrinterInfo("后台 %1", info));
    const auto *entry = reinterpret_cast<const PRINTER_INFO_2W *>(info.get());
    QCOMPARE(fromWide(entry->pPortName), QString("OXCloud001"));
    QCOMPARE(fromWide(entry->pDriverName), QString("Orvo OX-410T"));
    QCOMPARE(Win32Emulator::printerData("后台 %1", "CloudId")->second, serialBytes);
}

void CPrinterTest::purgesAndRemoves()
{
    CPrinter printer;
    const auto purges = [] { return callsOf("SetPrinterW").filter("command=3").size(); };
    {
        const PrinterHandle handle(queue, PRINTER_ALL_ACCESS);
        QVERIFY(printer.DeletePrintJob(handle.get()));
    }
    QCOMPARE(purges(), 0);
    Win32Emulator::addJob(queueUtf8, "a", "bytes");
    Win32Emulator::addJob(queueUtf8, "b", "bytes");
    Win32Emulator::failCalls("SetPrinterW", ERROR_ACCESS_DENIED, 0, 3);
    QVERIFY(printer.RemovePrinter(queue));
    QVERIFY2(purges() >= 4, "a purge that does nothing is asked for again");
    QCOMPARE(callsOf("DeletePrinterConnectionW").size(), 1);
    QVERIFY(!PrinterHandle(queue));

    Win32Emulator::clearCalls();
    QVERIFY(!printer.RemovePrinter(""));
    QVERIFY(Win32Emulator::calls().empty());
}

void CPrinterTest::enumerates()
{
    Win32Emulator::addPort("OXCloud002", "127.0.0.1", 8102);
    Win32Emulator::addDriver("Another");
    Win32Emulator::addPrinter("第二", "OXCloud002", "Another");
    CPrinter printer;
    SpoolerBuffer buffer;

    QList<PRINTER_INFO_2W> printers;
    QVERIFY(printer.EnumLocalPrinters(printers, buffer));
    QCOMPARE(printers.size(), 2);
    QCOMPARE(fromWide(printers[0].pPrinterName), queue);
    QCOMPARE(fromWide(printers[1].pPrinterName), QString("第二"));
    QCOMPARE(fromWide(printers[1].pPortName), QString("OXCloud002"));
    QCOMPARE(fromWide(printers[1].pDriverName), QString("Another"));

    QList<PORT_INFO_2W> ports;
    QVERIFY(printer.EnumLocalPorts(ports, buffer));
    QCOMPARE(ports.size(), 2);
    QCOMPARE(fromWide(ports[1].pPortName), QString("OXCloud002"));

    QList<DRIVER_INFO_3W> drivers;
    QVERIFY(printer.EnumLocalDrivers(drivers, buffer));
    QCOMPARE(drivers.size(), 2);

    Win32Emulator::reset();
    printers.clear();
    QVERIFY2(!printer.EnumLocalPrinters(printers, buffer), "nothing to list");
    QVERIFY(printers.isEmpty());
}

void CPrinterTest::labelsJobs()
{
    QVERIFY(spoolJobs(queue).isEmpty());
    QVERIFY(spoolJobs("nobody").isEmpty());
    Win32Emulator::addJob(queueUtf8, "早.pdf", "x", Win32Emulator::SubmissionTime{2026, 11, 21, 1, 2, 3});
    const unsigned second =
        Win32Emulator::addJob(queueUtf8, "late", "x", Win32Emulator::SubmissionTime{2026, 11, 21, 23, 30, 0});
    Win32Emulator::setJobStatus(second, JOB_STATUS_PRINTING | JOB_STATUS_SPOOLING);
    const QList<SpoolJob> jobs = spoolJobs(queue);
    QCOMPARE(jobs.size(), 2);
    QCOMPARE(jobs[0].document, QString("早.pdf"));
    QCOMPARE(jobs[0].submissionTime, QString("09:02:03"));
    QVERIFY(!jobs[0].printing);
    QCOMPARE(jobs[1].submissionTime, QString("31:30:00"));
    QVERIFY(jobs[1].printing);
}

void CPrinterTest::jobCountChangesBetweenTheCalls()
{
    const unsigned job = Win32Emulator::addJob(queueUtf8, "a", "x");
    Win32Emulator::beforeCall("EnumJobsW", [&] { Win32Emulator::removeJob(job); });
    QVERIFY(spoolJobs(queue).isEmpty());

    Win32Emulator::addJob(queueUtf8, "a", "x");
    Win32Emulator::beforeCall("EnumJobsW", [] { Win32Emulator::addJob(queueUtf8, "b", "x"); });
    QCOMPARE(spoolJobs(queue).size(), 1);
}

void CPrinterTest::installsQueues_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("queueMade"); // empty: none
    QTest::newRow("plain") << "新"
                           << "新";
    QTest::newRow("blanks and markers") << " a %1  b "
                                        << " a %1  b ";
    QTest::newRow("single quote") << "it's"
                                  << "it's";
    // The unescaped command line names another queue, or breaks.
    QTest::newRow("double quote") << "a\"b"
                                  << "";
}

void CPrinterTest::installsQueues()
{
    QFETCH(QString, name);
    QFETCH(QString, queueMade);
    CPrinter printer;
    QVERIFY(printer.addCloudPrinter(name, "OXCloud001", "Orvo OX-410T", "", false));
    QCOMPARE(bool(PrinterHandle(name)), !queueMade.isEmpty());
}

void CPrinterTest::commandLines()
{
    LogRecorder log;
    CPrinter printer;
    QVERIFY2(printer.addCloudPrinter("n", "p", "m", "C:\\x y\\z.INF", true), "the exit code is not looked at");
    QVERIFY(log.contains("180_CPrinter addCloudPrinter \"n\" \"p\" \"m\" \"C:\\\\x y\\\\z.INF\""));
    QVERIFY(log.contains("197_CPrinter cmd is \"RUNDLL32 PRINTUI.DLL,PrintUIEntry /if /b \\\"n\\\" /f \\\"C:\\\\x "
                         "y\\\\z.INF\\\" /r \\\"p\\\" /m \\\"m\\\" /u\""));
    QVERIFY(printer.addCloudPrinter("n", "p", "m", "i", false));
    QVERIFY(log.contains("cmd is \"RUNDLL32 PRINTUI.DLL,PrintUIEntry /if /b \\\"n\\\" /r \\\"p\\\" /m \\\"m\\\"\""));

    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", "");
    const bool started = printer.addCloudPrinter("n", "p", "m", "i", false);
    qputenv("PATH", path);
    QVERIFY(!started);
    QVERIFY(log.contains("202_CPrinter waitForStarted() returned false"));
}

void CPrinterTest::printsTestPage()
{
    LogRecorder log;
    CPrinter printer;
    printer.PrintTestPage("nobody");
    QVERIFY(log.contains("430_CPrinter \"nobody\" PrintTestPage"));
    printer.PrintTestPage(queue);
    QCOMPARE(spoolJobs(queue).value(0).document, QString("测试页"));
}

QTEST_GUILESS_MAIN(CPrinterTest)
#include "tst_cprinter.moc"
