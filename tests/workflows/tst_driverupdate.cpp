// Checking, updating, replacing and removing, with the real set-up process and helper library over an emulated machine,
// which this process and the real program share.

#include "tests/support/byeye.h"
#include "tests/support/desktop.h"
#include "tests/support/machine.h"
#include "tests/support/world.h"
#include "src/app/qtsingleapplication.h"
#include "src/app/startup.h"
#include "src/base/runningthreads.h"
#include "src/ui/driverupdatewindow.h"
#include "src/workflows/drivercheck.h"
#include "src/workflows/driverupdatethread.h"
#include "src/workflows/failure.h"
#include "src/workflows/removeproductthread.h"
#include "src/workflows/replaceprintersthread.h"

#include <QDir>
#include <QTest>

#include <windows.h>

#include "emulator/win32/control.h"

using namespace Win32Emulator;

namespace {

constexpr int done = MaintenanceThread::Done;
constexpr int failed = MaintenanceThread::Failed;
constexpr int timeout = 20000; // ms
const QString program = "OrvoDriverUpdate";
const QString packageFile = "Driver/OrvoPtr.INF"; // where the program finds it: beside the executable
const QStringList withoutProduct = {"port IP_10.0.0.5 10.0.0.5:9100", "driver Other 1.0 Windows x64",
                                    "package Windows x64", "queue other IP_10.0.0.5 Other - -"};

/// Writes the INF file of a driver.
std::string writeInf(const QString &name, const QString &version)
{
    const QString text = "[Version]\nDriverVer=,%1\n[Manufacturer]\n%Orvo%=Orvo,NTamd64\n[Orvo]\n\"Orvo OX-410T\"=a\n";
    QFile file(QDir::current().filePath(name));
    file.open(QIODevice::WriteOnly);
    file.write(text.arg(version).toUtf8());
    return file.fileName().toStdString();
}

/// A machine with two cloud printers, the second of an older model, and somebody else's queue.
void prepareMachine()
{
    reset();
    useVirtualTime();
    addDriver({"Orvo OX-410T", "Windows x64", "1.3.0.7", writeInf("current.inf", "1.3.0.7")});
    addDriver({"Orvo OX-300", "Windows x64", "1.0", writeInf("old.inf", "1.0")});
    addDriver({"Other", "Windows x64", "1.0", "C:\\other.inf"});
    addCloudPrinter("前台", "OXCloud001", 8101, "0123456789ABCDEF");
    addCloudPrinter("财务室", "OXCloud002", 8102, "0123456789ABCDF0", "Orvo OX-300");
    addPort("IP_10.0.0.5", "10.0.0.5", 9100);
    addPrinter("other", "IP_10.0.0.5", "Other");
    writeInf(packageFile, "1.4.0.2");
}

std::pair<int, QString> outcomeOf(MaintenanceThread &&thread)
{
    const QVariantList result = resultOf(thread, &MaintenanceThread::result);
    return {result.value(0).toInt(), result.value(1).toString()};
}

} // namespace

class DriverUpdateTest : public QObject
{
    Q_OBJECT

private:
    World m_world;
    Desktop m_desktop;
    QStringList m_before, m_updated;

    QStringList windows() const { return m_desktop.windows(QSize(480, 320)); }
    QStringList replaced() const { return QStringList(m_before).replaceInStrings("OX-300 0", "OX-410T 0"); }
    static QStringList queues() { return machineContent().filter("queue "); }

