#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>

#include <windows.h>
#include <winspool.h>

#include "win32/control.h"

#include <memory>
#include <vector>

namespace {

QString toolPath(const QString &tool)
{
    return qEnvironmentVariable("ORVO_BIN") + '/' + tool;
}

struct Outcome
{
    int status;
    QString output;
    QString errors;
};

Outcome runTool(const QString &tool, const QStringList &arguments)
{
    QProcess process;
    process.start(toolPath(tool), arguments);
    process.waitForFinished();
    return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

Outcome spoolctl(const QStringList &arguments)
{
    return runTool("spoolctl", arguments);
}

QString jobStatus(const QString &queue)
{
    return spoolctl({"jobs", queue}).output.section('\t', 1, 1);
}

/// A printer that keeps what it is sent, one text a connection.
class Receiver : public QObject
{
public:
    explicit Receiver(quint16 port = 0)
    {
        connect(&m_server, &QTcpServer::newConnection, this, &Receiver::accept);
        m_server.listen(QHostAddress::LocalHost, port);
    }

    quint16 port() const { return m_server.serverPort(); }
    QString portText() const { return QString::number(port()); }

    QList<QByteArray> jobs;         ///< of the connections that the sender has closed
    QStringList statusWhenAccepted; ///< of the queue "q"
    bool reads = true;

private:
    void accept()
    {
        QTcpSocket *socket = m_server.nextPendingConnection();
        statusWhenAccepted << jobStatus("q");
        if (!reads) {
            socket->setReadBufferSize(1);
            return;
        }
        connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
            jobs << socket->readAll();
            socket->deleteLater();
        });
    }

    QTcpServer m_server;
};

/// A running spoolsv; ended politely with the object.
class Spooler
{
public:
    Spooler() { m_process.start(toolPath("spoolsv"), QStringList()); }
    ~Spooler() { terminate(); }

    bool terminate()
    {
        m_process.terminate();
        return m_process.waitForFinished() && m_process.exitStatus() == QProcess::NormalExit &&
               m_process.exitCode() == 0;
    }

    void kill()
    {
        m_process.kill();
        m_process.waitForFinished();
    }

private:
    QProcess m_process;
};

QByteArray randomBytes(int size)
{
    QByteArray bytes(size, 0);
    for (char &byte : bytes)
        byte = static_cast<char>(QRandomGenerator::global()->bounded(256));
    return bytes;
}

} // namespace

class TestWin32Tools : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void spoolctlShowsWhatItSetUp();
    void wrongCommandLines_data();
    void wrongCommandLines();
    void printerSetUp_data();
    void printerSetUp();
    void testPage();
    void toolsAreFoundByBareName();
    void jobsArriveInOrder();
    void refusedJobIsTriedAgain();
    void killedSpoolerLosesNothing();
    void portsWorkSideBySide();
    void purgeStopsSending();
    void stoppedServiceSendsNothing();
    void manyProcessesOnAFreshMachine();

private:
    void addQueue(const std::string &name, quint16 port);
};

void TestWin32Tools::init()
{
    Win32Emulator::reset();
}

void TestWin32Tools::addQueue(const std::string &name, quint16 port)
{
    Win32Emulator::addDriver();
    Win32Emulator::addPort("port of " + name, "127.0.0.1", port);
    Win32Emulator::addPrinter(name, "port of " + name);
}

