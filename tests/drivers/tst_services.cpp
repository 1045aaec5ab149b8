#include "spooler/cprinter.h"
#include "support/logrecorder.h"

#include <QRegularExpression>
#include <QTest>
#include <QThread>

#include "win32/control.h"

namespace {

using Script = std::vector<Win32Emulator::Model::ServiceStatus>;
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

QString argumentsOf(const std::string &function)
{
    QStringList result;
    for (const Win32Emulator::Call &call : Win32Emulator::calls(function))
        result << QString::fromStdString(call.arguments);
    return result.join(' ');
}

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

    void stop_data();
    void stop();
    void stopsDependentsFirst();
    void stopEndsWithTheProgram();
    void start_data();
    void start();
    void opening();
};

void ServicesTest::stop_data()
{
    QTest::addColumn<Script>("script");
    QTest::addColumn<Fault>("fault");
    QTest::addColumn<bool>("result");
    QTest::addColumn<QString>("line");
    QTest::addColumn<int>("controls");
    QTest::addColumn<QString>("sleeps");

    const QString success = "899_CPrinter Service stopped successfully";
    QTest::newRow("at once") << Script{} << Fault{} << true << success << 1 << "";
    QTest::newRow("stopped already") << Script{{stopped}} << Fault{} << false
                                     << "813_CPrinter Service is already stopped." << 0 << "";
    QTest::newRow("pending, then stopped") << Script{{stopping, 0, 700}, {stopped}} << Fault{} << false
                                           << "838_CPrinter Service stopped successfully." << 0 << "700";
    QTest::newRow("pending for ever") << Script{{stopping, 0, 15000}} << Fault{} << false
                                      << "845_CPrinter Service stop timed out." << 0 << "15000 15000 15000";
    QTest::newRow("pending, then running")
        << Script{{stopping, 0, 700}, {running}} << Fault{} << true << success << 1 << "700";
    QTest::newRow("slow stop") << Script{{running}, {stopping, 0, 1000}, {stopping, 0, 2000}, {stopped}} << Fault{}
                               << true << success << 1 << "1000 500 2000";
    QTest::newRow("stops during the last wait")
        << Script{{running}, {stopping, 0, 31000}, {stopped}} << Fault{} << true << success << 1 << "31000";
    QTest::newRow("never stops") << Script{{running}, {stopping, 0, 14500}} << Fault{} << false
                                 << "893_CPrinter Wait timed out" << 1 << "14500 500 14500 500 14500 500";
    QTest::newRow("the limit counts a foreign stop")
        << Script{{stopping, 0, 25000}, {running}, {stopping, 0, 5000}} << Fault{} << false
        << "893_CPrinter Wait timed out" << 1 << "25000 5000 500";
    QTest::newRow("deaf to the first controls")
        << Script{{running}, {running}, {running}, {stopped}} << Fault{} << true << success << 3 << "";
    QTest::newRow("runs again while it stops")
        << Script{{running}, {stopping, 0, 100}, {running}, {stopped}} << Fault{} << true << success << 2 << "100 500";
    QTest::newRow("first query fails") << Script{} << Fault{"QueryServiceStatusEx", 5} << false
                                       << "806_CPrinter QueryServiceStatusEx failed (5)" << 0 << "";
    QTest::newRow("query fails in a foreign stop")
        << Script{{stopping, 0, 100}} << Fault{"QueryServiceStatusEx", 5, 1} << false
        << "831_CPrinter QueryServiceStatusEx failed (5)" << 0 << "100";
    QTest::newRow("query fails after the control")
        << Script{{running}, {stopping, 0, 100}} << Fault{"QueryServiceStatusEx", 5, 1} << false
        << "882_CPrinter QueryServiceStatusEx failed (5)\n"
        << 1 << "100";
    QTest::newRow("control fails") << Script{} << Fault{"ControlService", 1061} << false
                                   << "863_CPrinter ControlService failed (1061)" << 1 << "";
    QTest::newRow("no manager") << Script{} << Fault{"OpenSCManagerW", 5} << false
                                << "739_CPrinter OpenSCManager failed (5)" << 0 << "";
    QTest::newRow("no service") << Script{} << Fault{"OpenServiceW", 1060} << false
                                << "762_CPrinter OpenSCManager failed (1060)" << 0 << "";
}

