// What becomes of a job that the cloud has taken.

#include "tests/support/windowfixture.h"

#include <QTest>

#include "emulator/win32/control.h"

using namespace Script;

Q_DECLARE_METATYPE(QVector<PeerAnswer>)

class ResultTest : public WindowTestCase
{
    Q_OBJECT

private slots:
    void resultGoesWrong_data();
    void resultGoesWrong();
    void asksOnceAtATime();
};

void ResultTest::resultGoesWrong_data()
{
    QTest::addColumn<QVector<PeerAnswer>>("answers");
    QTest::addColumn<QString>("journalled"); // in the journal; empty: no record
    QTest::addColumn<QString>("message");
    QTest::addColumn<QString>("line");
    using Answers = QVector<PeerAnswer>;
    const QString ended = "显示状态，任务完成";
    const QString network = "打印失败:网络访问异常";
    QTest::newRow("printed in the end") << Answers{status("当前正在打印中"), printed} << "打印成功"
                                        << "打印成功"
                                        << "继续查询状态";
    QTest::newRow("offline") << Answers{status("离线")} << "打印失败:设备离线"
                             << "离线" << ended;
    QTest::newRow("other text") << Answers{status("缺纸 %1")} << "打印失败:缺纸 %1"
                                << "缺纸 %1" << ended;
    QTest::newRow("other printer") << Answers{PeerAnswer::ok(R"({"data":{"FFFF":"打印成功"}})")} << "打印失败:"
                                   << "" << ended;
    QTest::newRow("bare text") << Answers{PeerAnswer::ok(R"({"data":"任务不存在"})")} << "任务不存在"
                               << "任务不存在"
                               << "PortBusy: false";
    QTest::newRow("no data") << Answers{PeerAnswer::ok(R"({"code":1})")} << ""
                             << ""
                             << "PortBusy: false";
    QTest::newRow("500 with JSON") << Answers{PeerAnswer::http("500 Error",
                                                               R"({"data":{"0123456789ABCDEF":"打印成功"}})")}
                                   << network << network + "!"
                                   << "Network error 401";
    QTest::newRow("cut") << Answers{cut("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\n{")} << network << network + "!"
                         << "Network error ";
    QTest::newRow("over 1 MiB") << Answers{padded(R"({"data":"?"})", largestAnswer + 1)} << network << network + "!"
                                << "Network error 5";
    QTest::newRow("not JSON") << Answers{PeerAnswer::ok("?")} << QString() << QString() << "Invalid receive json";
    QTest::newRow("an array") << Answers{PeerAnswer::ok("[]")} << QString() << QString() << "Invalid receive json";
}

void ResultTest::resultGoesWrong()
{
    QFETCH(QVector<PeerAnswer>, answers);
    QFETCH(QString, journalled);
    QFETCH(QString, message);
    QFETCH(QString, line);
    RawHttpPeer peer({{submission, {accepted}}, {result, answers}, {device, {online}}});
    WindowFixture fixture(peer.baseAddress());
    fixture.print("测试页");
    QTRY_VERIFY2(fixture.log.contains(line), qPrintable(fixture.log.lines().join('\n')));
    if (!journalled.isNull()) {
        QCOMPARE(fixture.records(1), QStringList("测试页;09:02:03;" + journalled + ";5"));
        QCOMPARE(fixture.messages(), QStringList(message));
    }
    QCOMPARE(peer.requestCount(submission), 1);
    QVERIFY(fixture.takesTheNextJob(m_good->baseAddress()));
    QCOMPARE(fixture.records(0).size(), journalled.isNull() ? 1 : 2);
}

void ResultTest::asksOnceAtATime()
{
    PeerAnswer slow = printed;
    slow.delayMs = 2500; // two ticks of the result timer
    RawHttpPeer peer({{submission, {accepted}}, {result, {slow}}, {device, {online}}});
    WindowFixture fixture(peer.baseAddress());
    fixture.print("a");
    QCOMPARE(fixture.records(1).size(), 1);
    QTest::qWait(1200);
    QCOMPARE(peer.requestCount(result), 1);
}

QTEST_MAIN(ResultTest)
#include "tst_result.moc"
