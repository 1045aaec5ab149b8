#include "src/base/runningthreads.h"
#include "src/capture/printerserver.h"
#include "src/capture/printerthread.h"
#include "src/capture/relaylink.h"
#include "emulator/cloud/cloudservice.h"
#include "src/cloud/protocol.h"
#include "tests/support/cloudaddress.h"
#include "tests/support/logrecorder.h"

#include <QElapsedTimer>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTcpSocket>
#include <QTest>

#include "emulator/win32/control.h"

#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

namespace {

constexpr int printing = 0x10;
const QString serial = QStringLiteral("0123456789ABCDEF");

DriverInfo record(const QString &name, const QString &cloudSn = serial)
{
    return {name, cloudSn, {}, 0, {}, {}};
}

/// A capture server that listens on a free port, with what came back through it.
class Capture
{
public:
    explicit Capture(const QString &name = QStringLiteral("前台"), qint64 bodyLimit = CloudProtocol::largestBody)
        : server(record(name), nullptr, bodyLimit)
    {
        server.listen(QHostAddress::LocalHost);
        QObject::connect(&server, &PrinterServer::cloudResule, &m_context,
                         [this](QNetworkReply::NetworkError error, const QJsonDocument &jd) {
                             errors.append(error);
                             answers.append(jd.object());
                         });
    }

    /// What the card does when a job has come to its end.
    void free() { server.on_PortBusy(false); }

    std::unique_ptr<QTcpSocket> open(const QByteArray &bytes = {}) const
    {
        auto socket = std::make_unique<QTcpSocket>();
        socket->connectToHost(QHostAddress::LocalHost, server.serverPort());
        if (!socket->waitForConnected())
            qWarning("the server does not accept");
        socket->write(bytes);
        socket->flush();
        return socket;
    }

    /// Prints as the spooler does: connects, sends, closes.
    void print(const QByteArray &bytes, int segment = 1 << 30) const
    {
        const auto socket = open();
        socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        for (int from = 0; from < bytes.size(); from += qMin(segment, bytes.size())) {
            socket->write(bytes.constData() + from, qMin(segment, bytes.size() - from));
            socket->flush();
        }
        socket->disconnectFromHost();
        if (socket->state() != QAbstractSocket::UnconnectedState)
            QTRY_COMPARE_WITH_TIMEOUT(socket->state(), QAbstractSocket::UnconnectedState, 20000);
    }

    QString label() const { return answers.isEmpty() ? "no answer" : answers.last().value("jobneed").toString("none"); }

    PrinterServer server;
    QList<QNetworkReply::NetworkError> errors;
    QList<QJsonObject> answers;

private:
    QObject m_context;
};

} // namespace

class CaptureTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { qRegisterMetaType<QNetworkReply::NetworkError>(); }
    void init()
    {
        Win32Emulator::reset();
        m_cloud = std::make_unique<CloudService>();
        QVERIFY(m_cloud->listen());
        setCloudBaseAddress(m_cloud->baseAddress());
    }
    void cleanup()
    {
        QVERIFY(RunningThreads::endAll(std::chrono::seconds(20)));
        QCOMPARE(Win32Emulator::openHandles(), 0);
    }

    void relaysBytes_data();
    void relaysBytes();
    void refusesAJobThatIsTooLarge();
    void labelsTheJob();
    void keepsTheLatestWaitingConnection();
    void submitsOneJobAtATime();
    void resetConnectionIsSubmittedOnce();
    void descriptorCannotBeAdopted();
    void addressIsInvalid();
    void connectionStaysOpen();
    void stopsListening();
    void acceptsAgainAfterDescriptorsRanOut();
    void nothingIsDeliveredToAServerThatGoes();

private:
    void setCloudOptions(bool keepRawBodies, int delayMs);

    std::unique_ptr<CloudService> m_cloud;
};

