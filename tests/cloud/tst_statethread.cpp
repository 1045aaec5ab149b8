#include "cloud/statethread.h"
#include "support/rawhttppeer.h"

#include <QJsonObject>
#include <QtTest>

class TestStateThread : public QObject
{
    Q_OBJECT
private slots:
    void answers_data();
    void answers();
    void asksAgain();
    void identifierStaysAsItIs();
};

Q_DECLARE_METATYPE(PeerAnswer)

namespace {

constexpr int timeoutMs = 20000;

} // namespace

void TestStateThread::answers_data()
{
    QTest::addColumn<PeerAnswer>("answer");
    QTest::addColumn<int>("error");
    QTest::addColumn<QJsonDocument>("jd");

    const QByteArray printing = R"({"data":{"0123456789ABCDEF":"正在打印"}})";
    const QJsonDocument none;
    const auto closing = [](const QByteArray &bytes) { return PeerAnswer{bytes}; };

    QTest::newRow("object") << PeerAnswer::ok(printing) << 0 << QJsonDocument::fromJson(printing);
    QTest::newRow("array") << PeerAnswer::ok("[]") << 0 << QJsonDocument::fromJson("[]");
    QTest::newRow("no JSON") << PeerAnswer::ok("<html>") << 0 << none;
    QTest::newRow("500 with JSON") << PeerAnswer::http("500 Internal Server Error", printing)
                                   << int(QNetworkReply::InternalServerError) << none;
    QTest::newRow("413") << PeerAnswer::http("413 Payload Too Large", printing)
                         << int(QNetworkReply::UnknownContentError) << none;
    // Here, unlike for a job, the network layer does ask again; it reports once all the same.
    QTest::newRow("cut before the answer") << closing("") << int(QNetworkReply::RemoteHostClosedError) << none;
    QTest::newRow("cut in a body of known length") << closing("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n{\"data\"")
                                                   << int(QNetworkReply::RemoteHostClosedError) << none;
}

void TestStateThread::answers()
{
    QFETCH(PeerAnswer, answer);
    RawHttpPeer peer({answer});
    StateThread poller(peer.baseAddress(), QStringLiteral("V1"));
    QSignalSpy results(&poller, &StateThread::stateResule);
    poller.request();
    QTRY_COMPARE_WITH_TIMEOUT(results.size(), 1, timeoutMs);
    QTEST(int(results[0][0].value<QNetworkReply::NetworkError>()), "error");
    QTEST(results[0][1].toJsonDocument(), "jd");
    // Its reply goes, the poller stays and says nothing more.
    QTRY_VERIFY(!poller.findChild<QNetworkReply *>());
    QCOMPARE(results.size(), 1);
}

void TestStateThread::asksAgain()
{
    RawHttpPeer peer({PeerAnswer::ok(R"({"data":"一"})"), PeerAnswer::http("404 Not Found", ""),
                      PeerAnswer::ok(R"({"data":"二"})")});
    StateThread poller(peer.baseAddress(), QStringLiteral("V1"));
    QSignalSpy results(&poller, &StateThread::stateResule);
    for (int count = 1; count <= 3; ++count) {
        if (count == 1)
            QTest::ignoreMessage(QtDebugMsg, "\"36_StateThread status code is 200\"");
        poller.request();
        QTRY_COMPARE_WITH_TIMEOUT(results.size(), count, timeoutMs);
        QCOMPARE(peer.requestCount(), count);
    }
    QCOMPARE(results[1][0].value<QNetworkReply::NetworkError>(), QNetworkReply::ContentNotFoundError);
    QCOMPARE(results[2][1].toJsonDocument().object().value("data").toString(), QStringLiteral("二"));
}

void TestStateThread::identifierStaysAsItIs()
{
    RawHttpPeer peer({PeerAnswer::ok("{}")});
    StateThread poller(peer.baseAddress(), QStringLiteral("a/b?c=1&d%2F"));
    QSignalSpy results(&poller, &StateThread::stateResule);
    poller.request();
    QTRY_COMPARE_WITH_TIMEOUT(results.size(), 1, timeoutMs);
    QVERIFY(peer.requests().value(0).startsWith("GET /v1.1/printResult?veltraId=a/b?c=1&d%2F HTTP/1.1\r\n"));
}

QTEST_GUILESS_MAIN(TestStateThread)
#include "tst_statethread.moc"
