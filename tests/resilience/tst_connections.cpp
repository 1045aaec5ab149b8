// What comes in on the ports of the real program besides print jobs: connections that stay, that are broken off, that
// come by the thousand, and that bring more than there is memory for.

#include "tests/support/processfigures.h"
#include "tests/support/world.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QNetworkInterface>
#include <QTcpSocket>
#include <QTest>

#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <memory>
#include <vector>

namespace {

constexpr int outcomeTime = 15000; // ms
constexpr int printers = 6;

using Connection = std::unique_ptr<QTcpSocket>;

struct Rubbish
{
    const char *name;
    int connections;
    QByteArray bytes;
    bool isReset; // instead of closed
};

/// Raises what this process may open to what the system allows.
void allowManyDescriptors()
{
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
}

void reset(QTcpSocket &socket)
{
    const linger atOnce{1, 0};
    setsockopt(int(socket.socketDescriptor()), SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
    socket.abort();
}

} // namespace

class ConnectionsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { allowManyDescriptors(); }
    void init();
    void cleanup();

    void comeFromThisMachineOnly();
    void stay();
    void areRubbish();
    void bringMoreThanTheMemoryHolds();

private:
    Connection open(int printer, const QByteArray &bytes = {}) const;
    void expectOutcomes(const QVector<int> &busy);
    int openDescriptors() const { return ProcessFigures::descriptors(m_program->processId()); }
    int runningThreads() const { return ProcessFigures::threads(m_program->processId()); }
    int logged(const QString &text) { return m_world->logged(text); }
    rlim_t addressSpace() const;

    std::unique_ptr<World> m_world;
    QProcess *m_program = nullptr;
    int m_round = 0;
};

void ConnectionsTest::init()
{
    m_world = std::make_unique<World>();
    // An arena per thread takes far more address space than memory, and one test limits the former.
    m_world->setEnvironment("MALLOC_ARENA_MAX", "1");
    QVERIFY(m_world->addPrinters({"0", "1", "2", "3", "4", "5"}) && m_world->startSpooler());
    QVERIFY(m_world->startCloud({"--polls", "0"}));
    // Each card has its device's state, and with it what it opens for good.
    m_program = m_world->startReadyProgram();
    QVERIFY(m_program);
}

void ConnectionsTest::cleanup()
{
    QCOMPARE(m_program->state(), QProcess::Running);
    m_world.reset();
}

Connection ConnectionsTest::open(int printer, const QByteArray &bytes) const
{
    auto socket = std::make_unique<QTcpSocket>();
    socket->connectToHost("127.0.0.1", m_world->port(printer));
    if (!socket->waitForConnected())
        QTest::qFail("nobody accepts", __FILE__, __LINE__);
    socket->write(bytes);
    socket->flush();
    return socket;
}

/// Prints on each of the printers through the spooler; the jobs are known by their sizes.
void ConnectionsTest::expectOutcomes(const QVector<int> &busy)
{
    const int size = 1000 + ++m_round;
    for (const int printer : busy)
        QVERIFY(m_world->print(printer, "document", QByteArray(size, 'x')));
    for (const int printer : busy)
        QTRY_VERIFY_WITH_TIMEOUT(m_world->hasRecord(printer, QString(";打印成功;%1;").arg(size)), outcomeTime);
}

/// What the program's process has mapped, in bytes.
rlim_t ConnectionsTest::addressSpace() const
{
    QFile statm(QString("/proc/%1/statm").arg(m_program->processId()));
    if (!statm.open(QIODevice::ReadOnly))
        return 0;
    return statm.readAll().split(' ').first().toULongLong() * rlim_t(sysconf(_SC_PAGESIZE));
}

void ConnectionsTest::comeFromThisMachineOnly()
{
    QList<QHostAddress> others = QNetworkInterface::allAddresses();
    QVERIFY(others.removeOne(QHostAddress::LocalHost));
    others << QHostAddress("127.0.0.2"); // the loopback device has it, too
    for (const QHostAddress &address : qAsConst(others)) {
        QTcpSocket socket;
        socket.connectToHost(address, m_world->port(0));
        QVERIFY2(!socket.waitForConnected(2000), qPrintable(address.toString()));
    }
    expectOutcomes({0});
}

