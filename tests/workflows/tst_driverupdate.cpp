#include "tests/support/machine.h"
#include "src/app/qtsingleapplication.h"
#include "src/ui/appearance.h"
#include "src/ui/driverupdatewindow.h"
#include "src/ui/errordialog.h"
#include "src/workflows/driverupdatethread.h"
#include "src/workflows/removeproductthread.h"
#include "src/workflows/replaceprintersthread.h"

#include <QDir>
#include <QLabel>
#include <QProcess>
#include <QPushButton>
#include <QRegularExpression>
#include <QTest>
#include <QTimer>
#include <QTreeWidget>

#include <functional>

#include <windows.h>

#include "emulator/win32/control.h"

namespace {

using DriverCheck::State;

const QString model = "Orvo OX-410T";
constexpr const char *oldModel = "Orvo OX-300";
constexpr const char *serial = "0123456789ABCDEF";

/// Lays the driver package beside the test; without a version there is none.
void layPackage(const QString &version)
{
    QDir().mkpath(QCoreApplication::applicationDirPath() + "/Driver");
    QFile inf(DriverCheck::infFile());
    inf.remove();
    if (version.isEmpty())
        return;
    inf.open(QIODevice::WriteOnly);
    inf.write(
        ("[Version]\nDriverVer=03/14/2022," + version + "\n[Manufacturer]\n%Orvo%=Orvo\n[Orvo]\n\"" + model + "\"=a\n")
            .toUtf8());
}

void addCloudPrinter(const std::string &name, unsigned number, const std::string &driver)
{
    const std::string port = "OXCloud00" + std::to_string(number);
    const unsigned portNumber = 8100 + number;
    Win32Emulator::addPort(port, "127.0.0.1", portNumber);
    Win32Emulator::addPrinter(name, port, driver);
    Win32Emulator::setPrinterData(name, "CloudId", REG_SZ, std::string(serial) + '\0');
    Win32Emulator::setPrinterData(name, "CloudPort", REG_BINARY, {char(portNumber & 0xff), char(portNumber >> 8)});
}

const QString frontDesk = "queue 前台 OXCloud001 Orvo OX-410T 0123456789ABCDEF 8101";
const QString office = "queue 财务室 OXCloud002 Orvo OX-410T 0123456789ABCDEF 8102";

/// A file in the driver store.
std::string storedInf(const QString &name)
{
    QFile inf(QDir::current().filePath(name));
    inf.open(QIODevice::WriteOnly);
    return inf.fileName().toStdString();
}

/// A machine with two cloud printers, the second of an older model, and somebody else's queue.
void prepareMachine()
{
    Win32Emulator::reset();
    Win32Emulator::useVirtualTime();
    Win32Emulator::addDriver({model.toStdString(), "Windows x64", "1.3.0.7", storedInf("ox410t.inf")});
    Win32Emulator::addDriver({oldModel, "Windows x64", "1.0", storedInf("ox300.inf")});
    Win32Emulator::addDriver({"Other", "Windows x64", "1.0", "C:\\other.inf"});
    addCloudPrinter("前台", 1, model.toStdString());
    addCloudPrinter("财务室", 2, oldModel);
    Win32Emulator::addPort("IP_10.0.0.5", "10.0.0.5", 9100);
    Win32Emulator::addPrinter("other", "IP_10.0.0.5", "Other");
}

template <typename Thread>
std::pair<int, QString> outcomeOf(Thread &&thread)
{
    const QVariantList result = resultOf(thread, &MaintenanceThread::result);
    return {result.value(0).toInt(), result.value(1).toString()};
}

QStringList queues()
{
    return machineContent().filter("queue ");
}

/// Ends with the code that the program gives.
int runProgram(const QString &option)
{
    QProcess program;
    program.start(qEnvironmentVariable("ORVO_BIN") + "/OrvoDriverUpdate", {option});
    program.waitForFinished();
    return program.exitStatus() == QProcess::NormalExit ? program.exitCode() : -1;
}

} // namespace

Q_DECLARE_METATYPE(DriverCheck::State)

