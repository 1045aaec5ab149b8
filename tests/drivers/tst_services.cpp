#include "src/base/runningthreads.h"
#include "src/spooler/cprinter.h"
#include "tests/support/logrecorder.h"
#include "tests/support/machine.h"

#include <QRegularExpression>
#include <QTest>
#include <QThread>

#include <windows.h>
#include <winsvc.h>

#include "emulator/win32/control.h"

namespace {

using Script = std::vector<Win32Emulator::ServiceStatus>;
constexpr unsigned stopped = SERVICE_STOPPED;
constexpr unsigned starting = SERVICE_START_PENDING;
constexpr unsigned stopping = SERVICE_STOP_PENDING;
constexpr unsigned running = SERVICE_RUNNING;

constexpr unsigned shortlyBeforeTheWrap = 0xFFFFF000; // of the tick counter

struct Fault
{
    const char *function = nullptr;
    unsigned error = 0;
    int skip = 0;
};

/// The last line that names its place in the code.
QString lastLine(const LogRecorder &log)
{
    const QStringList lines = log.lines().filter(QRegularExpression("^\\d+_"));
    return lines.last();
}

} // namespace

Q_DECLARE_METATYPE(Script)
Q_DECLARE_METATYPE(Fault)

/// StopSvc and StartSvc against scripted services under virtual time that crosses the wrap-around of the tick counter.
class ServicesTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        Win32Emulator::reset();
        Win32Emulator::useVirtualTime(shortlyBeforeTheWrap);
    }

    void cleanup() { QCOMPARE(Win32Emulator::openHandles(), 0); }

    void stop_data()
    {
        QTest::addColumn<Script>("script");
        QTest::addColumn<Fault>("fault");
        QTest::addColumn<QString>("line");
        QTest::addColumn<int>("controls");
        QTest::addColumn<QString>("sleeps");

        const auto row = [](const char *name, const Script &script, const Fault &fault, const QString &line,
                            int controls, const QString &sleeps) {
            QTest::newRow(name) << script << fault << line << controls << sleeps;
        };
        const QString success = "899_CPrinter Service stopped successfully";
        const QString timeout = "893_CPrinter Wait timed out";
        row("at once", {}, {}, success, 1, "");
        row("slow", {{running}, {stopping, 0, 1000}, {stopping, 0, 2000}, {stopped}}, {}, success, 1, "1000 500 2000");
        row("deaf at first", {{running}, {running}, {running}, {stopped}}, {}, success, 3, "");
        row("runs again", {{running}, {stopping, 0, 100}, {running}, {stopped}}, {}, success, 2, "100 500");
        row("never stops", {{running}, {stopping, 0, 14500}}, {}, timeout, 1, "14500 500 14500 500 14500 500");
        row("stopped already", {{stopped}}, {}, "813_CPrinter Service is already stopped.", 0, "");
        // Someone else requested the stop.
        row("foreign stop", {{stopping, 0, 700}, {stopped}}, {}, "838_CPrinter Service stopped successfully.", 0,
            "700");
        row("endless foreign stop", {{stopping, 0, 15000}}, {}, "845_CPrinter Service stop timed out.", 0,
            "15000 15000 15000");
        row("foreign stop taken back", {{stopping, 0, 25000}, {running}, {stopping, 0, 5000}}, {}, timeout, 1,
            "25000 5000 500");

        row("no manager", {}, {"OpenSCManagerW", 5}, "739_CPrinter OpenSCManager failed (5)", 0, "");
        row("no service", {}, {"OpenServiceW", 1060}, "762_CPrinter OpenSCManager failed (1060)", 0, "");
        row("control fails", {}, {"ControlService", 1061}, "863_CPrinter ControlService failed (1061)", 1, "");
        const Fault firstQuery = {"QueryServiceStatusEx", 5};
        const Fault secondQuery = {"QueryServiceStatusEx", 5, 1};
        row("no status", {}, firstQuery, "806_CPrinter QueryServiceStatusEx failed (5)", 0, "");
        row("no second status", {{stopping, 0, 100}}, secondQuery, "831_CPrinter QueryServiceStatusEx failed (5)", 0,
            "100");
        row("no status after the control", {{running}, {stopping, 0, 100}}, secondQuery,
            "882_CPrinter QueryServiceStatusEx failed (5)\n", 1, "100");
    }

    void stop()
    {
        QFETCH(Script, script);
        QFETCH(Fault, fault);
        Win32Emulator::scriptService("Spooler", script);
        if (fault.function)
            Win32Emulator::failCalls(fault.function, fault.error, fault.skip);
        const LogRecorder log;
        const bool result = CPrinter().StopSvc("Spooler");
        QTEST(lastLine(log), "line");
        QCOMPARE(result, lastLine(log).startsWith("899_"));
        QTEST(argumentsOf("ControlService").size(), "controls");
        QTEST(argumentsOf("Sleep").join(' '), "sleeps");
    }

    void stopsDependentsFirst()
    {
        Win32Emulator::addService("Fax", "Spooler");
        Win32Emulator::addService("Scan", "Fax");
        Win32Emulator::addService("Idle", "Spooler");
        Win32Emulator::setServiceState("Idle", stopped);
        Win32Emulator::scriptService("Scan", {{stopping, 0, 100}, {stopping, 0, 100}, {stopped}});
        // One that is added between the size query and the reading is stopped, too.
        Win32Emulator::beforeCall("EnumDependentServicesW", [] {
            Win32Emulator::beforeCall("EnumDependentServicesW", [] { Win32Emulator::addService("Late", "Spooler"); });
        });
        QVERIFY(CPrinter().StopSvc("Spooler"));
        QCOMPARE(argumentsOf("ControlService"),
                 QStringList({"Late control=1", "Scan control=1", "Fax control=1", "Spooler control=1"}));

        // One that does not stop is given up after a bounded time; the spooler then refuses the control.
        Win32Emulator::setServiceState("Spooler", running);
        Win32Emulator::setServiceState("Fax", running);
        Win32Emulator::scriptService("Fax", {{stopping, 0, 100}});
        const LogRecorder log;
        const DWORD start = GetTickCount();
        QVERIFY(!CPrinter().StopSvc("Spooler"));
        QVERIFY(GetTickCount() - start < 35000);
        QVERIFY(log.contains("923_CPrinter pf()= 0"));
        QCOMPARE(lastLine(log), QString("863_CPrinter ControlService failed (1051)"));
    }

    void stopEndsWithTheProgram()
    {
        // A service that never reports a stop would get the control forever.
        Win32Emulator::scriptService("Spooler", Script(10000, {running}));
        bool result = true;
        QThread *thread = QThread::create([&] { result = CPrinter().StopSvc("Spooler"); });
        thread->start();
        QTRY_VERIFY(Win32Emulator::calls("ControlService").size() > 3);
        thread->requestInterruption();
        QVERIFY(thread->wait(5000));
        delete thread;
        QVERIFY(!result);
    }

    /// Quitting in the middle of a restart waits for it: the machine keeps its spooler.
    void restartOutlastsTheProgram()
    {
        Win32Emulator::scriptService(
            "Spooler", {{running}, {stopping, 0, 1000}, {stopping, 0, 1000}, {stopping, 0, 1000}, {stopped}});
        Win32Emulator::failCalls("DeletePrinterDriverExW", ERROR_ACCESS_DENIED, 0, 2);
        Win32Emulator::beforeCall("Sleep", [] {
            while (!QThread::currentThread()->isInterruptionRequested())
                QThread::msleep(1);
            QThread::msleep(300); // the time that the threads have to end is over
        });
        const LogRecorder log;
        RunningThreads::start(QThread::create([] { CPrinter().RemovePrinterDriver("Orvo OX-410T", EnvX64); }));
        QTRY_VERIFY(!Win32Emulator::calls("ControlService").empty());
        RunningThreads::endAll(std::chrono::seconds(0));
        QCOMPARE(Win32Emulator::serviceState("Spooler"), running);
        QVERIFY(RunningThreads::endAll(std::chrono::seconds(5)));
        QVERIFY(log.contains("899_CPrinter Service stopped successfully"));
        QVERIFY2(Win32Emulator::calls("ControlService").size() == 1, "no second stop at the end");
    }

    void startWaitsForAStop()
    {
        Win32Emulator::setServiceState("Spooler", stopping);
        const LogRecorder log;
        QVERIFY(!CPrinter().StartSvc("Spooler"));
        QVERIFY(log.contains("958_CPrinter StartService failed (1056)"));
        QVERIFY2(argumentsOf("Sleep").size() < 70, "half a second each");

        Win32Emulator::clearCalls();
        Win32Emulator::scriptService("Spooler", {{stopping}, {stopping}, {stopped}, {running}});
        QVERIFY(CPrinter().StartSvc("Spooler"));
        QCOMPARE(argumentsOf("Sleep"), QStringList({"500", "500", "500"}));
    }

    void start_data()
    {
        QTest::addColumn<Script>("script");
        QTest::addColumn<Fault>("fault");
        QTest::addColumn<QString>("sleeps");

        const auto row = [](const char *name, const Script &script, const QString &sleeps, const Fault &fault = {}) {
            QTest::newRow(name) << script << fault << sleeps;
        };
        // The first status answers the start, the second the first query.
        row("at once", {}, "");
        row("refused", {}, "", {"StartServiceW", 1058});
        row("no hint", {{starting}, {starting}, {running}}, "1000");
        row("long hint", {{starting}, {starting, 1, 200000}, {running}}, "10000");
        row("tenth of the hint", {{starting}, {starting, 1, 25000}, {running}}, "2500");
        row("stalls", {{starting}, {starting, 1, 2500}}, "1000 1000 1000");
        row("check points grow", {{starting}, {starting, 1, 2500}, {starting, 2, 2500}, {starting, 3, 2500}},
            "1000 1000 1000 1000 1000");
        row("query fails", {{starting}, {starting, 1, 90000}}, "9000", {"QueryServiceStatus", 5, 1});
    }

    void start()
    {
        QFETCH(Script, script);
        QFETCH(Fault, fault);
        Win32Emulator::setServiceState("Spooler", stopped);
        Win32Emulator::scriptService("Spooler", script);
        if (fault.function)
            Win32Emulator::failCalls(fault.function, fault.error, fault.skip);
        const LogRecorder log;
        const bool result = CPrinter().StartSvc("Spooler");
        QCOMPARE(result, !log.contains("958_CPrinter StartService failed (1058)"));
        QCOMPARE(lastLine(log), QString("1014_CPrinter StartSvc() returned %1").arg(QVariant(result).toString()));
        QCOMPARE(Win32Emulator::serviceState("Spooler") == stopped, !result);
        QTEST(argumentsOf("Sleep").join(' '), "sleeps");
    }

    void opening()
    {
        CPrinter printer;
        QVERIFY(!printer.QOpenService(nullptr, "Spooler", SERVICE_STOP));
        QVERIFY(Win32Emulator::calls("OpenServiceW").empty());

        // A name longer than any service has is cut, not followed past its buffer.
        QVERIFY(!printer.QOpenService(printer.QOpenSCManager(), QString(1000, 'x'), SERVICE_STOP));
        QCOMPARE(argumentsOf("OpenServiceW"), QStringList(QString(259, 'x') + " access=0x20"));
    }
};

QTEST_GUILESS_MAIN(ServicesTest)
#include "tst_services.moc"