void ServicesTest::stop()
{
    QFETCH(Script, script);
    QFETCH(Fault, fault);
    Win32Emulator::scriptService("Spooler", script);
    if (fault.function)
        Win32Emulator::failCalls(fault.function, fault.error, fault.skip);
    const LogRecorder log;
    QTEST(CPrinter().StopSvc("Spooler"), "result");
    QTEST(lastLine(log), "line");
    QTEST(int(Win32Emulator::calls("ControlService").size()), "controls");
    QTEST(argumentsOf("Sleep"), "sleeps");
}

void ServicesTest::stopsDependentsFirst()
{
    Win32Emulator::addService("Fax", "Spooler");
    Win32Emulator::addService("Scan", "Fax");
    Win32Emulator::addService("Idle", "Spooler");
    Win32Emulator::setServiceState("Idle", stopped);
    Win32Emulator::scriptService("Scan", {{stopping, 0, 100}, {stopping, 0, 100}, {stopped}});
    QVERIFY(CPrinter().StopSvc("Spooler"));
    QCOMPARE(argumentsOf("ControlService"), QString("Scan control=1 Fax control=1 Spooler control=1"));

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

void ServicesTest::stopEndsWithTheProgram()
{
    // A service that never reports a stop would be told for ever.
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

void ServicesTest::start_data()
{
    QTest::addColumn<Script>("script");
    QTest::addColumn<Fault>("fault");
    QTest::addColumn<bool>("result");
    QTest::addColumn<QString>("sleeps");

    // The first status answers the start, the second the first query.
    QTest::newRow("at once") << Script{} << Fault{} << true << "";
    QTest::newRow("refused") << Script{} << Fault{"StartServiceW", 1056} << false << "";
    QTest::newRow("no hint") << Script{{starting}, {starting}, {running}} << Fault{} << true << "1000";
    QTest::newRow("long hint") << Script{{starting}, {starting, 1, 200000}, {running}} << Fault{} << true << "10000";
    QTest::newRow("tenth of the hint") << Script{{starting}, {starting, 1, 25000}, {starting, 1, 30000}, {running}}
                                       << Fault{} << true << "2500 3000";
    QTest::newRow("stalls") << Script{{starting}, {starting, 1, 2500}} << Fault{} << true << "1000 1000 1000";
    QTest::newRow("check points grow") << Script{{starting},
                                                 {starting, 1, 2500},
                                                 {starting, 2, 2500},
                                                 {starting, 3, 2500}}
                                       << Fault{} << true << "1000 1000 1000 1000 1000";
    QTest::newRow("query fails") << Script{{starting}, {starting, 1, 90000}} << Fault{"QueryServiceStatus", 5, 1}
                                 << true << "9000";
    QTest::newRow("first query fails") << Script{{starting}} << Fault{"QueryServiceStatus", 5} << true << "";
}

void ServicesTest::start()
{
    QFETCH(Script, script);
    QFETCH(Fault, fault);
    QFETCH(bool, result);
    Win32Emulator::setServiceState("Spooler", stopped);
    Win32Emulator::scriptService("Spooler", script);
    if (fault.function)
        Win32Emulator::failCalls(fault.function, fault.error, fault.skip);
    const LogRecorder log;
    QCOMPARE(CPrinter().StartSvc("Spooler"), result);
    QCOMPARE(lastLine(log), QString("1014_CPrinter StartSvc() returned %1").arg(QVariant(result).toString()));
    QCOMPARE(log.contains("958_CPrinter StartService failed (1056)"), !result);
    QTEST(argumentsOf("Sleep"), "sleeps");
}

void ServicesTest::opening()
{
    CPrinter printer;
    QVERIFY(!printer.QOpenService(nullptr, "Spooler", SERVICE_STOP));
    QVERIFY(Win32Emulator::calls("OpenServiceW").empty());

    // A name longer than any service has is cut, not followed past its buffer.
    QVERIFY(!printer.QOpenService(printer.QOpenSCManager(), QString(1000, 'x'), SERVICE_STOP));
    QCOMPARE(argumentsOf("OpenServiceW"), QString(259, 'x') + " access=0x20");
}

QTEST_GUILESS_MAIN(ServicesTest)
#include "tst_services.moc"