void CaptureTest::setCloudOptions(bool keepRawBodies, int delayMs)
{
    CloudServiceOptions options;
    options.keepRawBodies = keepRawBodies;
    options.delayMs = delayMs;
    m_cloud->setOptions(options);
}

void CaptureTest::relaysBytes_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("segment");
    constexpr int atOnce = 1 << 30;
    QTest::newRow("nothing") << 0 << atOnce;
    QTest::newRow("one byte") << 1 << atOnce;
    QTest::newRow("100 KiB, every byte value") << 100 * 1024 << atOnce;
    QTest::newRow("100 KiB in segments of one byte") << 100 * 1024 << 1;
    QTest::newRow("100 MiB") << 100 * 1024 * 1024 << atOnce;
}

void CaptureTest::relaysBytes()
{
    QFETCH(int, size);
    QFETCH(int, segment);
    setCloudOptions(true, 0);
    QByteArray bytes(size, Qt::Uninitialized);
    for (int i = 0; i < size; ++i)
        bytes[i] = char(i + i / 256);
    Capture capture;
    capture.print(bytes, segment);
    QTRY_COMPARE_WITH_TIMEOUT(capture.errors.size(), 1, 30000);
    QCOMPARE(capture.errors.first(), QNetworkReply::NoError);
    QCOMPARE(capture.answers.first().value("jobSize").toInt(-1), size);
    QCOMPARE(capture.label(), QString());
    QVERIFY(!capture.answers.first().value("data").toObject().value("veltraId").toString().isEmpty());

    const QVector<ReceivedJob> jobs = m_cloud->jobs();
    QCOMPARE(jobs.size(), 1);
    QCOMPARE(jobs.first().dsNumber, serial);
    QVERIFY(jobs.first().bytes == bytes);
    QVERIFY(jobs.first().rawBody == CloudProtocol::submissionBody(serial, bytes));
    QCOMPARE(m_cloud->counts().submissions, 1);
}

void CaptureTest::refusesAJobThatIsTooLarge()
{
    const QByteArray largest(3000, 'x');
    LogRecorder log;
    Capture capture(QStringLiteral("前台"), CloudProtocol::submissionBody(serial, largest).size());
    QList<QNetworkReply::NetworkError> expected;
    for (const QByteArray &job : {largest, largest + 'x', QByteArray(10 * 1024 * 1024, 'x'), largest}) {
        capture.print(job);
        expected.append(job == largest ? QNetworkReply::NoError : QNetworkReply::UnknownContentError);
        QTRY_COMPARE(capture.errors, expected);
        QCOMPARE(capture.answers.last().value("jobSize").toInt(), job.size());
        QCOMPARE(capture.label(), QString());
        capture.free();
    }
    QCOMPARE(m_cloud->counts().submissions, 2);
    QCOMPARE(log.count("Cloud: not posted:"), 2);
    QTRY_COMPARE(log.count("17_Cloud destruct"), 4);
}

void CaptureTest::labelsTheJob()
{
    Win32Emulator::addDriver();
    Win32Emulator::addPort("OXCloud001", "127.0.0.1", 8101);
    Win32Emulator::addPrinter("前台", "OXCloud001");
    const QDateTime time({2026, 11, 21}, {17, 5, 9}, Qt::UTC);
    Win32Emulator::addJob("前台", "waiting", "x", time);
    const unsigned job = Win32Emulator::addJob("前台", "报告 %1.docx", "x", time);
    Win32Emulator::setJobStatus(job, printing);
    Win32Emulator::setJobStatus(Win32Emulator::addJob("前台", "also printing", "x", time), printing);

    Capture capture("old name");
    capture.server.onDriverInfoChanged(record("前台", "FFFF000011112222"));
    capture.print("x");
    QTRY_COMPARE(capture.label(), QString("报告 %1.docx;25:05:09"));
    QCOMPARE(m_cloud->jobs().last().dsNumber, QString("FFFF000011112222"));

    Win32Emulator::failCalls("OpenPrinterW", 5);
    capture.free();
    capture.print("y");
    QTRY_COMPARE(capture.label(), QString());
}

