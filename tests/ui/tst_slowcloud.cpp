// A cloud that takes its time; all that waits long does so at once.

#include "tests/support/windowfixture.h"

#include "src/base/runningthreads.h"

#include <QElapsedTimer>
#include <QTest>

using namespace Script;

class SlowCloudTest : public QObject
{
    Q_OBJECT

private slots:
    void waitsAsLongAsItShould();
};

void SlowCloudTest::waitsAsLongAsItShould()
{
    PeerAnswer late = PeerAnswer::ok(R"({"data":{"veltraId":"LATE"}})");
    late.delayMs = 14000;
    const PeerAnswer taken = PeerAnswer::ok(R"({"data":{"veltraId":"LONG"}})");
    const auto status = [](int printer, const QByteArray &text) {
        return PeerAnswer::ok("{\"data\":{\"" + WindowFixture::serial(printer).toLatin1() + "\":\"" + text + "\"}}");
    };
    QVector<PeerAnswer> polls(30, status(2, "正在打印"));
    polls.append(status(2, "打印成功"));
    RawHttpPeer peer({{submission, {PeerAnswer::silence(), late, taken, accepted}},
                      {result + "?veltraId=LATE", {status(1, "打印成功")}},
                      {result + "?veltraId=LONG", polls},
                      {result + "?veltraId=V1", {printed}},
                      {device, {online}}});
    WindowFixture fixture(peer.baseAddress(), 3);
    QElapsedTimer timer;
    timer.start();
    fixture.print("silence", "s", 0);
    QTRY_COMPARE(peer.requestCount(submission), 1);
    fixture.print("late", "la", 1);
    QTRY_COMPARE(peer.requestCount(submission), 2);
    fixture.print("long", "lon", 2);

    QCOMPARE(fixture.records(1, 17000, 0), QStringList("silence;09:02:03;打印失败:网络访问异常;1"));
    QVERIFY2(timer.elapsed() > 14900 && timer.elapsed() < 16500, "given up after fifteen seconds");
    QCOMPARE(fixture.log.count("\"Timeout occur\"") + fixture.log.count("Timeout occur"), 1);
    QVERIFY(fixture.log.contains("Network error 5"));
    fixture.print("after the silence", "a", 0);
    QCOMPARE(fixture.records(1, 5000, 1), QStringList("late;09:02:03;打印成功;2"));
    QCOMPARE(fixture.records(2, 5000, 0).last(), QString("after the silence;09:02:03;打印成功;1"));
    QCOMPARE(fixture.records(1, 40000, 2), QStringList("long;09:02:03;打印成功;3"));
    QVERIFY2(timer.elapsed() > 30000, "asked once a second");
    QCOMPARE(peer.requestCount(result + "?veltraId=LONG"), 31);
    QCOMPARE(peer.requestCount(submission), 4);
    QVERIFY(RunningThreads::endAll(std::chrono::seconds(20)));
}

QTEST_MAIN(SlowCloudTest)
#include "tst_slowcloud.moc"
