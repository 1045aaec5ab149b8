// The card: device state, test page, messages, and its end while a job is on the fixture.

#include "tests/support/windowfixture.h"

#include "src/base/runningthreads.h"
#include "tests/support/timers.h"
#include "src/ui/driveritem.h"
#include "src/ui/qcircleprocess.h"

#include <QElapsedTimer>
#include <QPushButton>
#include <QTcpSocket>
#include <QTest>

#include "emulator/win32/control.h"

using namespace Script;
using namespace std::chrono_literals;

namespace {

bool isTurning(const WindowFixture &fixture, const QString &button)
{
    const QWidget *where = fixture.find<QPushButton>(button);
    if (button == "refreshButton") // its spinner stands beside it
        where = where->parentWidget();
    const auto *spinner = where->findChild<QCircleProcess *>(QString(), Qt::FindDirectChildrenOnly);
    return spinner && spinner->isAnimating();
}

} // namespace

Q_DECLARE_METATYPE(PeerAnswer)

class CardTest : public WindowTestCase
{
    Q_OBJECT

private slots:
    void showsTheDeviceState_data();
    void showsTheDeviceState();
    void asksForTheDeviceStateAgain();
    void refreshSpinnerStops_data();
    void refreshSpinnerStops();
    void givesUpTheOldestDeviceRequest();
    void printsTheTestPage();
    void testPageIsTooLarge();
    void nextJobArrivesWhileAMessageIsOpen();
    void cardGoesWhileItsJobRuns();
    void cardGoesUnderItsOwnMessage();
    void programEndsWhileJobsRun();
};

void CardTest::showsTheDeviceState_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QString>("shown");
    QTest::newRow("online") << QByteArray(R"({"code":0,"data":"16"})") << "在线";
    QTest::newRow("offline") << QByteArray(R"({"code":0,"data":"17"})") << "离线";
    QTest::newRow("unknown") << QByteArray(R"({"code":1001})") << "离线";
    QTest::newRow("unknown too") << QByteArray(R"({"code":4002,"data":"16"})") << "离线";
    QTest::newRow("other code") << QByteArray(R"({"code":7,"data":"16"})") << "";
    QTest::newRow("over 1 MiB") << R"({"code":0})" + QByteArray(1024 * 1024, ' ') << "--";
    QTest::newRow("no JSON") << QByteArray("?") << "在线"; // a missing code reads as 0
}

void CardTest::showsTheDeviceState()
{
    QFETCH(QByteArray, answer);
    QFETCH(QString, shown);
    RawHttpPeer peer(RawHttpPeer::Scripts{{device, {PeerAnswer::ok(answer)}}});
    WindowFixture fixture(peer.baseAddress());
    QTRY_COMPARE(peer.requestCount(device), 1);
    QTRY_VERIFY(peer.requests().first().endsWith("\r\n\r\n{\n    \"dsNumber\": \"0123456789ABCDEF\"\n}\n"));
    QVERIFY(peer.requests().first().toLower().contains("content-type: application/json;charset=utf-8\r\n"));
    QTRY_VERIFY(fixture.log.contains("QJsonObject(") || fixture.log.contains("devStateReceive receive err: "));
    QCOMPARE(fixture.deviceState(), shown);
    QVERIFY(fixture.log.contains("oninit and postReply= "));
    fixture.find<QPushButton>("refreshButton")->click();
    QVERIFY(fixture.log.contains("onDevStateClicked and postReply= "));
    QTRY_COMPARE(peer.requestCount(device), 2);
}

void CardTest::asksForTheDeviceStateAgain()
{
    RawHttpPeer peer(RawHttpPeer::Scripts{
        {device,
         {PeerAnswer::ok("{\"code\":7}"), PeerAnswer::ok("{\"code\":1001}"), online, PeerAnswer::http("500", "")}}});
    WindowFixture fixture(peer.baseAddress());
    QTRY_COMPARE(fixture.log.count("QJsonObject("), 1);
    QVERIFY(fire(fixture.card(), 5s)); // another code leaves the first interval
    QTRY_COMPARE(fixture.deviceState(), QString("离线"));
    QVERIFY(fire(fixture.card(), 10s));
    QTRY_COMPARE(fixture.deviceState(), QString("在线"));
    QVERIFY(fire(fixture.card(), 5min));
    QTRY_COMPARE(fixture.deviceState(), QString("--"));
    QVERIFY(fire(fixture.card(), 5min)); // kept
    QTRY_COMPARE(peer.requestCount(device), 5);
}

void CardTest::refreshSpinnerStops_data()
{
    QTest::addColumn<PeerAnswer>("answer");
    QTest::newRow("on an answer") << online;
    QTest::newRow("on an error") << PeerAnswer::http("500 Error", "");
}

void CardTest::refreshSpinnerStops()
{
    QFETCH(PeerAnswer, answer);
    RawHttpPeer peer(RawHttpPeer::Scripts{{device, {answer}}});
    WindowFixture fixture(peer.baseAddress());
    QTRY_VERIFY(!fixture.deviceState().isEmpty());
    QVERIFY(!isTurning(fixture, "refreshButton"));
    fixture.find<QPushButton>("refreshButton")->click();
    QVERIFY(isTurning(fixture, "refreshButton"));
    QTRY_VERIFY(!isTurning(fixture, "refreshButton"));
    QCOMPARE(peer.requestCount(device), 2);
}