void CaptureTest::keepsTheLatestWaitingConnection()
{
    LogRecorder log;
    Capture capture;
    capture.print("first");
    QTRY_COMPARE(capture.answers.size(), 1);
    QVERIFY(log.contains(";port_busy= false"));
    QVERIFY(log.contains("51_PrinterServer PortBusy: true"));

    const auto superseded = capture.open("second");
    capture.print("third");
    QTRY_COMPARE_WITH_TIMEOUT(superseded->state(), QAbstractSocket::UnconnectedState, 3000);
    QTRY_VERIFY_WITH_TIMEOUT(log.contains("57_PrinterServer on_BusyTimeout:"), 3000);
    QCOMPARE(log.count(";port_busy= true"), 2);
    QCOMPARE(m_cloud->jobs().size(), 1);

    capture.free();
    QTRY_COMPARE_WITH_TIMEOUT(capture.answers.size(), 2, 2000);
    QCOMPARE(m_cloud->jobs().last().bytes, QByteArray("third"));
    const int retries = log.count("57_PrinterServer");
    capture.free();
    QTest::qWait(1200);
    QCOMPARE(log.count("57_PrinterServer"), retries);
    QCOMPARE(m_cloud->jobs().size(), 2);
}

/// Also when the printer is freed too early and two relays run at once.
void CaptureTest::submitsOneJobAtATime()
{
    setCloudOptions(false, 400);
    Capture capture;
    for (const char *bytes : {"a", "b", "c"}) {
        capture.print(bytes);
        QTest::qWait(50);
        capture.free();
    }
    QTRY_COMPARE_WITH_TIMEOUT(capture.answers.size(), 3, 5000);
    const QVector<ReceivedJob> jobs = m_cloud->jobs();
    QCOMPARE(jobs.size(), 3);
    for (int i = 1; i < jobs.size(); ++i)
        QVERIFY(jobs[i - 1].received.msecsTo(jobs[i].received) >= 390);
}

void CaptureTest::resetConnectionIsSubmittedOnce()
{
    Capture capture;
    const auto socket = capture.open("half a job");
    QTest::qWait(200);
    const linger reset{1, 0};
    setsockopt(int(socket->socketDescriptor()), SOL_SOCKET, SO_LINGER, &reset, sizeof reset);
    socket->abort();
    QTRY_COMPARE(capture.errors.size(), 1);
    QCOMPARE(capture.errors.first(), QNetworkReply::NoError);
    QCOMPARE(m_cloud->jobs().size(), 1);
    QCOMPARE(m_cloud->jobs().first().bytes, QByteArray("half a job"));
}

void CaptureTest::descriptorCannotBeAdopted()
{
    LogRecorder log;
    RelayLink link(nullptr);
    PrinterThread thread(9999, record("前台"), "label", link.jobLock(), CloudProtocol::largestBody);
    QSignalSpy error(&thread, &PrinterThread::error);
    QSignalSpy result(&thread, &PrinterThread::cloudResult);
    thread.start();
    QVERIFY(thread.wait());
    QCOMPARE(log.count("25_PrinterThread"), 1);
    QCOMPARE(log.count("92_PrinterThread"), 0);
    QTRY_COMPARE(error.count(), 1);
    QCOMPARE(result.count(), 0);
    QCOMPARE(m_cloud->counts().submissions, 0);
}

