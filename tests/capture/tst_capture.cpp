#include "capturefixture.h"

#include "base/runningthreads.h"
#include "capture/printerthread.h"
#include "capture/relaylink.h"
#include "cloud/cloudservice.h"
#include "support/logrecorder.h"
#include "support/rawhttppeer.h"

#include <QElapsedTimer>
#include <QSignalSpy>

#include "win32/control.h"

#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <memory>

namespace {

constexpr int printing = 0x10;
QString baseAddress;

/// Resets the connection instead of closing it.
void reset(QTcpSocket &socket)
{
    const linger now{1, 0};
    setsockopt(int(socket.socketDescriptor()), SOL_SOCKET, SO_LINGER, &now, sizeof now);
    socket.abort();
}

QByteArray everyByte(int size)
{
    QByteArray bytes(size, Qt::Uninitialized);
    for (int i = 0; i < size; ++i)
        bytes[i] = char(i + i / 256);
    return bytes;
}

} // namespace

/// Takes the place of the built-in address.
QString cloudBaseAddress()
{
    return baseAddress;
}

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
        baseAddress = m_cloud->baseAddress();
    }
    void cleanup()
    {
        QVERIFY(RunningThreads::endAll(20000));
        QCOMPARE(Win32Emulator::openHandles(), 0);
    }

    void relaysBytes_data();
    void relaysBytes();
    void labelsTheJob();
    void keepsTheLatestWaitingConnection();
    void changedRecordCountsFromTheNextJob();
    void submitsOneJobAtATime();
    void resetConnectionIsSubmittedOnce();
    void descriptorCannotBeAdopted();
    void addressIsInvalid();
    void stopsListening();
    void acceptsAgainAfterDescriptorsRanOut();
    void serverGoesWhileItsRelayRuns();
    void endOfTheProgramWaitsForNobody();

private:
    std::unique_ptr<CloudService> m_cloud;
};

void CaptureTest::relaysBytes_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("segment");
    QTest::newRow("nothing") << 0 << 0;
    QTest::newRow("one byte") << 1 << 0;
    QTest::newRow("every byte value") << 256 << 0;
    QTest::newRow("100 KiB") << 100 * 1024 << 0;
    QTest::newRow("100 KiB in segments of one byte") << 100 * 1024 << 1;
    QTest::newRow("100 MiB") << 100 * 1024 * 1024 << 0;
}

void CaptureTest::relaysBytes()
{
    QFETCH(int, size);
    QFETCH(int, segment);
    const QByteArray bytes = everyByte(size);
    Capture capture;
    capture.print(bytes, segment);
    QTRY_COMPARE_WITH_TIMEOUT(capture.errors.size(), 1, 30000);
    QCOMPARE(capture.errors.first(), QNetworkReply::NoError);
    QCOMPARE(capture.answers.first().value("jobSize").toInt(-1), size);
    QCOMPARE(capture.answers.first().value("jobneed").toString("?"), QString());
    QVERIFY(!capture.answers.first().value("data").toObject().value("veltraId").toString().isEmpty());

    const QVector<ReceivedJob> jobs = m_cloud->jobs();
    QCOMPARE(jobs.size(), 1);
    QCOMPARE(jobs.first().dsNumber, captureSerial);
    QVERIFY(jobs.first().bytes == bytes);
    QCOMPARE(m_cloud->counts().submissions, 1);
    QCOMPARE(m_cloud->counts().malformed, 0);
}

void CaptureTest::labelsTheJob()
{
    Win32Emulator::addDriver();
    Win32Emulator::addPort("OXCloud001", "127.0.0.1", 8101);
    Win32Emulator::addPrinter("前台", "OXCloud001");
    const Win32Emulator::SubmissionTime time{2026, 11, 21, 17, 5, 9};
    Win32Emulator::addJob("前台", "waiting", "x", time);
    const unsigned job = Win32Emulator::addJob("前台", "报告 %1.docx", "x", time);
    Win32Emulator::setJobStatus(job, printing);
    Win32Emulator::setJobStatus(Win32Emulator::addJob("前台", "also printing", "x", time), printing);

    Capture capture;
    capture.print("x");
    QTRY_COMPARE(capture.answers.size(), 1);
    QCOMPARE(capture.answers.first().value("jobneed").toString(), QString("报告 %1.docx;25:05:09"));

    Win32Emulator::failCalls("OpenPrinterW", 5);
    capture.free();
    capture.print("y");
    QTRY_COMPARE(capture.answers.size(), 2);
    QCOMPARE(capture.answers.last().value("jobneed").toString("?"), QString());
}

void CaptureTest::keepsTheLatestWaitingConnection()
{
    LogRecorder log;
    Capture capture;
    capture.print("first");
    QTRY_COMPARE(capture.answers.size(), 1);
    QVERIFY(log.contains(";port_busy= false"));
    QVERIFY(log.contains("51_PrinterServer PortBusy: true"));

    const auto superseded = capture.open();
    superseded->write("second");
    capture.print("third");
    QTRY_COMPARE_WITH_TIMEOUT(superseded->state(), QAbstractSocket::UnconnectedState, 3000);
    QTRY_VERIFY_WITH_TIMEOUT(log.contains("57_PrinterServer on_BusyTimeout:"), 3000);
    QCOMPARE(log.count(";port_busy= true"), 2);
    QCOMPARE(m_cloud->jobs().size(), 1);

    QElapsedTimer timer;
    timer.start();
    capture.free();
    QTRY_COMPARE_WITH_TIMEOUT(capture.answers.size(), 2, 3000);
    QVERIFY(timer.elapsed() < 2000);
    QCOMPARE(m_cloud->jobs().last().bytes, QByteArray("third"));
    const int retries = log.count("57_PrinterServer");
    capture.free();
    QTest::qWait(1200);
    QCOMPARE(log.count("57_PrinterServer"), retries);
    QCOMPARE(m_cloud->jobs().size(), 2);
}