/// Seven requests without an answer: the oldest makes room for the seventh and leaves the card as it is.
void CardTest::givesUpTheOldestDeviceRequest()
{
    QVector<PeerAnswer> answers(7, PeerAnswer::silence());
    answers.append(online);
    RawHttpPeer peer(RawHttpPeer::Scripts{{device, answers}});
    WindowFixture fixture(peer.baseAddress());
    auto *refresh = fixture.find<QPushButton>("refreshButton");
    for (int asked = 1; asked < 7; ++asked) {
        QTRY_COMPARE(peer.requestCount(device), asked);
        refresh->click();
    }
    QTRY_COMPARE_WITH_TIMEOUT(peer.requestCount(device), 7, 3000); // before the card asks by itself
    QCOMPARE(fixture.deviceState(), QString());
    QVERIFY(isTurning(fixture, "refreshButton"));
    refresh->click();
    QTRY_COMPARE(fixture.deviceState(), QString("在线"));
    QVERIFY(!isTurning(fixture, "refreshButton"));
}

void CardTest::printsTheTestPage()
{
    WindowFixture fixture(m_good->baseAddress());
    fixture.find<QPushButton>("testButton")->click();
    QVERIFY(isTurning(fixture, "testButton"));
    QTRY_VERIFY(fixture.log.contains("430_CPrinter \"前台\" PrintTestPage"));
    fixture.print("测试页", "the page");
    QCOMPARE(fixture.records(1), QStringList("测试页;09:02:03;打印成功;8"));
    QCOMPARE(fixture.messages(), QStringList("打印成功"));
    QVERIFY(!isTurning(fixture, "testButton"));
}

/// The spinner goes on turning and no message comes, although it is a test page.
void CardTest::testPageIsTooLarge()
{
    RawHttpPeer peer({{submission, {PeerAnswer::http("413 Payload Too Large", "{}")}}, {device, {online}}});
    WindowFixture fixture(peer.baseAddress());
    fixture.find<QPushButton>("testButton")->click();
    fixture.print("测试页");
    QCOMPARE(fixture.records(1), QStringList("测试页;09:02:03;打印失败:打印文件过大;5"));
    QTRY_VERIFY(fixture.log.contains("Network error 299"));
    QVERIFY(isTurning(fixture, "testButton"));
    QVERIFY(fixture.messages().isEmpty());
}

/// The journal gets the job that the message was about.
void CardTest::nextJobArrivesWhileAMessageIsOpen()
{
    WindowFixture fixture(m_good->baseAddress());
    fixture.whileMessageIsOpen([&] {
        fixture.print("second", "longer bytes");
        QCOMPARE(fixture.records(1), QStringList("second;09:02:03;打印成功;12"));
    });
    fixture.print("测试页");
    QCOMPARE(fixture.records(2).value(1), QString("测试页;09:02:03;打印成功;5"));
    QCOMPARE(fixture.messages().size(), 1);
    QVERIFY(fixture.takesTheNextJob(m_good->baseAddress()));
}

void CardTest::cardGoesWhileItsJobRuns()
{
    CloudServiceOptions options;
    options.delayMs = 300;
    options.pollsBeforeFinal = 50;
    m_good->setOptions(options);
    for (const char *line : {"12_PrinterThread init", "45_Cloud request", "25_StateThread", "继续查询状态"}) {
        WindowFixture fixture(m_good->baseAddress());
        fixture.print("a");
        QTRY_VERIFY(fixture.log.contains(line));
        delete fixture.card();
        QTRY_VERIFY(fixture.log.contains("printComplete"));
        QTest::qWait(400);
    }
}

void CardTest::cardGoesUnderItsOwnMessage()
{
    const QByteArray bareText = R"({"data":"任务不存在"})";
    for (const PeerAnswer &answer : {printed, PeerAnswer::ok(bareText), PeerAnswer::http("500 Error", "")}) {
        RawHttpPeer peer({{submission, {accepted}}, {result, {answer}}, {device, {online}}});
        WindowFixture fixture(peer.baseAddress());
        fixture.whileMessageIsOpen([&] { delete fixture.card(); });
        fixture.print("测试页");
        QCOMPARE(fixture.records(1).size(), 1);
        QVERIFY(!fixture.card());
    }
}

/// As main() does it: the window goes first, then what still runs is ended, in the middle of whatever it does.
void CardTest::programEndsWhileJobsRun()
{
    RawHttpPeer peer({{submission, {PeerAnswer::silence(), accepted}},
                      {result, {status("正在打印")}},
                      {device, {PeerAnswer::silence()}}});
    QTcpSocket collecting;
    QElapsedTimer timer;
    {
        WindowFixture fixture(peer.baseAddress(), 3);
        fixture.print("submitting", "x", 1);
        QTRY_COMPARE(peer.requestCount(submission), 1);
        fixture.print("polling", "x", 0);
        QTRY_VERIFY(fixture.log.contains("继续查询状态"));
        collecting.connectToHost(QHostAddress::LocalHost, fixture.port(2));
        collecting.write("x");
        QTRY_COMPARE(fixture.log.count("12_PrinterThread init"), 3);
        fixture.find<QPushButton>("testButton")->click();
        timer.start();
    }
    QVERIFY(RunningThreads::endAll(std::chrono::seconds(5)));
    QVERIFY(timer.elapsed() < 3000);
}

QTEST_MAIN(CardTest)
#include "tst_card.moc"