    /// Runs the work with each of its calls refused, and with each call and all after it failing as they do for a
    /// program that was killed there. Nothing may be lost, and one more run must reach the end.
    template <typename Thread>
    void withEveryFault(const QStringList &end, bool keepsQueues = true)
    {
        prepareMachine();
        QVERIFY(outcomeOf(Thread()).first == done && machineContent() == end);
        const int count = static_cast<int>(calls().size());
        for (int fault = 0; fault < 2 * count; ++fault) {
            const bool killed = fault >= count;
            prepareMachine();
            failCalls("*", ERROR_ACCESS_DENIED, fault % count, killed ? -1 : 1);
            const QStringList &wanted = outcomeOf(Thread()).first == done ? end : m_before;
            clearFaults();
            const QStringList left = killed ? queues().mid(0, 3) : queues(); // a temporary one may be left
            const QByteArray place = QString("%1 of %2\n%3").arg(fault).arg(count).arg(left.join('\n')).toUtf8();
            const bool isKept = left == wanted.filter("queue ") || (killed && left == end.filter("queue "));
            QVERIFY2(keepsQueues ? isKept : left.contains(withoutProduct.last()), place);
            QVERIFY2(outcomeOf(Thread()).first == done && machineContent() == end, place);
        }
    }

private slots:
    void initTestCase()
    {
        qRegisterMetaType<MaintenanceThread::Outcome>();
        QDir().mkpath("Driver");
        qputenv("WIN32_EMULATOR_HOME", m_world.path("win32").toLocal8Bit());
        m_world.setEnvironment("DISPLAY", m_desktop.display());
        m_world.setEnvironment("QT_QPA_PLATFORM", "xcb");
        m_desktop.startWindowManager();
        prepareMachine();
        m_before = m_updated = machineContent();
        m_updated.replaceInStrings("driver Orvo OX-410T 1.3.0.7", "driver Orvo OX-410T 1.4.0.2");
        m_updated.insert(m_updated.indexOf("package Windows x64"), "package Windows x64"); // the old one stays
    }

    void init() { prepareMachine(); }

    /// The queues stay what they are, with their jobs; only the driver becomes newer. An older one is never installed.
    void updates()
    {
        addJob("前台", "a", "bytes");
        DriverUpdateThread thread;
        const QSignalSpy progress(&thread, &MaintenanceThread::progress);
        resultOf(thread, &MaintenanceThread::result);
        QVERIFY(progress == QList<QVariantList>({{1, 1, "前台", ""}}) && printers().front().jobCount == 1);
        writeInf(packageFile, "1.3.9");
        QCOMPARE(outcomeOf(DriverUpdateThread()).first, done);
        QFile::remove(packageFile);
        QCOMPARE(outcomeOf(DriverUpdateThread()).first, failed);
        QCOMPARE(argumentsOf("PrintUIEntry").size(), 1);
    }

    /// Two models come in one package; the user has given a cloud printer a driver of another maker, or another
    /// queue ours; the path of a package cannot be read.
    void removesOnlyTheProduct()
    {
        const auto message = [] { return outcomeOf(RemoveProductThread()).second; };
        addDriver({"Orvo OX-200", "Windows x64", "1.0", writeInf("old.inf", "1.0")});
        addCloudPrinter("二楼", "OXCloud003", 8103, "0123456789ABCDF1", "Orvo OX-200");
        changePrinter({printers()[0].id, "前台", "OXCloud001", "Other"});
        removePrinter("other");
        QVERIFY(message() == "云打印机、驱动和端口已全部删除" && machineContent() == withoutProduct.mid(0, 3));
        prepareMachine();
        addPrinter("usb", "IP_10.0.0.5", "Orvo OX-410T");
        addPrinter("old", "OXCloud002", "Other"); // its port stays
        QCOMPARE(message(), QString("云打印机和端口已删除，驱动还有其他打印机使用，没有删除"));
        QVERIFY(queues().size() == 3 && machineContent().filter("driver Orvo").size() == 1);
        prepareMachine();
        failCalls("RegQueryValueExW", ERROR_FILE_NOT_FOUND, 0, -1);
        QCOMPARE(message(), QString("驱动“Orvo OX-410T”没有删除"));
    }

    /// A job arrives during the try-out; a queue that is not ours has the temporary name; after a run that was killed a
    /// temporary queue cannot be deleted, or the user has deleted the printer.
    void replacesWhatItCan()
    {
        const auto outcome = [] { return outcomeOf(ReplacePrintersThread()).first; };
        beforeCall("SetPrinterDataW", [] { addJob("财务室", "a", "bytes"); });
        QVERIFY(outcome() == failed && machineContent() == m_before);
        prepareMachine();
        addPrinter("财务室（替换中）", "IP_10.0.0.5", "Other");
        QVERIFY(outcome() == failed && queues().contains("queue 财务室（替换中） IP_10.0.0.5 Other - -"));
        prepareMachine();
        addPrinter("前台（替换中）", "OXCloud001");
        failCalls("DeletePrinter", ERROR_ACCESS_DENIED, 0, 2);
        QVERIFY(outcome() == failed && queues().mid(0, 3) == replaced().filter("queue "));
        changePrinter({printers()[1].id, "财务室（替换中） (1)", "OXCloud002", "Orvo OX-410T"});
        QVERIFY(outcome() == done && queues() == replaced().filter("queue "));
    }