void ConnectionsTest::stay()
{
    constexpr int flooded = 0;
    constexpr int held = 1;
    constexpr int other = 2;
    constexpr int relayTime = 30000; // ms that a connection may stay open
    constexpr int ofTwoRelays = 12;  // descriptors and threads, with those that wait
    constexpr int thousand = 1000;

    expectOutcomes({other});
    const int relays = logged("run finished");
    const int descriptors = openDescriptors();
    const int threads = runningThreads();

    std::vector<Connection> idle;
    for (int i = 0; i < thousand; ++i)
        idle.push_back(open(flooded));
    const Connection oneByte = open(held, "x");
    QElapsedTimer sinceLast;
    sinceLast.start();
    QVERIFY(m_world->print(held, "waits behind the byte", "later"));
    expectOutcomes({other});
    QVERIFY2(openDescriptors() <= descriptors + ofTwoRelays,
             qPrintable(QString::number(openDescriptors() - descriptors)));
    QVERIFY2(runningThreads() <= threads + ofTwoRelays, qPrintable(QString::number(runningThreads() - threads)));

    QTRY_COMPARE_WITH_TIMEOUT(logged("run finished"), relays + 3, relayTime + 5000);
    QVERIFY2(sinceLast.elapsed() > relayTime - 3000, qPrintable(QString::number(sinceLast.elapsed())));
    // Of the flood the first had the relay, the last waits; all others have been replaced and closed.
    QTRY_COMPARE(std::count_if(idle.begin(), idle.end(),
                               [](const Connection &one) { return one->state() == QTcpSocket::ConnectedState; }),
                 1);
    QCOMPARE(idle.back()->state(), QTcpSocket::ConnectedState);
    QTRY_COMPARE(oneByte->state(), QTcpSocket::UnconnectedState);

    // Nothing was submitted, so the cards never free these two printers: they stay busy until the next start.
    QVERIFY(m_world->print(flooded, "waits behind the flood", "later"));
    expectOutcomes({other});
    QTest::qWait(3000);
    QVERIFY(m_world->records(flooded).isEmpty());
    QVERIFY(m_world->records(held).isEmpty());
    QCOMPARE(m_world->posts().size(), 3);
    QTRY_VERIFY2(openDescriptors() <= descriptors + 2, qPrintable(QString::number(openDescriptors() - descriptors)));
    QTRY_VERIFY2(runningThreads() <= threads, qPrintable(QString::number(runningThreads() - threads)));
}

void ConnectionsTest::areRubbish()
{
    const Rubbish kinds[printers] = {
        {"port scan", 1, "", false},
        {"many port scans", 50, "", false},
        {"another protocol", 1, "GET / HTTP/1.1\r\nHost: x\r\n\r\n", false},
        {"zero bytes", 1, QByteArray(100000, '\0'), false},
        {"reset at once", 1, "", true},
        {"many resets with bytes", 50, QByteArray(1000, '\xff'), true},
    };
    for (int printer = 0; printer < printers; ++printer) {
        const Rubbish &rubbish = kinds[printer];
        for (int i = 0; i < rubbish.connections; ++i) {
            const Connection socket = open(printer, rubbish.bytes);
            if (rubbish.isReset)
                reset(*socket);
            else
                socket->disconnectFromHost();
        }
    }
    for (int printer = 0; printer < printers; ++printer) {
        const Rubbish &rubbish = kinds[printer];
        // Whatever comes is a job: the first is relayed, and of those that come meanwhile the last.
        const auto isServed = [&] { return m_world->records(printer).size() >= qMin(rubbish.connections, 2); };
        QVERIFY2(QTest::qWaitFor(isServed, outcomeTime), rubbish.name);
        const QString outcome = QString(";打印成功;%1;").arg(rubbish.bytes.size());
        QVERIFY2(rubbish.isReset || m_world->hasRecord(printer, outcome), rubbish.name);
    }
    expectOutcomes({0, 1, 2, 3, 4, 5});
}

/// Of three jobs that grow side by side none fits; the other printers' jobs, and later ones, go through.
void ConnectionsTest::bringMoreThanTheMemoryHolds()
{
    constexpr rlim_t mebibyte = 1024 * 1024;
    constexpr int pieces = 200;
    const rlim_t mapped = addressSpace();
    if (mapped > 1024 * 1024 * mebibyte)
        QSKIP("A sanitizer needs the address space");
    const rlimit limit{mapped + 260 * mebibyte, RLIM_INFINITY};
    QCOMPARE(prlimit(pid_t(m_program->processId()), RLIMIT_AS, &limit, nullptr), 0);

    const QByteArray piece(mebibyte, 'x');
    std::vector<Connection> large;
    for (int printer = 0; printer < 3; ++printer)
        large.push_back(open(printer));
    for (int sent = 0; sent < pieces; ++sent) {
        for (const Connection &connection : large) {
            connection->write(piece);
            QTRY_VERIFY_WITH_TIMEOUT(connection->bytesToWrite() < 4 * piece.size(), outcomeTime);
        }
        if (sent == pieces / 2)
            expectOutcomes({3, 4, 5});
    }
    for (const Connection &connection : large)
        connection->disconnectFromHost();
    const QString refused = QString("打印失败:打印文件过大;%1;").arg(pieces * mebibyte);
    for (int printer = 0; printer < 3; ++printer)
        QTRY_VERIFY_WITH_TIMEOUT(m_world->hasRecord(printer, refused), outcomeTime);
    expectOutcomes({0, 1, 2, 3, 4, 5});
}

QTEST_GUILESS_MAIN(ConnectionsTest)
#include "tst_connections.moc"