void CaptureTest::changedRecordCountsFromTheNextJob()
{
    LogRecorder log;
    Capture capture;
    capture.print("a");
    QTRY_COMPARE(capture.answers.size(), 1);
    capture.free();
    DriverInfo changed = captureRecord("后台");
    changed.cloudSn = "FFFF000011112222";
    capture.server->onDriverInfoChanged(changed);
    capture.print("b");
    QTRY_COMPARE(capture.answers.size(), 2);
    QCOMPARE(m_cloud->jobs().last().dsNumber, changed.cloudSn);
    QVERIFY(log.contains("43_PrinterServer driver info change"));
    QTRY_VERIFY(log.contains("\"FFFF000011112222 printComplete\""));
    QVERIFY(log.contains("\"后台, port: " + QString::number(capture.server->serverPort()) + " disconnect\""));
}

/// Also when the printer is freed too early and two relays run at once.
void CaptureTest::submitsOneJobAtATime()
{
    CloudServiceOptions options;
    options.delayMs = 400;
    m_cloud->setOptions(options);
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
    const auto socket = capture.open();
    socket->write("half a job");
    QVERIFY(socket->waitForBytesWritten());
    QTest::qWait(200);
    reset(*socket);
    QTRY_COMPARE(capture.answers.size(), 1);
    QCOMPARE(capture.errors.first(), QNetworkReply::NoError);
    QCOMPARE(m_cloud->jobs().size(), 1);
    QCOMPARE(m_cloud->jobs().first().bytes, QByteArray("half a job"));
}

void CaptureTest::descriptorCannotBeAdopted()
{
    LogRecorder log;
    RelayLink link(nullptr);
    PrinterThread thread(9999, captureRecord(), "label", link.jobLock());
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
    baseAddress = "127.0.0.1:99999999";
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
    QVERIFY(log.contains(";port_busy= true"));
    QCOMPARE(log.count("12_PrinterThread"), 1);
}

void CaptureTest::stopsListening()
{
    LogRecorder log;
    Capture one(captureRecord("one"));
    Capture other(captureRecord("other"));
    QList<PrinterServer *> servers{other.server.get(), one.server.get()};
    one.server->on_PortBusy(true);
    const auto waiting = one.open();
    QTRY_VERIFY(log.contains("24_PrinterServer"));

    one.server->stopListening(servers, captureRecord("removed"));
    QCOMPARE(servers, QList<PrinterServer *>{other.server.get()});
    QVERIFY(!one.server->isListening());
    QVERIFY(other.server->isListening());
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
    const auto socket = capture.open();
    socket->write("late");
    socket->disconnectFromHost();
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    const int lowestFree = dup(0);
    close(lowestFree);
    const rlimit none{rlim_t(lowestFree), before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    QSignalSpy failed(capture.server.get(), &QTcpServer::acceptError);
    QTRY_VERIFY(failed.count() > 0);
    setrlimit(RLIMIT_NOFILE, &before);
    QTRY_COMPARE_WITH_TIMEOUT(capture.answers.size(), 1, 5000);
    QCOMPARE(m_cloud->jobs().first().bytes, QByteArray("late"));
}

void CaptureTest::serverGoesWhileItsRelayRuns()
{
    CloudServiceOptions options;
    options.delayMs = 500;
    m_cloud->setOptions(options);
    LogRecorder log;
    {
        Capture capture;
        capture.print("x");
        QTRY_VERIFY(log.contains("45_Cloud request post to:"));
    }
    QVERIFY(log.contains("18_PrinterServer destruct"));
    QTRY_VERIFY(log.contains("92_PrinterThread"));
    QTRY_VERIFY(log.contains("printComplete"));
    QCOMPARE(m_cloud->jobs().size(), 1);
    QCOMPARE(log.count("17_Cloud destruct"), 1);
}

void CaptureTest::endOfTheProgramWaitsForNobody()
{
    RawHttpPeer silent({PeerAnswer::silence()});
    baseAddress = silent.baseAddress();
    LogRecorder log;
    Capture collecting, submitting;
    const auto open = collecting.open();
    open->write("x");
    for (int i = 0; i < 3; ++i) { // the second and third wait for the job lock
        submitting.print("x");
        QTRY_COMPARE(log.count("12_PrinterThread"), 2 + i);
        submitting.free();
    }
    QTRY_COMPARE(silent.requestCount(), 1);

    QElapsedTimer timer;
    timer.start();
    QVERIFY(RunningThreads::endAll(5000));
    QVERIFY(timer.elapsed() < 1000);
    QCOMPARE(log.count("92_PrinterThread"), 4);
    QCOMPARE(log.count("printComplete"), 4);
    QCOMPARE(log.count("17_Cloud destruct"), 4);
    QCOMPARE(silent.requestCount(), 1);
}

QTEST_GUILESS_MAIN(CaptureTest)
#include "tst_capture.moc"
