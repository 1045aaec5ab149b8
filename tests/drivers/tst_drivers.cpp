#include "src/base/runningthreads.h"
#include "src/spooler/cprinter.h"
#include "src/workflows/drivercheck.h"
#include "tests/support/machine.h"

#include <QDir>
#include <QTemporaryFile>
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

void prepareSpooler(unsigned state, const Script &script)
{
    Win32Emulator::reset();
    Win32Emulator::useVirtualTime(shortlyBeforeTheWrap);
    Win32Emulator::setServiceState("Spooler", state);
    Win32Emulator::scriptService("Spooler", script);
}

/// Three models, one of them not installed.
const QByteArray seriesInf = "[Manufacturer]\n%Orvo%=Orvo,NTamd64\n[Orvo]\n"
                             "\"Orvo OX-410T\"=a\n\"Orvo OX-420\"=b\n\"Orvo OX-430\"=c\n[Orvo.NTamd64]\n";

} // namespace

/// Services, scripted and under virtual time that crosses the wrap-around of the tick counter; drivers, whose removal
/// restarts the spooler's service.
class DriversTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        prepareSpooler(running, {});
        Win32Emulator::addPort("P1", "127.0.0.1", 8101);
    }
    void cleanup() { QCOMPARE(Win32Emulator::openHandles(), 0); }

    void stop()
    {
        const struct
        {
            Script script;
            bool stops;
            int controls;
            QString sleeps;
        } cases[] = {
            {{{running}, {stopping, 0, 1000}, {stopping, 0, 2000}, {stopped}}, true, 1, "1000 500 2000"},
            {{{running}, {running}, {running}, {stopped}}, true, 3, ""}, // deaf at first
            {{{running}, {stopping, 0, 100}, {running}, {stopped}}, true, 2, "100 500"},
            {{{running}, {stopping, 0, 14500}}, false, 1, "14500 500 14500 500 14500 500"},
            {{{stopped}}, false, 0, ""},
            // Someone else requested the stop.
            {{{stopping, 0, 700}, {stopped}}, false, 0, "700"},
            {{{stopping, 0, 15000}}, false, 0, "15000 15000 15000"},
            {{{stopping, 0, 25000}, {running}, {stopping, 0, 5000}}, false, 1, "25000 5000 500"},
        };
        for (const auto &[script, stops, controls, sleeps] : cases) {
            prepareSpooler(running, script);
            QCOMPARE(CPrinter().StopSvc("Spooler"), stops);
            QCOMPARE(argumentsOf("Sleep").join(' '), sleeps);
            QCOMPARE(argumentsOf("ControlService").size(), controls);
            // The first status that cannot be read is the last that is asked for.
            for (int i = argumentsOf("QueryServiceStatusEx").size() - 1; i >= 0; --i) {
                prepareSpooler(running, script);
                Win32Emulator::failCalls("QueryServiceStatusEx", ERROR_ACCESS_DENIED, i);
                QVERIFY(!CPrinter().StopSvc("Spooler"));
                QCOMPARE(argumentsOf("QueryServiceStatusEx").size(), i + 1);
            }
        }
    }

    void stopsDependentsFirst()
    {
        Win32Emulator::addService("Fax", "Spooler");
        Win32Emulator::addService("Scan", "Fax");
        Win32Emulator::addService("Idle", "Spooler");
        Win32Emulator::setServiceState("Idle", stopped);
        Win32Emulator::setServiceState("Fax", stopping); // by someone else
        Win32Emulator::scriptService("Fax", {{stopping}, {stopped}});
        Win32Emulator::scriptService("Scan", {{stopping, 0, 100}, {stopping, 0, 100}, {stopped}});
        // One that is added between the size query and the reading is stopped, too.
        Win32Emulator::beforeCall("EnumDependentServicesW", [] {
            Win32Emulator::beforeCall("EnumDependentServicesW", [] { Win32Emulator::addService("Late", "Spooler"); });
        });
        // Once listed, it stops by itself.
        Win32Emulator::beforeCall("ControlService", [] { Win32Emulator::setServiceState("Late", stopped); });
        QVERIFY(CPrinter().StopSvc("Spooler"));
        QCOMPARE(argumentsOf("ControlService"),
                 QStringList({"Late control=1", "Scan control=1", "Fax control=1", "Spooler control=1"}));

        // One that does not stop is given up after a bounded time; the spooler then refuses the control.
        Win32Emulator::setServiceState("Spooler", running);
        Win32Emulator::setServiceState("Fax", running);
        Win32Emulator::scriptService("Fax", {{stopping, 0, 100}});
        const DWORD start = GetTickCount();
        QVERIFY(!CPrinter().StopSvc("Spooler"));
        QVERIFY(GetTickCount() - start < 35000);
    }

    /// Quitting in the middle of a restart waits for it: the machine keeps its spooler.
    void restartOutlastsTheProgram()
    {
        Win32Emulator::scriptService("Spooler", {{running}, {stopping, 0, 1000}, {stopping, 0, 1000}, {stopped}});
        Win32Emulator::failCalls("DeletePrinterDriverExW", ERROR_ACCESS_DENIED, 0, 2);
        Win32Emulator::beforeCall("Sleep", [] {
            while (!QThread::currentThread()->isInterruptionRequested())
                QThread::msleep(1);
            QThread::msleep(300); // the time that the threads have to end is over
        });
        RunningThreads::start(QThread::create([] { CPrinter().RemovePrinterDriver("Orvo OX-410T", EnvX64); }));
        QTRY_VERIFY(!Win32Emulator::calls("ControlService").empty());
        RunningThreads::endAll(std::chrono::seconds(0));
        QCOMPARE(Win32Emulator::serviceState("Spooler"), running);
        QVERIFY(RunningThreads::endAll(std::chrono::seconds(5)));
        QCOMPARE(argumentsOf("StartServiceW").size(), 2);
        QVERIFY2(argumentsOf("ControlService").size() == 1, "no second stop at the end");
    }

    void start()
    {
        const struct
        {
            unsigned state;
            Script script; ///< its first status answers the start, the second the first query
            bool starts;
            QString sleeps;
        } cases[] = {
            {stopped, {{starting}, {starting}, {running}}, true, "1000"},
            {stopped, {{starting}, {starting, 1, 200000}, {running}}, true, "10000"},
            {stopped, {{starting}, {starting, 1, 25000}, {running}}, true, "2500"},
            // One step of progress, then it stalls.
            {stopped, {{starting}, {starting, 1, 1500}, {starting, 2, 1500}}, true, "1000 1000 1000"},
            {stopping, {{stopping}, {stopping}, {stopped}, {running}}, true, "500 500 500"},
            {stopping, {}, false, QString("500 ").repeated(61).trimmed()},
            {running, {}, false, ""},
        };
        for (const auto &[state, script, starts, sleeps] : cases) {
            prepareSpooler(state, script);
            QCOMPARE(CPrinter().StartSvc("Spooler"), starts);
            QCOMPARE(argumentsOf("Sleep").join(' '), sleeps);
        }
        Script others(5, {starting, 0, 1000}); // start by someone else
        others.push_back({running});
        prepareSpooler(starting, others);
        QCOMPARE(CPrinter().RunSvc("Spooler"), CPrinter::SvcState::Running);
    }

    void registry()
    {
        const QString model = "Orvo OX-410T";
        CPrinter printer;
        QVERIFY(printer.GetDriverInfPaths({}).isEmpty());
        // The first environment that has a version gives it, in the order x64, x86, IA64.
        Win32Emulator::addDriver({"Orvo OX-410T", "Windows IA64", "3", "ia64.inf"});
        QCOMPARE(printer.GetDriverVersion(model), QString("3"));
        Win32Emulator::addDriver({"Orvo OX-410T", "Windows NT x86", "2", "x86.inf"});
        QCOMPARE(printer.GetDriverVersion(model), QString("2"));
        const QMap<QString, QString> paths = {{EnvX64, ""}, {EnvX86, "x86.inf"}, {EnvIA64, "ia64.inf"}};
        QCOMPARE(printer.GetDriverInfPaths(model), paths);
        // The size passed has room for 129 characters and the terminator.
        const std::string longest(129, 'v');
        Win32Emulator::addDriver({"Orvo OX-410T", "Windows x64", longest, longest + 'v'});
        QCOMPARE(printer.GetDriverVersion(model), QString(129, 'v'));
        QCOMPARE(printer.GetDriverInfPath(model, EnvX64), QString());
    }

    /// Of the driver and of the package, which a program finds beside itself.
    void versions()
    {
        using State = DriverCheck::State;
        const std::tuple<std::string, QByteArray, State> rows[] = {
            {"no driver", "1.4", State::NotInstalled},    {"1.4", "1.4.0.0", State::UpToDate},
            {"1.4.0.9", "1.4.0.10", State::PackageNewer}, {"2", "1.99.99", State::InstalledNewer},
            {"", "1.4", State::InstalledUnreadable},      {"1.4b", "1.4 ; note", State::InstalledUnreadable},
            {"1.4", "", State::PackageUnreadable},        {"1.4", "1..4", State::PackageUnreadable}};
        QDir().mkpath("Driver");
        for (const auto &[installed, package, state] : rows) {
            Win32Emulator::reset();
            if (state != State::NotInstalled)
                Win32Emulator::addDriver({"Orvo OX-410T", "Windows x64", installed});
            QFile inf("Driver/OrvoPtr.INF");
            QVERIFY(inf.open(QIODevice::WriteOnly) && inf.write("[Version]\nDriverVer=," + package) > 0);
            inf.close();
            QCOMPARE(DriverCheck::versions().state, state);
            if (state == State::NotInstalled) { // the spooler does not answer: it may be installed
                Win32Emulator::failCalls("EnumPrinterDriversW", ERROR_ACCESS_DENIED);
                QCOMPARE(DriverCheck::versions().state, State::InstalledUnreadable);
            }
        }
    }

    void driverInUseIsTriedTwice()
    {
        Win32Emulator::addDriver();
        Win32Emulator::addPrinter("前台", "P1");
        QVERIFY(!CPrinter().RemovePrinterDriver("Orvo OX-410T", EnvX64));
        QCOMPARE(Win32Emulator::calls("DeletePrinterDriverExW").size(), size_t(2));
        // The spooler is restarted after each failure, the last one too.
        QCOMPARE(Win32Emulator::calls("StartServiceW").size(), size_t(2));
    }

    /// Everything of the series goes, until the first failure; nothing else does.
    void series()
    {
        QTemporaryFile inf;
        QVERIFY(inf.open());
        inf.write(seriesInf);
        inf.close();
        // What fails, after how many successes, and how many queues and drivers it leaves.
        for (const auto &[failing, skip, queuesLeft, driversLeft] : {std::tuple("", 0, 1, 1),
                                                                     {"DeletePrinter", 1, 2, 4},
                                                                     {"DeletePrinterDriverExW", 2, 1, 2},
                                                                     {"DeletePrinterDriverPackageW", 0, 1, 1}}) {
            init();
            Win32Emulator::addDriver({"Orvo OX-410T", "Windows x64", "1", "x64.inf"});
            Win32Emulator::addDriver({"Orvo OX-410T", "Windows NT x86", "1", "x86.inf"});
            Win32Emulator::addDriver({"Orvo OX-420", "Windows x64", "1", "420.inf"});
            Win32Emulator::addDriver({"Other", "Windows x64", "1", "other.inf"});
            Win32Emulator::addPrinter("前台", "P1");
            Win32Emulator::addPrinter("other", "P1", "Other");
            Win32Emulator::addPrinter("二楼", "P1", "Orvo OX-420");
            Win32Emulator::failCalls(failing, ERROR_ACCESS_DENIED, skip, 2);
            const bool fails = *failing != 0;
            QVERIFY(CPrinter().RemoveSeriesDriver(inf.fileName()) != fails);
            QCOMPARE(machineContent().filter("queue ").size(), queuesLeft);
            QCOMPARE(machineContent().filter("driver ").size(), driversLeft);
            QVERIFY(machineContent().contains("queue other P1 Other - -"));
            // Only the package of the last driver is removed.
            QCOMPARE(machineContent().filter("package ").size(), fails ? 4 : 3);
            QVERIFY(fails || argumentsOf("DeletePrinterDriverPackageW").first() == "420.inf environment=Windows x64");
        }
    }
};

QTEST_GUILESS_MAIN(DriversTest)
#include "tst_drivers.moc"
