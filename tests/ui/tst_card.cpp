// The card: device state, test page, messages, and its end while a job is on the road.

#include "tests/ui/roadfixture.h"

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

bool isTurning(const Road &road, const QString &button)
{
    const QWidget *where = road.find<QPushButton>(button);
    if (button == "refreshButton") // its spinner stands beside it
        where = where->parentWidget();
    const auto *spinner = where->findChild<QCircleProcess *>(QString(), Qt::FindDirectChildrenOnly);
    return spinner && spinner->isAnimating();
}

} // namespace

Q_DECLARE_METATYPE(PeerAnswer)

class CardTest : public RoadTestCase
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
    void cardGoesWhileItsJobIsOnTheRoad();
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
    Road road(peer.baseAddress());
    QTRY_COMPARE(peer.requestCount(device), 1);
    QTRY_VERIFY(peer.requests().first().endsWith("\r\n\r\n{\n    \"dsNumber\": \"0123456789ABCDEF\"\n}\n"));
    QVERIFY(peer.requests().first().toLower().contains("content-type: application/json;charset=utf-8\r\n"));
    QTRY_VERIFY(road.log.contains("QJsonObject(") || road.log.contains("devStateReceive receive err: "));
    QCOMPARE(road.deviceState(), shown);
    QVERIFY(road.log.contains("oninit and postReply= "));
    road.find<QPushButton>("refreshButton")->click();
    QVERIFY(road.log.contains("onDevStateClicked and postReply= "));
    QTRY_COMPARE(peer.requestCount(device), 2);
}

void CardTest::asksForTheDeviceStateAgain()
{
    RawHttpPeer peer(RawHttpPeer::Scripts{
        {device,
         {PeerAnswer::ok("{\"code\":7}"), PeerAnswer::ok("{\"code\":1001}"), online, PeerAnswer::http("500", "")}}});
    Road road(peer.baseAddress());
    QTRY_COMPARE(road.log.count("QJsonObject("), 1);
    QVERIFY(fire(road.card(), 5s)); // another code leaves the first interval
    QTRY_COMPARE(road.deviceState(), QString("离线"));
    QVERIFY(fire(road.card(), 10s));
    QTRY_COMPARE(road.deviceState(), QString("在线"));
    QVERIFY(fire(road.card(), 5min));
    QTRY_COMPARE(road.deviceState(), QString("--"));
    QVERIFY(fire(road.card(), 5min)); // kept
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
    Road road(peer.baseAddress());
    QTRY_VERIFY(!road.deviceState().isEmpty());
    QVERIFY(!isTurning(road, "refreshButton"));
    road.find<QPushButton>("refreshButton")->click();
    QVERIFY(isTurning(road, "refreshButton"));
    QTRY_VERIFY(!isTurning(road, "refreshButton"));
    QCOMPARE(peer.requestCount(device), 2);
}

/// Seven requests without an answer: the oldest makes room for the seventh and leaves the card as it is.
void CardTest::givesUpTheOldestDeviceRequest()
{
    QVector<PeerAnswer> answers(7, PeerAnswer::silence());
    answers.append(online);
    RawHttpPeer peer(RawHttpPeer::Scripts{{device, answers}});
    Road road(peer.baseAddress());
    auto *refresh = road.find<QPushButton>("refreshButton");
    for (int asked = 1; asked < 7; ++asked) {
        QTRY_COMPARE(peer.requestCount(device), asked);
        refresh->click();
    }
    QTRY_COMPARE_WITH_TIMEOUT(peer.requestCount(device), 7, 3000); // before the card asks by itself
    QCOMPARE(road.deviceState(), QString());
    QVERIFY(isTurning(road, "refreshButton"));
    refresh->click();
    QTRY_COMPARE(road.deviceState(), QString("在线"));
    QVERIFY(!isTurning(road, "refreshButton"));
}

void CardTest::printsTheTestPage()
{
    Road road(m_good->baseAddress());
    road.find<QPushButton>("testButton")->click();
    QVERIFY(isTurning(road, "testButton"));
    QTRY_VERIFY(road.log.contains("430_CPrinter \"前台\" PrintTestPage"));
    road.print("测试页", "the page");
    QCOMPARE(road.records(1), QStringList("测试页;09:02:03;打印成功;8"));
    QCOMPARE(road.messages(), QStringList("打印成功"));
    QVERIFY(!isTurning(road, "testButton"));
}

/// The spinner goes on turning and no message comes, although it is a test page.
void CardTest::testPageIsTooLarge()
{
    RawHttpPeer peer({{submission, {PeerAnswer::http("413 Payload Too Large", "{}")}}, {device, {online}}});
    Road road(peer.baseAddress());
    road.find<QPushButton>("testButton")->click();
    road.print("测试页");
    QCOMPARE(road.records(1), QStringList("测试页;09:02:03;打印失败:打印文件过大;5"));
    QTRY_VERIFY(road.log.contains("Network error 299"));
    QVERIFY(isTurning(road, "testButton"));
    QVERIFY(road.messages().isEmpty());
}

/// The journal gets the job that the message was about.
void CardTest::nextJobArrivesWhileAMessageIsOpen()
{
    Road road(m_good->baseAddress());
    road.whileMessageIsOpen([&] {
        road.print("second", "longer bytes");
        QCOMPARE(road.records(1), QStringList("second;09:02:03;打印成功;12"));
    });
    road.print("测试页");
    QCOMPARE(road.records(2).value(1), QString("测试页;09:02:03;打印成功;5"));
    QCOMPARE(road.messages().size(), 1);
    QVERIFY(road.takesTheNextJob(m_good->baseAddress()));
}

void CardTest::cardGoesWhileItsJobIsOnTheRoad()
{
    CloudServiceOptions options;
    options.delayMs = 300;
    options.pollsBeforeFinal = 50;
    m_good->setOptions(options);
    for (const char *line : {"12_PrinterThread init", "45_Cloud request", "25_StateThread", "继续查询状态"}) {
        Road road(m_good->baseAddress());
        road.print("a");
        QTRY_VERIFY(road.log.contains(line));
        delete road.card();
        QTRY_VERIFY(road.log.contains("printComplete"));
        QTest::qWait(400);
    }
}

void CardTest::cardGoesUnderItsOwnMessage()
{
    const QByteArray bareText = R"({"data":"任务不存在"})";
    for (const PeerAnswer &answer : {printed, PeerAnswer::ok(bareText), PeerAnswer::http("500 Error", "")}) {
        RawHttpPeer peer({{submission, {accepted}}, {result, {answer}}, {device, {online}}});
        Road road(peer.baseAddress());
        road.whileMessageIsOpen([&] { delete road.card(); });
        road.print("测试页");
        QCOMPARE(road.records(1).size(), 1);
        QVERIFY(!road.card());
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
        Road road(peer.baseAddress(), 3);
        road.print("submitting", "x", 1);
        QTRY_COMPARE(peer.requestCount(submission), 1);
        road.print("polling", "x", 0);
        QTRY_VERIFY(road.log.contains("继续查询状态"));
        collecting.connectToHost(QHostAddress::LocalHost, road.port(2));
        collecting.write("x");
        QTRY_COMPARE(road.log.count("12_PrinterThread init"), 3);
        road.find<QPushButton>("testButton")->click();
        timer.start();
    }
    QVERIFY(RunningThreads::endAll(std::chrono::seconds(5)));
    QVERIFY(timer.elapsed() < 3000);
}

QTEST_MAIN(CardTest)
#include "tst_card.moc"