/// Checking, updating, replacing and removing, with the real set-up process and helper library over the emulated
/// machine.
class DriverUpdateTest : public QObject
{
    Q_OBJECT

private:
    QRegularExpression compared; ///< what of the machine's content

    /// Runs the work with each of its calls refused, and with each call and all after it failing as they do for a
    /// program that was killed there. `check` looks at what that left; then one more run must reach `end`.
    template <typename Thread>
    void withEveryFault(const QStringList &end, const std::function<void(bool)> &check)
    {
        prepareMachine();
        QCOMPARE(outcomeOf(Thread()).first, int(MaintenanceThread::Done));
        QCOMPARE(machineContent().filter(compared), end);
        const int count = static_cast<int>(Win32Emulator::calls().size());
        QVERIFY(count > 10);
        for (int times : {1, -1}) {
            for (int call = 0; call < count; ++call) {
                prepareMachine();
                Win32Emulator::failCalls("*", ERROR_ACCESS_DENIED, call, times);
                outcomeOf(Thread());
                Win32Emulator::clearFaults();
                const QByteArray place = "call " + QByteArray::number(call) + (times < 0 ? " and all after it" : "");
                check(times < 0);
                QVERIFY2(!QTest::currentTestFailed(), place);
                QVERIFY2(outcomeOf(Thread()).first == MaintenanceThread::Done, place);
                QVERIFY2(machineContent().filter(compared) == end, place + '\n' + machineContent().join('\n').toUtf8());
            }
        }
    }

private slots:
    void initTestCase()
    {
        qRegisterMetaType<MaintenanceThread::Outcome>();
        QDir().mkpath(QCoreApplication::applicationDirPath() + "/logs"); // an installation has it
    }
    void init()
    {
        compared = QRegularExpression();
        prepareMachine();
        layPackage("1.4.0.2");
    }

    void states_data()
    {
        QTest::addColumn<QString>("installed");
        QTest::addColumn<QString>("package");
        QTest::addColumn<State>("state");
        const auto row = [](const QString &installed, const QString &package, State state) {
            QTest::newRow(qUtf8Printable(installed + " and " + package)) << installed << package << state;
        };
        row("1.4.0.2", "1.4.0.2", State::UpToDate);
        row("1.4", "1.4.0.0", State::UpToDate);
        row("01.04", "1.4", State::UpToDate);
        row("1.4.0.9", "1.4.0.10", State::PackageNewer);
        row("1.4", "1.4.0.0.1", State::PackageNewer);
        row("2", "1.99.99", State::InstalledNewer);
        row("none", "1.4", State::NotInstalled);
        row("", "1.4", State::InstalledUnreadable);
        row("1.4b", "1.4", State::InstalledUnreadable);
        row("1.4", "", State::PackageUnreadable);
        row("1.4", "1..4", State::PackageUnreadable);
    }

    void states()
    {
        QFETCH(QString, installed);
        QFETCH(QString, package);
        Win32Emulator::reset();
        if (installed != "none")
            Win32Emulator::addDriver({model.toStdString(), "Windows x64", installed.toStdString(), "old.inf"});
        layPackage(package);
        QTEST(DriverCheck::versions().state, "state");
    }

    /// The queues stay what they are, with their jobs; only the driver becomes newer. An older one is never installed.
    void updates()
    {
        Win32Emulator::addJob("前台", "a", "bytes");
        const QStringList before = queues();
        DriverUpdateThread thread;
        const QSignalSpy progress(&thread, &MaintenanceThread::progress);
        QCOMPARE(outcomeOf(thread).first, int(MaintenanceThread::Done));
        QCOMPARE(progress.size(), 1);
        QCOMPARE(progress.first(), QVariantList({1, 1, "前台", ""}));
        QVERIFY(machineContent().contains("driver Orvo OX-410T 1.4.0.2 Windows x64"));
        QCOMPARE(queues(), before);
        QCOMPARE(Win32Emulator::printers().front().jobCount, 1U);
        QCOMPARE(argumentsOf("PrintUIEntry").size(), 1);
        layPackage("1.3.9");
        QCOMPARE(outcomeOf(DriverUpdateThread()).first, int(MaintenanceThread::Done));
        QCOMPARE(argumentsOf("PrintUIEntry").size(), 1);
    }