void TestWin32Tools::spoolctlShowsWhatItSetUp()
{
    QCOMPARE(spoolctl({"list"}).output, QString());
    QCOMPARE(spoolctl({"add-driver"}).status, 0);
    QCOMPARE(spoolctl({"add-port", "OXCloud001", "127.0.0.1", "8101"}).status, 0);
    QCOMPARE(spoolctl({"add-printer", "前台", "--port", "OXCloud001", "--cloud-id", "0123456789ABCDEF", "--cloud-port",
                       "8101"})
                 .status,
             0);
    QCOMPARE(spoolctl({"add-printer", "bare", "--port", "OXCloud001"}).status, 0);
    QCOMPARE(spoolctl({"list"}).output, QString("前台\tOXCloud001\tOrvo OX-410T\t0123456789ABCDEF\t8101\n"
                                                "bare\tOXCloud001\tOrvo OX-410T\t-\t-\n"));
    const auto id = Win32Emulator::printerData("前台", "CloudId");
    QCOMPARE(id->first, unsigned(REG_SZ));
    QCOMPARE(id->second, std::string("0123456789ABCDEF", 17));
    const auto port = Win32Emulator::printerData("前台", "CloudPort");
    QCOMPARE(port->first, unsigned(REG_BINARY));
    QCOMPARE(port->second, std::string("\xa5\x1f"));

    QTemporaryDir folder;
    QFile file(folder.filePath("空 report.txt"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    QCOMPARE(spoolctl({"print", "前台", file.fileName()}).output, QString("1\n"));
    Win32Emulator::addJob("前台", "b", "bytes", Win32Emulator::SubmissionTime(2024, 12, 31, 23, 5, 9));
    Win32Emulator::setJobStatus(2, JOB_STATUS_PRINTING | JOB_STATUS_ERROR);
    const QStringList jobs = spoolctl({"jobs", "前台"}).output.split('\n');
    QVERIFY2(jobs.value(0).startsWith("1\twaiting\t0\t20"), qPrintable(jobs.value(0)));
    QVERIFY2(jobs.value(0).endsWith("\t空 report.txt"), qPrintable(jobs.value(0)));
    QCOMPARE(jobs.value(1), QString("2\terror,printing\t5\t2024-12-31 23:05:09\tb"));

    QCOMPARE(spoolctl({"fault", "EnumPortsW", "5"}).status, 0);
    DWORD needed = 0;
    QVERIFY(!EnumPortsW(nullptr, 2, nullptr, 0, &needed, &needed));
    QCOMPARE(GetLastError(), DWORD(ERROR_ACCESS_DENIED));
    QCOMPARE(spoolctl({"remove-printer", "前台"}).status, 0);
    QVERIFY(QDir(qEnvironmentVariable("WIN32_EMULATOR_HOME") + "/spool").isEmpty());
}

void TestWin32Tools::wrongCommandLines_data()
{
    QTest::addColumn<QString>("tool");
    QTest::addColumn<QStringList>("arguments");

    const auto row = [](const char *commandLine) {
        QStringList words = QString(commandLine).split(' ');
        const QString tool = words.takeFirst();
        QTest::newRow(commandLine) << tool << words;
    };
    for (const char *commandLine : {"spoolctl",
                                    "spoolctl dance",
                                    "spoolctl jobs",
                                    "spoolctl jobs nobody",
                                    "spoolctl print q /no/such/file",
                                    "spoolctl print q /",
                                    "spoolctl add-port p host 65536",
                                    "spoolctl add-port p host 80x",
                                    "spoolctl add-printer q",
                                    "spoolctl add-printer q --port nowhere",
                                    "spoolctl add-printer q --colour red",
                                    "spoolctl add-printer q --port",
                                    "spoolctl service Spooler asleep",
                                    "spoolctl service Nobody running",
                                    "spoolctl fault OpenPrinterW",
                                    "spoolsv now",
                                    "RUNDLL32",
                                    "RUNDLL32 SHELL32.DLL,Control_RunDLL",
                                    "RUNDLL32 PRINTUI.DLL,PrintUIEntry",
                                    "RUNDLL32 PRINTUI.DLL,PrintUIEntry /k",
                                    "RUNDLL32 PRINTUI.DLL,PrintUIEntry /k /n nobody",
                                    "RUNDLL32 PRINTUI.DLL,PrintUIEntry /xs"})
        row(commandLine);
}

void TestWin32Tools::wrongCommandLines()
{
    QFETCH(QString, tool);
    QFETCH(QStringList, arguments);
    const Outcome outcome = runTool(tool, arguments);
    QCOMPARE(outcome.status, 1);
    QVERIFY(outcome.errors.startsWith(tool + ": "));
    QCOMPARE(outcome.output, QString());
}

void TestWin32Tools::printerSetUp_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<bool>("driverInstalled");
    QTest::addColumn<QString>("newQueue"); // empty: refused, and nothing changed

    const QStringList start = {"/if", "/b", "二楼 A"};
    const QStringList end = {"/r", "p", "/m", "Orvo OX-410T"};
    QTest::newRow("INF") << start + QStringList({"/f", "@\\good.inf"}) + end + QStringList("/u") << false << "二楼 A";
    QTest::newRow("driver there") << start + end << true << "二楼 A";
    QTest::newRow("no driver") << start + end << false << "";
    QTest::newRow("no INF") << start + QStringList({"/f", "@\\missing.inf"}) + end << false << "";
    QTest::newRow("other INF") << start + QStringList({"/f", "@\\other.inf"}) + end << false << "";
    QTest::newRow("no version") << start + QStringList({"/f", "@\\old.inf"}) + end << false << "";
    QTest::newRow("no port") << start + QStringList({"/r", "nowhere", "/m", "Orvo OX-410T"}) << true << "";
    QTest::newRow("name taken") << QStringList({"/if", "/b", "Taken"}) + end << true << "Taken (2)";
    QTest::newRow("bad name") << QStringList({"/if", "/b", "a,b", "/f", "@\\good.inf"}) + end << false << "";
}

void TestWin32Tools::printerSetUp()
{
    QFETCH(QStringList, arguments);
    QFETCH(bool, driverInstalled);
    QFETCH(QString, newQueue);
    QTemporaryDir folder;
    const auto writeInf = [&](const QString &name, const QByteArray &text) {
        QFile file(folder.filePath(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(text);
    };
    writeInf("good.inf", "[Version]\r\nDriverVer=01/02/2024, 2.3.4.5\r\n[Orvo]\r\n\"Orvo OX-410T\" = Install\r\n");
    writeInf("other.inf", "[Version]\nDriverVer=01/02/2024,2.3.4.5\n\"Orvo OX-410\" = Install\n");
    writeInf("old.inf", "[Version]\n\"Orvo OX-410T\" = Install\n");
    arguments.replaceInStrings("@", folder.path().replace('/', '\\'));
    Win32Emulator::addPort("p", "127.0.0.1", 9100);
    Win32Emulator::addDriver("Other");
    Win32Emulator::addPrinter("taken", "p", "Other");
    Win32Emulator::addPrinter("taken (1)", "p", "Other");
    if (driverInstalled)
        Win32Emulator::addDriver();

    const Outcome outcome = runTool("RUNDLL32", QStringList("PRINTUI.DLL,PrintUIEntry") + arguments);
    QCOMPARE(outcome.status, newQueue.isEmpty() ? 1 : 0);
    QCOMPARE(outcome.errors.isEmpty(), !newQueue.isEmpty());
    const QString listed = spoolctl({"list"}).output.section('\n', 2);
    QCOMPARE(listed, newQueue.isEmpty() ? QString() : newQueue + "\tp\tOrvo OX-410T\t-\t-\n");
    const bool hasDriver = spoolctl({"add-printer", "probe", "--port", "p"}).status == 0;
    QCOMPARE(hasDriver, driverInstalled || !newQueue.isEmpty());
}

void TestWin32Tools::testPage()
{
    addQueue("q", 9);
    QCOMPARE(runTool("RUNDLL32", {"PRINTUI.DLL,PrintUIEntry", "/k", "/n", "q"}).status, 0);
    const QString job = spoolctl({"jobs", "q"}).output;
    QVERIFY2(job.endsWith("\t测试页\n"), qPrintable(job));
    QVERIFY(job.section('\t', 2, 2).toInt() > 1000);
}

void TestWin32Tools::toolsAreFoundByBareName()
{
    QProcess process;
    process.start("RUNDLL32", {"--help"});
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitCode(), 0);
    QVERIFY(process.readAllStandardOutput().startsWith("Usage:"));
}

void TestWin32Tools::jobsArriveInOrder()
{
    Receiver printer;
    addQueue("q", printer.port());
    const QByteArray large = randomBytes(3000001);
    QTemporaryDir folder;
    QFile file(folder.filePath("large"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(large);
    file.close();
    Spooler spooler;
    QCOMPARE(spoolctl({"print", "q", file.fileName()}).status, 0);
    Win32Emulator::addJob("q", "empty", {});
    Win32Emulator::addJob("q", "last", "last");
    QTRY_COMPARE(printer.jobs.size(), 3);
    QVERIFY(printer.jobs == QList<QByteArray>({large, QByteArray(), "last"}));
    QCOMPARE(printer.statusWhenAccepted, QStringList({"printing", "printing", "printing"}));
    QTRY_COMPARE(spoolctl({"jobs", "q"}).output, QString());
    QVERIFY(spooler.terminate());
}

void TestWin32Tools::refusedJobIsTriedAgain()
{
    auto printer = std::make_unique<Receiver>();
    const quint16 port = printer->port();
    printer.reset();
    addQueue("q", port);
    Win32Emulator::addJob("q", "one", "1");
    Win32Emulator::addJob("q", "two", "2");
    const Spooler spooler;
    QTRY_COMPARE(jobStatus("q"), QString("error"));
    printer = std::make_unique<Receiver>(port);
    QTRY_COMPARE(printer->jobs, QList<QByteArray>({"1", "2"}));
}

void TestWin32Tools::killedSpoolerLosesNothing()
{
    Receiver printer;
    printer.reads = false;
    addQueue("q", printer.port());
    const QByteArray large = randomBytes(20000000);
    Win32Emulator::addJob("q", "large", large.toStdString());
    {
        Spooler spooler;
        QTRY_COMPARE(printer.statusWhenAccepted.size(), 1);
        spooler.kill();
    }
    QCOMPARE(jobStatus("q"), QString("printing"));
    printer.reads = true;
    const Spooler spooler;
    QTRY_COMPARE(printer.jobs.size(), 1);
    QVERIFY(printer.jobs.first() == large);
}

void TestWin32Tools::portsWorkSideBySide()
{
    Receiver stuck;
    stuck.reads = false;
    Receiver ready;
    addQueue("q", stuck.port());
    addQueue("r", ready.port());
    Win32Emulator::addJob("q", "stuck", std::string(20000000, 'x'));
    Win32Emulator::addJob("r", "ready", "ready");
    Spooler spooler;
    QTRY_COMPARE(ready.jobs, QList<QByteArray>({"ready"}));
    QCOMPARE(jobStatus("q"), QString("printing"));
    QVERIFY(spooler.terminate());
    QCOMPARE(jobStatus("q"), QString("waiting"));
}

void TestWin32Tools::purgeStopsSending()
{
    Receiver printer;
    printer.reads = false;
    addQueue("q", printer.port());
    Win32Emulator::addJob("q", "stuck", std::string(20000000, 'x'));
    const Spooler spooler;
    QTRY_COMPARE(printer.statusWhenAccepted.size(), 1);
    Win32Emulator::removePrinter("q");
    printer.reads = true;
    Win32Emulator::addPrinter("q", "port of q");
    Win32Emulator::addJob("q", "next", "next");
    QTRY_COMPARE(printer.jobs, QList<QByteArray>({"next"}));
}

void TestWin32Tools::stoppedServiceSendsNothing()
{
    Receiver printer;
    addQueue("q", printer.port());
    QCOMPARE(spoolctl({"service", "spooler", "stopped"}).status, 0);
    const Spooler spooler;
    Win32Emulator::addJob("q", "one", "1");
    QTest::qWait(300);
    QCOMPARE(printer.statusWhenAccepted, QStringList());
    QCOMPARE(spoolctl({"service", "Spooler", "running"}).status, 0);
    QTRY_COMPARE(printer.jobs, QList<QByteArray>({"1"}));
}

void TestWin32Tools::manyProcessesOnAFreshMachine()
{
    QTemporaryDir home;
    const QByteArray before = qgetenv("WIN32_EMULATOR_HOME");
    qputenv("WIN32_EMULATOR_HOME", home.filePath("new/machine").toLocal8Bit());
    std::vector<std::unique_ptr<QProcess>> processes;
    for (int i = 0; i < 20; ++i) {
        processes.push_back(std::make_unique<QProcess>());
        processes.back()->start(toolPath("spoolctl"), {"add-port", QString("p%1").arg(i), "127.0.0.1", "9100"});
    }
    for (const auto &process : processes) {
        QVERIFY(process->waitForFinished());
        QCOMPARE(process->readAllStandardError(), QByteArray());
        QCOMPARE(process->exitCode(), 0);
    }
    std::vector<PORT_INFO_2W> ports(1000);
    DWORD needed = 0;
    DWORD returned = 0;
    QVERIFY(EnumPortsW(nullptr, 2, reinterpret_cast<LPBYTE>(ports.data()),
                       static_cast<DWORD>(ports.size() * sizeof ports[0]), &needed, &returned));
    QCOMPARE(returned, DWORD(20));
    qputenv("WIN32_EMULATOR_HOME", before);
}

QTEST_GUILESS_MAIN(TestWin32Tools)

#include "tst_win32tools.moc"