    /// A stopped spooler is started first. A driver in use is tried again after a restart of the spooler; a printer
    /// that loses its port meanwhile is reported.
    void updateFails()
    {
        const std::tuple<const char *, int, int, const char *> rows[] = {
            {"PrintUIEntry", 1, failed, "驱动已更新，但有1台打印机不正常\n“前台”："},
            {"PrintUIEntry", 2, failed, "安装驱动失败，驱动仍是版本1.3.0.7"},
            {"StartServiceW", 1, failed, "打印服务（Print Spooler）没有运行，也无法启动"},
            {"EnumPrintersW", 1, failed, "无法读取打印机列表"},
            {"OpenSCManagerW", 1, MaintenanceThread::NotAllowed, "没有管理员权限"}};
        for (const auto &[function, times, outcome, message] : rows) {
            prepareMachine();
            setServiceState("Spooler", SERVICE_STOPPED);
            failCalls(function, ERROR_PRINTER_DRIVER_IN_USE, 0, times);
            beforeCall("ControlService", [] {
                changePrinter({printers()[0].id, "前台", "OXCloud002", "Orvo OX-410T"});
            });
            const auto result = outcomeOf(DriverUpdateThread());
            QVERIFY2(result.first == outcome && result.second.startsWith(message), qPrintable(result.second));
            QCOMPARE(argumentsOf("PrintUIEntry").size(), qstrcmp(function, "PrintUIEntry") == 0 ? 2 : 0);
        }
        DriverCheck::Printer other = *DriverCheck::findQueue("前台");
        other.serial.clear();
        QVERIFY_EXCEPTION_THROWN(DriverCheck::requireReady("前台", other), Failure);
    }

    void everyFault()
    {
        withEveryFault<DriverUpdateThread>(m_updated);
        withEveryFault<ReplacePrintersThread>(replaced());
        withEveryFault<RemoveProductThread>(withoutProduct, false);
    }

    /// The spooler drops the printer's data with its old driver, and does not take them again: never, once, for good.
    /// Then the change is taken back, or the temporary queue keeps the values for the next run.
    void valuesAreDroppedWithTheOldDriver()
    {
        for (int refused : {0, 1, -1}) { // after the two values of the temporary queue
            prepareMachine();
            beforeCall("SetPrinterW", [] { setPrinterData("财务室", "CloudPort", REG_BINARY, {}); });
            if (refused != 0)
                failCalls("SetPrinterDataW", ERROR_ACCESS_DENIED, 2, refused);
            QCOMPARE(outcomeOf(ReplacePrintersThread()).first, refused == 0 ? done : failed);
            clearFaults();
            QVERIFY(refused == -1 ? queues().filter("替换中").size() == 1
                                  : machineContent() == (refused == 0 ? replaced() : m_before));
            QVERIFY(outcomeOf(ReplacePrintersThread()).first == done && machineContent() == replaced());
        }
    }

    /// A log-off emits this signal. The worker completes the printer that it is at.
    void logOff()
    {
        auto *worker = new RemoveProductThread;
        beforeCall("GetPrinterW", [worker] { // before the queue is purged
            QMetaObject::invokeMethod(qApp, "aboutToQuit");
            (void)QTest::qWaitFor([worker] { return worker->isInterruptionRequested(); }, timeout);
        });
        const QSignalSpy results(worker, &MaintenanceThread::result);
        RunningThreads::start(worker);
        QTRY_COMPARE(results.value(0).value(1).toString(), QString("工作被中断，再运行一次会接着完成"));
        QVERIFY(queues().size() == 2 && outcomeOf(RemoveProductThread()).first == done);
    }

