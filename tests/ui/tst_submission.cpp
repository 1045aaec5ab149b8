// What becomes of a job when its submission goes well and when it does not.

#include "tests/support/windowfixture.h"

#include <QTest>

#include "emulator/win32/control.h"

using namespace Script;

Q_DECLARE_METATYPE(PeerAnswer)

class SubmissionTest : public WindowTestCase
{
    Q_OBJECT

private slots:
    void followsAJobToItsEnd();
    void submissionGoesWrong_data();
    void submissionGoesWrong();
    void cutInsideABodyOfUnknownLength();
    void cloudIsNotThere();
};

void SubmissionTest::followsAJobToItsEnd()
{
    CloudServiceOptions options;
    options.pollsBeforeFinal = 2;
    m_good->setOptions(options);
    WindowFixture fixture(m_good->baseAddress());
    fixture.print("通知 %1.pdf", QByteArray(1000, 'x'));
    QCOMPARE(fixture.records(1), QStringList("通知 %1.pdf;09:02:03;打印成功;1000"));
    QCOMPARE(m_good->counts().results, 3);
    QCOMPARE(m_good->jobs().first().dsNumber, WindowFixture::serial());
    QCOMPARE(fixture.log.count("继续查询状态"), 2);
    QCOMPARE(fixture.log.count("显示状态，任务完成"), 1);
    QCOMPARE(fixture.log.count("16_StateThread destruct"), 1);
    QVERIFY(fixture.messages().isEmpty());
    QVERIFY(fixture.takesTheNextJob(m_good->baseAddress()));
}

/// Whatever becomes of a submission: it is made once, ends in the journal, and the next job goes through.
void SubmissionTest::submissionGoesWrong_data()
{
    QTest::addColumn<PeerAnswer>("answer");
    QTest::addColumn<QString>("journalled");
    QTest::addColumn<QString>("line");
    const QString network = "打印失败:网络访问异常";
    QTest::newRow("413") << PeerAnswer::http("413 Payload Too Large", "{}") << "打印失败:打印文件过大"
                         << "Network error 299";
    QTest::newRow("500 with JSON") << PeerAnswer::http("500 Internal Server Error", R"({"data":{"veltraId":"V1"}})")
                                   << network << "Network error 401";
    QTest::newRow("404") << PeerAnswer::http("404 Not Found", "") << network << "Network error 203";
    QTest::newRow("cut before the headers") << cut("") << network << "Network error ";
    QTest::newRow("cut inside the headers")
        << cut("HTTP/1.1 200 OK\r\nContent-Type: app") << network << "Network error ";
    QTest::newRow("cut inside a body of known length")
        << cut("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n{\"data\":") << network << "Network error ";
    // These are taken for answers: the card asks for the result of a job without a number.
    const QString printed = "打印成功";
    QTest::newRow("not JSON") << PeerAnswer::ok("<html>") << printed << "veltraId=\")";
    QTest::newRow("an array") << PeerAnswer::ok("[]") << printed << "veltraId=\")";
    QTest::newRow("an empty object") << PeerAnswer::ok("{}") << printed << "veltraId=\")";
    const QByteArray json = R"({"data":{"veltraId":"V1"}})";
    QTest::newRow("1 MiB") << padded(json, largestAnswer) << printed << "veltraId=V1\")";
    QTest::newRow("over 1 MiB") << padded(json, largestAnswer + 1) << network << "Network error 5";
    const PeerAnswer chunked{"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n400000\r\n" +
                                 QByteArray(4 * largestAnswer, ' '),
                             PeerAnswer::KeepOpen};
    QTest::newRow("endless, in chunks") << chunked << network << "Network error 5";
    QTest::newRow("compressed") << PeerAnswer{"HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\n\r\n" + json} << network
                                << "Network error 5";
    QTest::newRow("no veltraId") << PeerAnswer::ok(R"({"data":{}})") << printed << "veltraId=\")";
}

void SubmissionTest::submissionGoesWrong()
{
    QFETCH(PeerAnswer, answer);
    QFETCH(QString, journalled);
    QFETCH(QString, line);
    RawHttpPeer peer({{submission, {answer}}, {result, {printed}}, {device, {online}}});
    WindowFixture fixture(peer.baseAddress());
    fixture.print("a");
    QCOMPARE(fixture.records(1), QStringList("a;09:02:03;" + journalled + ";5"));
    QVERIFY2(fixture.log.contains(line), qPrintable(fixture.log.lines().join('\n')));
    QCOMPARE(peer.requestCount(submission), 1);
    QVERIFY(fixture.messages().isEmpty());
    QVERIFY(fixture.takesTheNextJob(m_good->baseAddress()));
    QCOMPARE(peer.requestCount(submission), 1);
}

/// Where the end of the connection is the end of the answer, Qt takes either view of it.
void SubmissionTest::cutInsideABodyOfUnknownLength()
{
    const PeerAnswer answer = cut("HTTP/1.1 200 OK\r\n\r\n{\"data\":");
    RawHttpPeer peer({{submission, {answer}}, {result, {printed}}, {device, {online}}});
    WindowFixture fixture(peer.baseAddress());
    fixture.print("a");
    const QStringList records = fixture.records(1);
    QCOMPARE(records.size(), 1);
    QVERIFY(records.first().contains("打印成功") || records.first().contains("网络访问异常"));
    QCOMPARE(peer.requestCount(submission), 1);
    QVERIFY(fixture.takesTheNextJob(m_good->baseAddress()));
}

void SubmissionTest::cloudIsNotThere()
{
    WindowFixture fixture("http://127.0.0.1:9"); // the discard port, where nobody listens
    fixture.print("测试页");
    QCOMPARE(fixture.records(1), QStringList("测试页;09:02:03;打印失败:网络访问异常;5"));
    QCOMPARE(fixture.messages(), QStringList("打印失败:网络访问异常!"));
    QVERIFY(fixture.log.contains("Network error 1"));
    QTRY_COMPARE(fixture.deviceState(), QString("--"));
    QVERIFY(fixture.log.contains("devStateReceive receive err: "));
    QVERIFY(fixture.takesTheNextJob(m_good->baseAddress()));
}

QTEST_MAIN(SubmissionTest)
#include "tst_submission.moc"