    void updateFails_data()
    {
        QTest::addColumn<QString>("function");
        QTest::addColumn<unsigned>("error");
        QTest::addColumn<int>("times");
        QTest::addColumn<int>("outcome");
        QTest::addColumn<QString>("message");
        const auto row = [](const char *name, const char *function, unsigned error, int times, int outcome,
                            const QString &message) {
            QTest::newRow(name) << function << error << times << outcome << message;
        };
        row("in use once", "PrintUIEntry", ERROR_PRINTER_DRIVER_IN_USE, 1, 0, "驱动已更新到版本1.4.0.2");
        row("in use", "PrintUIEntry", ERROR_PRINTER_DRIVER_IN_USE, 2, 1, "安装驱动失败，驱动仍是版本1.3.0.7");
        row("spooler does not start", "StartServiceW", ERROR_ACCESS_DENIED, 1, 1,
            "打印服务（Print Spooler）没有运行，也无法启动");
        row("no answer", "EnumPrintersW", 1722, 1, 1, "无法读取打印机列表");
        row("no administrator", "OpenSCManagerW", ERROR_ACCESS_DENIED, 1, 3, "没有管理员权限");
    }

    /// A stopped spooler is started first. A driver in use is tried again after a restart of the spooler.
    void updateFails()
    {
        QFETCH(QString, function);
        QFETCH(unsigned, error);
        QFETCH(int, times);
        Win32Emulator::setServiceState("Spooler", SERVICE_STOPPED);
        Win32Emulator::failCalls(function.toStdString(), error, 0, times);
        const auto [outcome, message] = outcomeOf(DriverUpdateThread());
        QTEST(outcome, "outcome");
        QTEST(message, "message");
        QCOMPARE(Win32Emulator::serviceState("Spooler") == SERVICE_RUNNING,
                 function != "StartServiceW" && function != "OpenSCManagerW");
    }

    void missingPackage()
    {
        layPackage({});
        QCOMPARE(outcomeOf(DriverUpdateThread()).first, int(MaintenanceThread::Failed));
        QCOMPARE(outcomeOf(ReplacePrintersThread()).first, int(MaintenanceThread::Done)); // the driver is there
        QCOMPARE(outcomeOf(RemoveProductThread()).first, int(MaintenanceThread::Done));
        QCOMPARE(queues(), QStringList("queue other IP_10.0.0.5 Other - -"));
    }

    void updatesDespiteEveryFault()
    {
        const QStringList before = queues();
        compared.setPattern("^(port|driver|queue)"); // the old package goes only where nothing fails
        QStringList end = machineContent().filter(compared);
        end.replaceInStrings("driver Orvo OX-410T 1.3.0.7", "driver Orvo OX-410T 1.4.0.2");
        withEveryFault<DriverUpdateThread>(end, [&](bool) { QCOMPARE(queues(), before); });
    }

    /// Name, port, serial and local port stay; the printer is one that the manager serves. With a waiting job it is
    /// left.
    void replaces()
    {
        const unsigned job = Win32Emulator::addJob("财务室", "a", "bytes");
        const QStringList before = machineContent();
        QCOMPARE(outcomeOf(ReplacePrintersThread()),
                 std::make_pair(int(MaintenanceThread::Failed), QString("1台打印机没有替换")));
        QCOMPARE(machineContent(), before);
        Win32Emulator::removeJob(job);
        Win32Emulator::failCalls("PrintUIEntry", ERROR_ACCESS_DENIED); // the queue that shows that it works is missing
        QCOMPARE(outcomeOf(ReplacePrintersThread()).first, int(MaintenanceThread::Failed));
        QCOMPARE(machineContent(), before);
        QCOMPARE(outcomeOf(ReplacePrintersThread()),
                 std::make_pair(int(MaintenanceThread::Done), QString("已替换1台打印机")));
        QCOMPARE(queues(), QStringList({frontDesk, office, "queue other IP_10.0.0.5 Other - -"}));
    }

