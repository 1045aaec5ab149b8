// From the spooler's connection to the cloud's answer.

#include "src/base/runningthreads.h"
#include "src/capture/printerserver.h"
#include "src/capture/relaylink.h"
#include "emulator/cloud/cloudservice.h"
#include "tests/support/cloudaddress.h"
#include "tests/support/logrecorder.h"
#include "tests/support/machine.h"
#include "tests/support/timers.h"

#include <QDeadlineTimer>
#include <QTcpSocket>
#include <QTest>

#include "emulator/win32/control.h"

#include <sys/resource.h>
#include <sys/socket.h>

#include <atomic>
#include <memory>
#include <thread>

using namespace std::chrono_literals;

namespace {

const QString serial = QStringLiteral("0123456789ABCDEF");

/// A capture server that listens on a free port, with what came back through it: "ERROR;SIZE;LABEL".
class Capture : public PrinterServer
{
public:
    explicit Capture(const QString &name = "前台", qint64 bodyLimit = CloudProtocol::largestBody)
        : PrinterServer({name, serial, {}, 0, {}, {}}, nullptr, bodyLimit)
    {
        listen(QHostAddress::LocalHost);
        connect(this, &PrinterServer::cloudResule, this, [this](int error, const QJsonDocument &jd) {
            results << QString("%1;%2;").arg(error).arg(jd["jobSize"].toInt(-1)) + jd["jobneed"].toString("none");
        });
    }

    /// What the card does when a job has come to its end.
    void free() { on_PortBusy(false); }
    bool retry() { return fire(this, 1s); }

    /// Sends this, as the spooler does; destroy it to close the connection.
    std::unique_ptr<QTcpSocket> open(const QByteArray &bytes = {}) const
    {
        auto socket = std::make_unique<QTcpSocket>();
        socket->connectToHost(QHostAddress::LocalHost, serverPort());
        socket->waitForConnected();
        socket->write(bytes);
        socket->flush();
        return socket;
    }

    QStringList results;
};

} // namespace

class CaptureTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        Win32Emulator::reset();
        m_log = std::make_unique<LogRecorder>();
        m_cloud = std::make_unique<CloudService>();
        QVERIFY(m_cloud->listen());
        setCloudBaseAddress(m_cloud->baseAddress());
    }
    void cleanup()
    {
        QVERIFY(RunningThreads::endAll(20s));
        QCOMPARE(relaysEnded(), relaysBegun());
        m_log.reset();
    }

    /// As it came, once. One that would be too large is read to its end and reported; what a reset connection has
    /// brought is a job as well.
    void relaysEachJob()
    {
        const QByteArray large = QByteArray("ordered").repeated(714288); // base64 without padding
        Capture capture("前台", CloudProtocol::submissionBody(serial, large).size());
        QStringList results;
        for (const QByteArray &job : {large, QByteArray(), large + 'x', large + large, QByteArray("half a job")}) {
            const bool fits = job.size() <= large.size();
            results << QString("%1;%2;").arg(fits ? 0 : QNetworkReply::UnknownContentError).arg(job.size());
            const auto socket = capture.open(job);
            QTRY_COMPARE(relaysBegun(), results.size());
            const linger reset{job == "half a job", 0};
            setsockopt(int(socket->socketDescriptor()), SOL_SOCKET, SO_LINGER, &reset, sizeof reset);
            socket->disconnectFromHost();
            QTRY_COMPARE_WITH_TIMEOUT(capture.results, results, 20000);
            QVERIFY(!fits || m_cloud->jobs().last().bytes == job);
            capture.free();
        }
        QCOMPARE(m_cloud->counts().submissions, 3);
    }

    void labelsTheJob()
    {
        using namespace Win32Emulator;
        constexpr unsigned printing = 0x10;
        const QDateTime time({2026, 11, 21}, {17, 5, 9}, Qt::UTC);
        addDriver();
        addCloudPrinter("old name", "OXCloud002", 8102, serial);
        addCloudPrinter("前台", "OXCloud001", 8101, serial);
        setJobStatus(addJob("old name", "another printer's", "x", time), printing);
        setJobStatus(addJob("前台", "spooling", "x", time), 8);
        setJobStatus(addJob("前台", "报告 %1.docx", "x", time), printing | 1);
        setJobStatus(addJob("前台", "also printing", "x", time), printing);

        Capture capture("old name");
        capture.onDriverInfoChanged({"前台", "FFFF000011112222", {}, 0, {}, {}});
        capture.open("x");
        QTRY_COMPARE(capture.results, QStringList("0;1;报告 %1.docx;25:05:09"));
        QCOMPARE(m_cloud->jobs().last().dsNumber, QString("FFFF000011112222"));
        Capture limited("前台", 300);
        limited.open(QByteArray(1000, 'x'));
        QTRY_COMPARE(limited.results, QStringList("299;1000;报告 %1.docx;25:05:09"));
    }

    void keepsTheLatestWaitingConnection()
    {
        Capture capture;
        capture.open("first");
        QTRY_COMPARE(capture.results.size(), 1);
        const auto superseded = capture.open("second");
        capture.open("the third");
        QTRY_COMPARE(superseded->state(), QAbstractSocket::UnconnectedState);
        QVERIFY(capture.retry());
        QCOMPARE(relaysBegun(), 1);

        capture.free();
        QVERIFY(capture.retry());
        QTRY_COMPARE(capture.results, QStringList({"0;5;", "0;9;"}));
        QVERIFY(!capture.retry());
    }

    /// Also when the printer is freed too early and several relays run at once. The program's end waits neither for the
    /// cloud nor for jobs behind the first, nor for an open connection.
    void submitsOneJobAtATime()
    {
        Capture capture;
        startRelays(capture, 3, 100);
        QTRY_COMPARE(capture.results, QStringList({"0;3;", "0;3;", "0;3;"}));
        const QVector<ReceivedJob> jobs = m_cloud->jobs();
        for (int i = 1; i < 3; ++i)
            QVERIFY(jobs.at(i - 1).received.msecsTo(jobs.at(i).received) >= 90);

        startRelays(capture, 4, 2000);
        const auto open = capture.open("not finished");
        QTRY_COMPARE(relaysBegun(), 8);
        QTRY_COMPARE(m_cloud->counts().submissions, 4);
        QVERIFY(RunningThreads::endAll(1s));
        QCOMPARE(m_cloud->counts().submissions, 4);
    }

    void connectionStaysOpen()
    {
        Capture capture;
        Capture limited("limited", 300);
        const QDeadlineTimer earliest(29500);
        const auto socket = capture.open("never finished");
        const auto endless = limited.open(QByteArray(1000, 'x')); // too large already: frees the printer all the same
        QTRY_COMPARE_WITH_TIMEOUT(relaysEnded(), 2, 40000);
        QVERIFY(earliest.hasExpired());
        QTRY_COMPARE(limited.results, QStringList("299;1000;"));
        QCOMPARE(m_cloud->counts().submissions, 0);
    }

    void serverGoes()
    {
        for (const bool isDestroyed : {false, true}) {
            m_log->clear();
            auto capture = std::make_unique<Capture>();
            startRelays(*capture, 1, 300);
            capture->on_PortBusy(true);
            const auto waiting = capture->open();
            QTRY_COMPARE(m_log->count("24_PrinterServer"), 2);
            if (isDestroyed) {
                capture.reset();
            } else {
                QList<PrinterServer *> servers{nullptr, capture.get()};
                capture->stopListening(servers, {});
                QCOMPARE(servers, QList<PrinterServer *>{nullptr});
                QVERIFY(!capture->retry() && !capture->isListening());
                QTRY_COMPARE(capture->results.size(), 1);
            }
            QTRY_COMPARE(waiting->state(), QAbstractSocket::UnconnectedState);
            QTRY_COMPARE(relaysEnded(), 1);
        }
    }

    void serverWaitsForAResultThatIsBeingDelivered()
    {
        PrinterServer server{DriverInfo()};
        RelayLink link(&server);
        std::atomic<int> step = 0;
        connect(&server, &PrinterServer::cloudResule, [&] {
            step = 1;
            QTest::qSleep(100);
            step = 2;
        });
        std::thread relay([&] { link.deliver(QNetworkReply::NoError, {}); });
        while (step == 0)
            std::this_thread::yield();
        link.detach();
        const int stepAfterwards = step;
        relay.join();
        QCOMPARE(stepAfterwards, 2);
    }

    void acceptsAgainAfterDescriptorsRanOut()
    {
        Capture capture;
        const auto socket = capture.open("late");
        rlimit before{};
        getrlimit(RLIMIT_NOFILE, &before);
        const rlimit none{rlim_t(socket->socketDescriptor()) + 1, before.rlim_max};
        setrlimit(RLIMIT_NOFILE, &none);
        QSignalSpy failed(&capture, &QTcpServer::acceptError);
        QTRY_VERIFY(failed.count() > 0);
        setrlimit(RLIMIT_NOFILE, &before);
        socket->disconnectFromHost();
        QTRY_COMPARE(capture.results, QStringList("0;4;"));
    }

private:
    int relaysBegun() const { return m_log->count("12_PrinterThread"); }
    int relaysEnded() const { return m_log->count("printComplete"); }

    /// As many relays at once, although the printer is free only after one; the cloud answers that late.
    void startRelays(Capture &capture, int count, int milliseconds)
    {
        CloudServiceOptions options;
        options.delayMs = milliseconds;
        m_cloud->setOptions(options);
        for (int i = 0; i < count; ++i) {
            const int begun = relaysBegun();
            capture.open("job");
            QTRY_COMPARE(relaysBegun(), begun + 1);
            capture.free();
        }
    }

    std::unique_ptr<LogRecorder> m_log;
    std::unique_ptr<CloudService> m_cloud;
};

QTEST_GUILESS_MAIN(CaptureTest)
#include "tst_capture.moc"
