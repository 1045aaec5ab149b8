#include "src/spooler/cprinter.h"
#include "tests/support/logrecorder.h"
#include "tests/support/machine.h"

#include <QCoreApplication>
#include <QFile>
#include <QTest>
#include <QThread>

#include "src/spooler/win32.h"
#include "emulator/win32/control.h"

#include <atomic>
#include <memory>
#include <thread>

namespace {

constexpr const char *queue = "前台";
constexpr const char *freePort = "OXCloud002";

/// A machine with our queue, which holds one job, and with a port, a driver and a package that nothing uses.
void prepareMachine()
{
    Win32Emulator::reset();
    Win32Emulator::useVirtualTime();
    for (const char *name : {"Orvo OX-410T", "Other"})
        Win32Emulator::addDriver({name, "Windows x64", "1", std::string(name) + ".inf"});
    Win32Emulator::addDriver({"Gone", "Windows x64", "1", "gone.inf"});
    Win32Emulator::deleteDriver("Gone", "Windows x64");
    addCloudPrinter(queue, "OXCloud001", 8101, "0123456789ABCDEF");
    Win32Emulator::addPort(freePort, "10.0.0.5", 9100);
    Win32Emulator::addJob(queue, "报告", "bytes");
}

/// What the machine holds of a kind, if the operation succeeded.
QString after(bool succeeded, const char *kind)
{
    const QString spooler = QString("spooler %1").arg(Win32Emulator::serviceState("Spooler"));
    return succeeded ? (machineContent() << spooler).filter(kind).join("; ") + '.' : QString();
}

QString readQueue(CPrinter &printer)
{
    QString id;
    unsigned short number = 0xffff;
    Queue info;
    const bool read = printer.GetCloudPrinterId(queue, id) && printer.GetPrinterPortNum(queue, number) &&
                      printer.GetCloudPrinterInfo(queue, info);
    const QString text = "%1 %2 %3 %4 %5 %6";
    return read ? text.arg(id, QString::number(number), info.name, info.port, info.driver, QString::number(info.jobs))
                : QString();
}

QString enumerate(CPrinter &printer)
{
    QList<Queue> queues;
    QList<Port> ports;
    QList<Driver> drivers;
    if (!printer.EnumLocalPrinters(queues) || !printer.EnumLocalPorts(ports) || !printer.EnumLocalDrivers(drivers))
        return QString();
    return queues[0].name + ports[0].name + ports[1].name + drivers[0].name + drivers[1].name;
}

QString portInfo(CPrinter &printer)
{
    QString host;
    unsigned short number = 0;
    return printer.GetPortInfo(freePort, host, number) == 0 ? host + ' ' + QString::number(number) : QString();
}

/// An operation; `run` gives a null text if it fails, otherwise what it has read or what it has made of the machine.
struct Operation
{
    QString name;
    QString (*run)(CPrinter &);
    QString result;
    bool needsHelper = false; ///< calls the helper library
};

const Operation operations[] = {
    {"set serial", [](CPrinter &printer) { return after(printer.SetCloudPrinterId(queue, "FE") == 0, "queue "); },
     "queue 前台 OXCloud001 Orvo OX-410T FE 8101."},
    {"set port", [](CPrinter &printer) { return after(printer.SetPrinterPortNum(queue, 0x4321), "queue "); },
     "queue 前台 OXCloud001 Orvo OX-410T 0123456789ABCDEF 17185."},
    {"read", readQueue, "0123456789ABCDEF 8101 前台 OXCloud001 Orvo OX-410T 1"},
    {"rename", [](CPrinter &printer) { return after(printer.RenamePrinter(queue, "后台 %1"), "queue "); },
     "queue 后台 %1 OXCloud001 Orvo OX-410T 0123456789ABCDEF 8101."},
    {"remove", [](CPrinter &printer) { return after(printer.RemovePrinter(queue), "queue "); }, "."},
    {"list jobs", [](CPrinter &) { return spoolJobs(queue).value(0).document; }, "报告"},
    {"enumerate", enumerate, "前台OXCloud001OXCloud002Orvo OX-410TOther"},
    {"read driver version", [](CPrinter &printer) { return printer.GetDriverVersion("Orvo OX-410T"); }, "1"},
    {"delete package",
     [](CPrinter &printer) { return after(printer.RemovePrinterDriverPackage("gone.inf", EnvX64), "package "); },
     "package Windows x64; package Windows x64."},
    {"stop", [](CPrinter &printer) { return after(printer.StopSvc("Spooler"), "spooler "); }, "spooler 1."},
    {"start",
     [](CPrinter &printer) {
         Win32Emulator::setServiceState("Spooler", SERVICE_STOPPED);
         return after(printer.StartSvc("Spooler"), "spooler ");
     },
     "spooler 4."},
    {"add port",
     [](CPrinter &printer) { return after(printer.addStandardTcpPort("new", "10.0.0.6", 65535) == 0, "port "); },
     "port OXCloud001 127.0.0.1:8101; port OXCloud002 10.0.0.5:9100; port new 10.0.0.6:65535.", true},
    {"change port",
     [](CPrinter &printer) { return after(printer.ConfigStandardTcpPort(freePort, "10.0.0.7", 1) == 0, "port "); },
     "port OXCloud001 127.0.0.1:8101; port OXCloud002 10.0.0.7:1.", true},
    {"delete port", [](CPrinter &printer) { return after(printer.DeleteStandardTcpPort(freePort) == 0, "port "); },
     "port OXCloud001 127.0.0.1:8101.", true},
    {"read port", portInfo, "10.0.0.5 9100", true},
    {"delete driver", [](CPrinter &printer) { return after(printer.RemovePrinterDriver("Other", EnvX64), "driver "); },
     "driver Orvo OX-410T 1 Windows x64.", true},
};

/// Calls whose failure an operation survives. The deletion of a driver is tried again.
const QStringList harmless = {"SetPrinterW 前台 command=3", "DeletePrinterConnectionW ",
                              "DeletePrinterDriverExW flags=1", "EnumDependentServicesW ", "QueryServiceStatus "};

/// Lays a helper library, or none, where it is looked for.
void layHelper(const QString &file)
{
    const QString place = QCoreApplication::applicationDirPath() + "/Quaylink.dll";
    QFile::remove(place);
    QCOMPARE(QFile::copy(file, place), !file.isEmpty());
}

const QString realHelper = qEnvironmentVariable("ORVO_BIN") + "/Quaylink.dll";
constexpr const char *slowHelper = "slow/Quaylink.dll"; // with one other export

} // namespace

class CPrinterTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        prepareMachine();
        layHelper(realHelper);
    }
    void cleanup() { QCOMPARE(Win32Emulator::openHandles(), 0); }

    /// Each call of an operation fails in turn. The operation reports it, changes nothing, leaves no handle open and
    /// works the next time.
    void everyCallFails()
    {
        CPrinter printer;
        QSet<QString> met;
        for (const Operation &operation : operations) {
            prepareMachine();
            const QStringList before = machineContent();
            QCOMPARE(operation.run(printer), operation.result);
            const std::vector<Win32Emulator::Call> calls = Win32Emulator::calls();
            for (size_t i = 0; i < calls.size(); ++i) {
                const QString call = QString::fromStdString(calls[i].function + ' ' + calls[i].arguments);
                if (call.contains("Close")) // closing does not fail
                    continue;
                prepareMachine();
                Win32Emulator::failCalls("*", ERROR_ACCESS_DENIED, int(i));
                const QString expected = harmless.contains(call) ? operation.result : QString();
                met << (expected.isNull() ? QString() : call);
                QVERIFY2(operation.run(printer) == expected, qPrintable(operation.name + call));
                QVERIFY2(Win32Emulator::openHandles() == 0, qPrintable(operation.name + call));
                if (expected.isNull()) {
                    QCOMPARE(machineContent(), before);
                    QCOMPARE(operation.run(printer), operation.result);
                }
            }
        }
        QCOMPARE(met.size(), harmless.size() + 1);
    }

    void rights()
    {
        CPrinter printer;
        for (const Operation &operation : operations)
            operation.run(printer);
        const QString ofQueue = QString("前台 access=0x4;").repeated(4) + QString("前台 access=0xf000c;").repeated(3);
        const QString ofPort = ",XcvMonitor Standard TCP/IP Port access=0x1;,XcvPort OXCloud002 access=0x1";
        QCOMPARE(argumentsOf("OpenPrinterW").join(';'), ofQueue + "前台 access=0x0;" + ofPort + ';' + ofPort);
    }

    void helperIsMissing()
    {
        CPrinter printer;
        const LogRecorder log;
        for (const Operation &operation : operations) {
            if (!operation.needsHelper)
                continue;
            prepareMachine();
            for (const char *helper : {"", slowHelper}) {
                layHelper(helper);
                QVERIFY2(operation.run(printer).isNull(), qPrintable(operation.name));
                QVERIFY(log.lines().last().endsWith(*helper ? " resolve Quaylink.dll failed"
                                                            : " load Quaylink.dll failed"));
                QVERIFY2(Win32Emulator::calls().empty(), "the spooler is not restarted for it");
            }
            layHelper(realHelper); // nothing is kept loaded between calls
            QCOMPARE(operation.run(printer), operation.result);
        }
    }

    /// A thread that unloads the library does not unmap it for another one.
    void threadsShareTheHelper()
    {
        constexpr int calls = 200;
        layHelper(slowHelper);
        std::atomic<int> answered = 0;
        const auto callOften = [&] {
            for (int i = 0; i < calls; ++i)
                answered += CPrinter().StopDependentServices(nullptr, nullptr) ? 1 : 0;
        };
        std::thread other(callOften);
        callOften();
        other.join();
        QCOMPARE(answered.load(), 2 * calls);
    }

    void limitsOfTheHelper()
    {
        CPrinter printer;
        const QString name(63, 'p');
        const QString host(48, 'h');
        constexpr int invalid = ERROR_INVALID_PARAMETER;
        QCOMPARE(printer.DeleteStandardTcpPort(""), invalid);
        QCOMPARE(printer.addStandardTcpPort(name + 'p', host, 1), invalid);
        QCOMPARE(printer.addStandardTcpPort(name, host + 'h', 1), invalid);
        QCOMPARE(printer.addStandardTcpPort(name, host, 0), invalid);
        QCOMPARE(printer.addStandardTcpPort(name, host, 65536), invalid);
        QCOMPARE(printer.addStandardTcpPort(name, host, 1), 0);
        QCOMPARE(argumentsOf("XcvDataW"), QStringList(",XcvMonitor Standard TCP/IP Port AddPort protocol=1 snmp=0"));
        QCOMPARE(printer.addStandardTcpPort(name, host, 2), int(ERROR_ALREADY_EXISTS));
        QVERIFY2(printer.DeleteStandardTcpPort("OXCloud001") != 0, "a queue uses it");
        QString readHost;
        unsigned short number = 0;
        QCOMPARE(printer.GetPortInfo(name, readHost, number), 0);
        QCOMPARE(readHost, host);
        QVERIFY(!printer.RemovePrinterDriver(QString(260, 'd'), EnvX64));
        QVERIFY(!printer.RemovePrinterDriver("Other", QString(260, 'e')));
        QVERIFY(Win32Emulator::calls("DeletePrinterDriverExW").empty());
    }

    /// The emulated spooler must be as strict as that of Windows, or it would hide faults of its callers.
    void spoolerIsStrict()
    {
        const PrinterHandle user(queue, PRINTER_ACCESS_USE);
        BYTE byte = 1;
        QCOMPARE(SetPrinterDataW(user.get(), WideText("CloudPort").data(), REG_BINARY, &byte, 1),
                 DWORD(ERROR_ACCESS_DENIED));
        QVERIFY(!DeletePrinter(user.get()));
        // A text of an odd size grows if a zero byte follows it.
        const PrinterHandle administrator(queue, PRINTER_ACCESS_ADMINISTER);
        for (const auto &[next, size] : {std::pair('\xff', 17U), {'\0', 19U}}) {
            QByteArray text = QByteArray("0123456789ABCDEF") + '\0' + next;
            SetPrinterDataW(administrator.get(), WideText("CloudId").data(), REG_SZ,
                            reinterpret_cast<LPBYTE>(text.data()), 17);
            QCOMPARE(Win32Emulator::printerData(queue, "CloudId")->second.size(), size_t(size));
        }
        const auto sizeOfList = [](DWORD flags, DWORD room) {
            DWORD needed = 0;
            DWORD returned = 0;
            QByteArray block(10000, 0);
            const auto bytes = reinterpret_cast<LPBYTE>(block.data());
            return EnumPrintersW(flags, nullptr, 2, bytes, room, &needed, &returned) ? 0 : needed;
        };
        const DWORD size = sizeOfList(PRINTER_ENUM_LOCAL, 0);
        QVERIFY(size > 0 && size == sizeOfList(PRINTER_ENUM_LOCAL, size - 1));
        QCOMPARE(sizeOfList(PRINTER_ENUM_LOCAL, size), DWORD(0));
        // A printer of another machine is listed only if asked for.
        QVERIFY(size < sizeOfList(PRINTER_ENUM_LOCAL | PRINTER_ENUM_CONNECTIONS, 0));
    }

    void printerData()
    {
        CPrinter printer;
        const std::string id = "0123456789ABCDEF";
        printer.SetCloudPrinterId(queue, QString::fromStdString(id));
        printer.SetPrinterPortNum(queue, 0x4321);
        QCOMPARE(Win32Emulator::printerData(queue, "CloudId").value(), std::make_pair(unsigned(REG_SZ), id + '\0'));
        QCOMPARE(Win32Emulator::printerData(queue, "CloudPort").value(),
                 std::make_pair(unsigned(REG_BINARY), std::string("\x21\x43")));
        // Another tool may have written them with other sizes.
        for (const auto &[text, bytes, expected] :
             {std::tuple(id, std::string("\x21"), 0x21), {id + std::string("\0\n\0", 3), "\x21\x43\x65", 0x4321}}) {
            Win32Emulator::setPrinterData(queue, "CloudId", REG_SZ, text);
            Win32Emulator::setPrinterData(queue, "CloudPort", REG_BINARY, bytes);
            QVERIFY(readQueue(printer).startsWith(QString("0123456789ABCDEF %1 ").arg(expected)));
        }
    }

    /// Nothing to find is not a failure for those who ask.
    void nothingFound()
    {
        CPrinter printer;
        QList<Queue> queues;
        Win32Emulator::failCalls("EnumPrintersW", ERROR_ACCESS_DENIED);
        QVERIFY(!printer.EnumLocalPrinters(queues) && !CPrinter::nothingFound());
        Win32Emulator::addPrinter("plain", "OXCloud001");
        unsigned short number = 0;
        QVERIFY(!printer.GetPrinterPortNum("plain", number) && CPrinter::nothingFound());
        SetLastError(ERROR_ACCESS_DENIED);
        Win32Emulator::reset();
        QVERIFY(!printer.EnumLocalPrinters(queues) && CPrinter::nothingFound());
    }

    /// A queue whose jobs stay, and a service that never reports a stop, would be worked on forever.
    void endlessWorkEndsWithTheProgram()
    {
        Win32Emulator::scriptService("Spooler", std::vector<Win32Emulator::ServiceStatus>(10000, {SERVICE_RUNNING}));
        Win32Emulator::failCalls("SetPrinterW", ERROR_ACCESS_DENIED, 0, -1);
        bool (*const works[])() = {[] { return CPrinter().StopSvc("Spooler"); },
                                   [] { return CPrinter().RemovePrinter(queue); }};
        for (const auto &work : works) {
            Win32Emulator::clearCalls();
            bool done = true;
            const std::unique_ptr<QThread> thread(QThread::create([&] { done = work(); }));
            thread->start();
            QTRY_VERIFY(Win32Emulator::calls().size() > 20);
            thread->requestInterruption();
            QVERIFY(thread->wait(5000));
            QVERIFY(!done);
        }
        QVERIFY(!CPrinter().RemovePrinter(""));
    }

    /// What is added between the size query and the reading does not make a list fail.
    void listsGrowWhileTheyAreRead()
    {
        Win32Emulator::beforeCall("EnumPrintersW", [] {
            Win32Emulator::beforeCall("EnumPrintersW", [] { Win32Emulator::addPrinter("added", "OXCloud001"); });
        });
        QList<Queue> queues;
        QVERIFY(CPrinter().EnumLocalPrinters(queues));
        QCOMPARE(queues.size(), 2);
        Win32Emulator::addJob(queue, "last", "bytes");
        for (const unsigned job : {1, 2}) {
            Win32Emulator::beforeCall("EnumJobsW", [job] { Win32Emulator::removeJob(job); });
            QCOMPARE(spoolJobs(queue).size(), int(2 - job));
        }

        // The attempts are limited.
        Win32Emulator::failCalls("EnumPrintersW", ERROR_INSUFFICIENT_BUFFER, 0, 100);
        QVERIFY(!CPrinter().EnumLocalPrinters(queues));
    }
};

QTEST_GUILESS_MAIN(CPrinterTest)
#include "tst_cprinter.moc"