void CaptureTest::addressIsInvalid()
{
    LogRecorder log;
    setCloudBaseAddress("127.0.0.1:99999999");
    Capture capture;
    capture.print("x");
    QTRY_COMPARE(log.count("38_PrinterThread"), 1);
    QVERIFY(log.contains("Invalid url:  \"127.0.0.1:99999999/v1.1/transparentPrinting\""));
    QTRY_VERIFY(log.contains("printComplete"));
    QCOMPARE(log.count("92_PrinterThread"), 0);
    QVERIFY(capture.answers.isEmpty());

    // Intended: nobody frees the printer, and the next connection waits.
    const auto next = capture.open();
    QTRY_VERIFY_WITH_TIMEOUT(log.contains("57_PrinterServer"), 3000);
    QCOMPARE(log.count("12_PrinterThread"), 1);
}

void CaptureTest::connectionStaysOpen()
{
    LogRecorder log;
    Capture capture;
    const auto socket = capture.open("never finished");
    Capture limited("limited", 300);
    const auto endless = limited.open(QByteArray(1000, 'x')); // too large already: frees the printer all the same
    QElapsedTimer timer;
    timer.start();
    QTRY_COMPARE_WITH_TIMEOUT(log.count("92_PrinterThread"), 2, 35000);
    QVERIFY(timer.elapsed() > 29500 && timer.elapsed() < 31500);
    QTRY_COMPARE(log.count("printComplete"), 2);
    QTRY_COMPARE(limited.errors.value(0), QNetworkReply::UnknownContentError);
    QTRY_COMPARE(socket->state(), QAbstractSocket::UnconnectedState);
    QTest::qWait(500);
    QCOMPARE(log.count("59_PrinterThread"), 1);
    QCOMPARE(m_cloud->counts().submissions, 0);
    QVERIFY(capture.answers.isEmpty());
}

void CaptureTest::stopsListening()
{
    LogRecorder log;
    Capture one("one");
    Capture other("other");
    QList<PrinterServer *> servers{&other.server, &one.server};
    one.server.on_PortBusy(true);
    const auto waiting = one.open();
    QTRY_VERIFY(log.contains("24_PrinterServer"));

    one.server.stopListening(servers, record("removed"));
    QCOMPARE(servers, QList<PrinterServer *>{&other.server});
    QVERIFY(!one.server.isListening());
    QVERIFY(other.server.isListening());
    QVERIFY(log.contains("\"removed\" stop listening"));
    QTRY_COMPARE(waiting->state(), QAbstractSocket::UnconnectedState);
    one.free();
    QTest::qWait(1200);
    QCOMPARE(log.count("12_PrinterThread"), 0);
    QCOMPARE(log.count("57_PrinterServer"), 0);
}

void CaptureTest::acceptsAgainAfterDescriptorsRanOut()
{
    Capture capture;
    const auto socket = capture.open("late");
    socket->disconnectFromHost();
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    const int lowestFree = dup(0);
    close(lowestFree);
    const rlimit none{rlim_t(lowestFree), before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    QSignalSpy failed(&capture.server, &QTcpServer::acceptError);
    QTRY_VERIFY(failed.count() > 0);
    setrlimit(RLIMIT_NOFILE, &before);
    QTRY_COMPARE_WITH_TIMEOUT(capture.answers.size(), 1, 5000);
    QCOMPARE(m_cloud->jobs().first().bytes, QByteArray("late"));
}

void CaptureTest::nothingIsDeliveredToAServerThatGoes()
{
    PrinterServer server(record("前台"));
    RelayLink link(&server);
    std::atomic<int> delivered = 0;
    std::atomic<bool> stop = false;
    connect(&server, &PrinterServer::cloudResule, [&] { ++delivered; });
    std::vector<std::thread> relays;
    for (int i = 0; i < 4; ++i) {
        relays.emplace_back([&] {
            while (!stop)
                link.deliver(QNetworkReply::NoError, {});
        });
    }
    QTRY_VERIFY(delivered > 100);
    link.detach();
    const int before = delivered;
    QTest::qWait(20);
    stop = true;
    for (std::thread &relay : relays)
        relay.join();
    QCOMPARE(int(delivered), before);
}

QTEST_GUILESS_MAIN(CaptureTest)
#include "tst_capture.moc"