    void window()
    {
        addCloudPrinter("二\"楼", "OXCloud003", 8103, "0123456789ABCDF1", "Orvo OX-300");
        const unsigned job = addJob("财务室", "a", "bytes");
        DriverUpdateWindow window;
        window.show();
        const auto buttons = window.findChildren<QWidget *>("action");
        DialogCloser user;
        const auto click = [&](QWidget *button) {
            clickOn(button);
            return !window.close() && !button->isEnabled() ? user.awaitText(timeout) : QString();
        };
        const auto state = [&](int row) { return window.findChild<QTreeWidget *>()->topLevelItem(row)->text(1); };
        QCOMPARE(state(0) + state(1), QString("正常旧型号，1个任务等待"));
        QCOMPARE(click(buttons[1]), QString("2台打印机没有替换\n“财务室”：有1个任务等待打印，请先取消"));
        QVERIFY(state(1).startsWith("有1个任务") && state(2) == "打印机名含有双引号，请先改名");
        removeJob(job);
        removePrinter("二\"楼");
        QCOMPARE(click(buttons[1]), QString("已替换1台打印机"));
        QCOMPARE(click(buttons[0]), QString("驱动已更新到版本1.4.0.2"));
        QVERIFY(state(1) == "正常" && !buttons[0]->isEnabled() && !buttons[1]->isVisible());
        QVERIFY(!window.findChild<QTreeWidget *>()->topLevelItem(2));
        // What a killed replacement has left can be removed although nothing is outdated.
        addCloudPrinter("前台（替换中）", "OXCloud009", 8109, "0123456789ABCDEF");
        QVERIFY(!DriverUpdateWindow().findChildren<QWidget *>("action")[1]->isHidden());
    }

    /// The real program, at several moments. A set-up process that outlives it can come in the way of the next one, and
    /// then the one after that finishes.
    void killed()
    {
        for (const auto &[option, end] : {std::pair("/update", m_updated), std::pair("/remove", withoutProduct)}) {
            for (const size_t moment : {30, 60, 90}) { // calls
                prepareMachine();
                QProcess *process = m_world.start(program, {option});
                (void)QTest::qWaitFor([&] { return calls().size() >= moment || process->processId() == 0; }, timeout);
                process->kill();
                process->waitForFinished();
                QTRY_VERIFY_WITH_TIMEOUT(m_world.run(program, {option}) == done && machineContent() == end, timeout);
            }
        }
    }

    void oneProgramAtATime()
    {
        const auto question = [&] { return m_desktop.windows(QString("^注意")); };
        const QString identifier = QtSingleApplication::identifierOf(m_world.path("OrvoCloudManager"));
        auto manager = std::make_unique<InstanceGuard>(identifier);
        QCOMPARE(m_world.run(program, {"/remove"}), int(MaintenanceThread::Busy));
        QProcess *process = m_world.start(program);
        QTRY_VERIFY_WITH_TIMEOUT(!question().isEmpty(), timeout);
        const QStringList first = question();
        m_desktop.press({"Return"}); // tries again
        QTRY_VERIFY_WITH_TIMEOUT(!question().isEmpty() && question() != first, timeout);
        manager.reset();
        m_desktop.press({"Return"});
        QTRY_VERIFY_WITH_TIMEOUT(!windows().isEmpty(), timeout);
        m_desktop.minimise(windows().first());
        QVERIFY(m_world.run("OrvoCloudManager") == 0 && m_world.logged("instance has not acknowledged") == 0);
        QTRY_VERIFY_WITH_TIMEOUT(!windows().isEmpty(), timeout);
        QCOMPARE(m_world.run(program, {"/update"}), int(MaintenanceThread::Busy));
        m_desktop.click(windows().first(), QPoint(456, 20)); // closes it
        QVERIFY(process->waitForFinished() && process->exitCode() == done);
        QVERIFY(m_world.run(program, {"/check"}) == done && m_world.run(program, {"/nonsense"}) == failed);
        failCalls("OpenSCManagerW", ERROR_ACCESS_DENIED);
        QCOMPARE(m_world.run(program, {"/remove"}), int(MaintenanceThread::NotAllowed));
    }
};

int main(int argc, char *argv[])
{
    QtSingleApplication application(argc, argv);
    takeOver(application, std::chrono::minutes(1));
    DriverUpdateTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_driverupdate.moc"
