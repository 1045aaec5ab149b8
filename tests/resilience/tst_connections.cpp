// What comes in on the ports of the real program besides print jobs: connections from elsewhere, rubbish by the
// hundred, and more bytes than there is memory for.

#include "tests/support/printjob.h"
#include "tests/support/processfigures.h"
#include "tests/support/world.h"

#include <QTcpSocket>
#include <QTest>

#include <sys/resource.h>
#include <unistd.h>

namespace {

constexpr int outcomeTime = 15000; // ms

bool isOpen(const QTcpSocket &socket)
{
    return socket.state() == QTcpSocket::ConnectedState;
}

} // namespace

class ConnectionsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        // An arena per thread takes far more address space than memory, and one test limits the former.
        m_world.setEnvironment("MALLOC_ARENA_MAX", "1");
        QVERIFY(m_world.addPrinters({"0", "1"}) && m_world.startSpooler());
        QVERIFY(m_world.startCloud({"--polls", "0"}) && m_world.startReadyProgram());
        expectOutcomes();
    }

    void comeFromElsewhere()
    {
        QTcpSocket socket;
        socket.connectToHost("127.0.0.2", m_world.port(0)); // the loopback device has it, too
        QVERIFY(!socket.waitForConnected(2000));
    }

    void areManyAndRubbish()
    {
        constexpr int ofOneRelay = 6; // descriptors and threads, with those of the waiting connection
        const QByteArray rubbish = "GET / HTTP/1.1\r\n\r\n";
        const qint64 program = m_world.program()->processId();
        const int descriptors = ProcessFigures::descriptors(program);
        const int threads = ProcessFigures::threads(program);
        std::vector<QTcpSocket> flood(500);
        for (QTcpSocket &socket : flood) {
            socket.connectToHost("127.0.0.1", m_world.port(0));
            QVERIFY(socket.waitForConnected());
            socket.write(rubbish);
        }
        // Whatever comes is a job: the first is relayed, and of those that come meanwhile the last. All others are
        // closed.
        QTRY_COMPARE(std::count_if(flood.begin(), flood.end(), isOpen), 2);
        QVERIFY(isOpen(flood.front()) && isOpen(flood.back()));
        QTRY_VERIFY(ProcessFigures::descriptors(program) <= descriptors + ofOneRelay);
        QTRY_VERIFY(ProcessFigures::threads(program) <= threads + ofOneRelay);
        flood.clear();
        const QString record = QString(";打印成功;%1;").arg(rubbish.size());
        QTRY_COMPARE_WITH_TIMEOUT(m_world.records(0).filter(record).size(), 2, outcomeTime);
        expectOutcomes();
        QTRY_VERIFY(ProcessFigures::descriptors(program) <= descriptors);
        QTRY_VERIFY(ProcessFigures::threads(program) <= threads);
    }

    void bringMoreThanTheMemoryHolds()
    {
        constexpr int mebibyte = 1024 * 1024;
        const auto program = pid_t(m_world.program()->processId());
        const rlim_t pages = ProcessFigures::content(program, "statm").split(' ').first().toULongLong();
        const rlimit limit{pages * rlim_t(sysconf(_SC_PAGESIZE)) + 100 * mebibyte, RLIM_INFINITY};
        if (limit.rlim_cur > rlim_t(1) << 40)
            QSKIP("A sanitizer needs the address space");
        QCOMPARE(prlimit(program, RLIMIT_AS, &limit, nullptr), 0);
        QVERIFY(sendJob(m_world.port(0), QByteArray(150 * mebibyte, 'x')));
        const QString refused = QString("打印失败:打印文件过大;%1;").arg(150 * mebibyte);
        QTRY_VERIFY_WITH_TIMEOUT(m_world.hasRecord(0, refused), outcomeTime);
        expectOutcomes();
    }

private:
    /// Prints on both printers through the spooler; the jobs are known by their sizes.
    void expectOutcomes()
    {
        const QByteArray job(1000 + ++m_round, 'x');
        const QString record = QString(";打印成功;%1;").arg(job.size());
        QVERIFY(m_world.print(0, "document", job) && m_world.print(1, "document", job));
        QTRY_VERIFY_WITH_TIMEOUT(m_world.hasRecord(0, record) && m_world.hasRecord(1, record), outcomeTime);
    }

    World m_world;
    int m_round = 0;
};

QTEST_GUILESS_MAIN(ConnectionsTest)
#include "tst_connections.moc"
