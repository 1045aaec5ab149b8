#include "src/spooler/cprinter.h"
#include "tests/support/logrecorder.h"

#include <QTest>

#include "emulator/win32/control.h"

namespace {
const QString model = "Orvo OX-410T";
}

/// What the driver keys of the registry hold.
class DriverKeysTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { Win32Emulator::reset(); }

    void registry()
    {
        CPrinter printer;
        QCOMPARE(printer.GetDriverVersion(model), QString());
        QVERIFY(printer.GetDriverInfPaths({}).isEmpty());

        // The first environment that has a version gives it, in the order x64, x86, IA64.
        Win32Emulator::addDriver({"Orvo OX-410T", "Windows IA64", "3", "ia64.inf"});
        QCOMPARE(printer.GetDriverVersion(model), QString("3"));
        Win32Emulator::addDriver({"Orvo OX-410T", "Windows NT x86", "2", "x86.inf"});
        QCOMPARE(printer.GetDriverVersion(model), QString("2"));
        const QMap<QString, QString> paths = {{EnvX64, ""}, {EnvX86, "x86.inf"}, {EnvIA64, "ia64.inf"}};
        QCOMPARE(printer.GetDriverInfPaths(model), paths);
        Win32Emulator::addDriver({"Orvo OX-410T", "Windows x64", "1", "x64.inf"});
        QCOMPARE(printer.GetDriverVersion("ORVO OX-410T"), QString("1"));
        QCOMPARE(Win32Emulator::openHandles(), 0);
    }

    void registryFaults()
    {
        CPrinter printer;
        LogRecorder log;
        QCOMPARE(printer.GetDriverInfPath(model, EnvX64), QString());
        QCOMPARE(log.lines().last(), QString("631_CPrinter RegOpenKeyEx error code: 2"));

        // The size passed has room for 129 characters and the terminator.
        const std::string longest(129, 'v');
        Win32Emulator::addDriver({"Orvo OX-410T", "Windows x64", longest, longest + 'v'});
        QCOMPARE(printer.GetDriverVersion(model), QString(129, 'v'));
        QCOMPARE(printer.GetDriverInfPath(model, EnvX64), QString());
        QCOMPARE(log.lines().last(), QString("645_CPrinter RegQueryValueEx error code: 234"));
        QCOMPARE(Win32Emulator::openHandles(), 0);
    }
};

QTEST_GUILESS_MAIN(DriverKeysTest)
#include "tst_driverkeys.moc"