    void replacesDespiteEveryFault()
    {
        const QStringList before = queues();
        QStringList end = machineContent();
        end.replaceInStrings("Orvo OX-300 0123456789ABCDEF", "Orvo OX-410T 0123456789ABCDEF");
        withEveryFault<ReplacePrintersThread>(end, [&](bool killed) {
            QStringList left = queues();
            // What a killed program leaves beside them is a temporary queue, for the next run.
            if (killed)
                left.erase(std::remove_if(left.begin(), left.end(),
                                          [](const QString &queue) { return queue.contains("替换中"); }),
                           left.end());
            QVERIFY2(left == before || left == end.filter("queue "), qUtf8Printable(left.join('\n')));
        });
    }

    /// Killed after the change of the driver, on a Windows that drops the old driver's printer data with it.
    void finishesAReplacement()
    {
        Win32Emulator::addPrinter("仓库", "OXCloud002");
        addCloudPrinter("仓库（替换中）", 3, model.toStdString());
        QCOMPARE(outcomeOf(ReplacePrintersThread()).first, int(MaintenanceThread::Done));
        QVERIFY(queues().contains("queue 仓库 OXCloud002 Orvo OX-410T 0123456789ABCDEF 8103"));
        QVERIFY(queues().filter("替换中").isEmpty());
    }

    void removesDespiteEveryFault()
    {
        const QStringList end = {"port IP_10.0.0.5 10.0.0.5:9100", "driver Other 1.0 Windows x64",
                                 "package Windows x64", "queue other IP_10.0.0.5 Other - -"};
        withEveryFault<RemoveProductThread>(
            end, [](bool) { QVERIFY(queues().contains("queue other IP_10.0.0.5 Other - -")); });
    }

    void window()
    {
        prepareAppearance();
        DriverUpdateWindow window;
        window.show();
        QStringList messages;
        QStringList history;
        QTimer closer;
        connect(&closer, &QTimer::timeout, this, [&] {
            if (auto *dialog = qobject_cast<ErrorDialog *>(QApplication::activeModalWidget())) {
                messages << dialog->findChild<QLabel *>()->text();
                dialog->close();
            }
        });
        closer.start(20);
        const auto buttons = window.findChildren<QPushButton *>("action");
        const auto state = [&](int row) { return window.findChild<QTreeWidget *>()->topLevelItem(row)->text(1); };
        QCOMPARE(state(0) + state(1), QString("正常旧型号"));
        Win32Emulator::failCalls("SetPrinterW", ERROR_ACCESS_DENIED);
        for (QPushButton *button : {buttons[1], buttons[1], buttons[0]}) {
            QVERIFY(button->isVisible() && button->isEnabled());
            button->click();
            window.close();
            QVERIFY(window.isVisible());
            QVERIFY(!buttons[0]->isEnabled());
            messages.clear();
            QTRY_COMPARE_WITH_TIMEOUT(messages.size(), 1, 20000);
            history << messages;
        }
        QCOMPARE(history, QStringList({"1台打印机没有替换\n“财务室”：无法更换驱动", "已替换1台打印机",
                                       "驱动已更新到版本1.4.0.2"}));
        QVERIFY(!buttons[0]->isEnabled() && !buttons[1]->isVisible());
        QVERIFY(window.close());
    }

    void exitCodes()
    {
        QCOMPARE(runProgram("/check"), 0);
        QCOMPARE(runProgram("/nonsense"), 1);
        {
            const InstanceGuard manager(
                QtSingleApplication::identifierOf(qEnvironmentVariable("ORVO_BIN") + "/OrvoCloudManager"));
            QCOMPARE(runProgram("/remove"), 2);
        }
        Win32Emulator::failCalls("OpenSCManagerW", ERROR_ACCESS_DENIED);
        QCOMPARE(runProgram("/remove"), 3);
        QCOMPARE(queues().size(), 3);
        QCOMPARE(runProgram("/update"), 0);
        QVERIFY(machineContent().contains("driver Orvo OX-410T 1.4.0.2 Windows x64"));
        QCOMPARE(runProgram("/remove"), 0);
        QCOMPARE(queues().size(), 1);
    }
};

QTEST_MAIN(DriverUpdateTest)
#include "tst_driverupdate.moc"
