#include "cloud/cloud.h"
#include "cloud/protocol.h"
#include "support/rawhttppeer.h"

#include <QJsonObject>
#include <QPointer>
#include <QTcpServer>
#include <QtTest>

#include <functional>

Q_DECLARE_METATYPE(PeerAnswer)

class TestCloud : public QObject
{
    Q_OBJECT
private slots:
    void request();
    void answers_data();
    void answers();
    void cutInUpload();
    void answerEndedByClose();
    void refused();
    void abort_data();
    void abort();
    void invalidAddress();
    void deletedDuringUpload();
};

namespace {

constexpr int timeoutMs = 20000;
const QString label = QStringLiteral("合同 %1;2026-11-20 10:11:12");

DriverInfo record()
{
    DriverInfo info;
    info.printerName = QStringLiteral("财务 %1");
    info.cloudSn = QStringLiteral("0123456789ABCDEF");
    return info;
}

/// More than the sockets' buffers hold, so that a cut comes while the job is still being sent.
QByteArray largeJob()
{
    return QByteArray(12 * 1024 * 1024, '\x1b');
}

/// What one client reported until it was gone.
struct Submission
{
    int signalCount = 0;
    QNetworkReply::NetworkError error = QNetworkReply::NoError;
    QJsonDocument jd;
    bool clientGone = false;
};

/// Submits a job and lets `meanwhile` act once the post is on its way.
Submission submit(
    const QString &baseAddress, const QByteArray &job, const std::function<void(Cloud *)> &meanwhile = [](Cloud *) {})
{
    Submission submission;
    QPointer<Cloud> client = new Cloud(baseAddress + CloudProtocol::submissionPath, record());
    // Queued, as the card receives it.
    QObject receiver;
    QObject::connect(
        client, &Cloud::cloudResule, &receiver,
        [&submission](QNetworkReply::NetworkError error, const QJsonDocument &jd) {
            ++submission.signalCount;
            submission.error = error;
            submission.jd = jd;
        },
        Qt::QueuedConnection);
    if (!client->post(job, job.size(), label)) {
        delete client;
        return submission;
    }
    meanwhile(client);
    // The spy's wait runs a real event loop; QTest::qWaitFor sleeps between rounds and would stretch a large upload.
    if (client)
        QSignalSpy(client, &QObject::destroyed).wait(timeoutMs);
    submission.clientGone = client.isNull();
    QCoreApplication::processEvents();
    return submission;
}

QJsonObject withJob(QJsonObject object, const QByteArray &job)
{
    object.insert("jobneed", label);
    object.insert("jobSize", job.size());
    return object;
}

QString refusingAddress()
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    return QStringLiteral("http://127.0.0.1:%1").arg(server.serverPort());
}

} // namespace

void TestCloud::request()
{
    const QByteArray job("\0\x1b%-12345X\xff", 11);
    RawHttpPeer peer({PeerAnswer::ok(R"({"code":0,"data":{"veltraId":"V1"}})")});
    // A name that looks like a placeholder must come out as it is.
    QTest::ignoreMessage(QtDebugMsg, "\"56_Cloud 财务 %1 0123456789ABCDEF reply no error,status code is 200\"");
    QTest::ignoreMessage(QtDebugMsg, "17_Cloud destruct");
    const Submission submission = submit(peer.baseAddress(), job);
    QCOMPARE(submission.error, QNetworkReply::NoError);
    QCOMPARE(CloudProtocol::veltraId(submission.jd), QStringLiteral("V1"));

    const QByteArray request = peer.requests().value(0);
    QVERIFY(request.startsWith("POST /v1.1/transparentPrinting HTTP/1.1\r\n"));
    QVERIFY(request.contains("\r\nContent-Type: application/json;charset=UTF-8\r\n"));
    QCOMPARE(request.mid(request.indexOf("\r\n\r\n") + 4), CloudProtocol::submissionBody(record().cloudSn, job));
}

void TestCloud::answers_data()
{
    QTest::addColumn<PeerAnswer>("answer");
    QTest::addColumn<QByteArray>("job");
    QTest::addColumn<int>("error");
    QTest::addColumn<QByteArray>("json");

    const QByteArray small = "job";
    const QByteArray object = R"({"data":{"veltraId":"V1"}})";
    const auto closing = [](const QByteArray &bytes) { return PeerAnswer{bytes}; };
    const auto status = [&object](const QByteArray &line) { return PeerAnswer::http(line, object); };

    QTest::newRow("object") << PeerAnswer::ok(object) << small << 0 << object;
    QTest::newRow("empty job") << PeerAnswer::ok(object) << QByteArray() << 0 << object;
    QTest::newRow("large job") << PeerAnswer::ok(object) << largeJob() << 0 << object;
    QTest::newRow("own members replaced")
        << PeerAnswer::ok(R"({"jobSize":"7","jobneed":1,"code":3})") << small << 0 << QByteArray(R"({"code":3})");
    QTest::newRow("empty object") << PeerAnswer::ok("{}") << small << 0 << QByteArray("{}");
    QTest::newRow("array") << PeerAnswer::ok("[]") << small << 0 << QByteArray("{}");
    QTest::newRow("no JSON") << PeerAnswer::ok("<html>") << small << 0 << QByteArray("{}");
    QTest::newRow("no body") << PeerAnswer::ok("") << small << 0 << QByteArray("{}");

    QTest::newRow("413") << status("413 Payload Too Large") << small << int(QNetworkReply::UnknownContentError)
                         << QByteArray("{}");
    QTest::newRow("404") << status("404 Not Found") << small << int(QNetworkReply::ContentNotFoundError)
                         << QByteArray("{}");
    QTest::newRow("500") << status("500 Internal Server Error") << small << int(QNetworkReply::InternalServerError)
                         << QByteArray("{}");

    // The network layer gives the job up where it would otherwise send it again.
    QTest::newRow("cut before the answer")
        << closing("") << small << int(QNetworkReply::ContentReSendError) << QByteArray("{}");
    QTest::newRow("cut in the header") << closing("HTTP/1.1 200 OK\r\nContent-") << small
                                       << int(QNetworkReply::ContentReSendError) << QByteArray("{}");
    QTest::newRow("cut in a body of known length")
        << closing("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n{\"data\"") << small
        << int(QNetworkReply::RemoteHostClosedError) << QByteArray("{}");
}

void TestCloud::answers()
{
    QFETCH(PeerAnswer, answer);
    QFETCH(QByteArray, job);
    QFETCH(int, error);
    QFETCH(QByteArray, json);

    RawHttpPeer peer({answer});
    const Submission submission = submit(peer.baseAddress(), job);
    QVERIFY(submission.clientGone);
    QCOMPARE(submission.signalCount, 1);
    QCOMPARE(int(submission.error), error);
    QCOMPARE(submission.jd.object(), withJob(QJsonDocument::fromJson(json).object(), job));
    QCOMPARE(peer.requestCount(), 1);
}

void TestCloud::cutInUpload()
{
    PeerAnswer cut;
    cut.cutAfter = 100000;
    RawHttpPeer peer({cut});
    const Submission submission = submit(peer.baseAddress(), largeJob());
    QCOMPARE(submission.signalCount, 1);
    // Which error it is depends on whether the reset is met by a read or by a write.
    QVERIFY(submission.error != QNetworkReply::NoError);
    QCOMPARE(submission.jd.object(), withJob(QJsonObject(), largeJob()));
    QCOMPARE(peer.requestCount(), 1);
}

void TestCloud::answerEndedByClose()
{
    // Without a length the end of the connection ends the answer. When the network layer learns of the end together
    // with the header it takes the request for lost, a matter of timing: then the job counts as failed, never sent
    // twice.
    RawHttpPeer peer({PeerAnswer{"HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n{\"code\":0"}});
    const Submission submission = submit(peer.baseAddress(), "job");
    QCOMPARE(submission.signalCount, 1);
    QVERIFY(submission.error == QNetworkReply::NoError || submission.error == QNetworkReply::ContentReSendError);
    QCOMPARE(submission.jd.object(), withJob(QJsonObject(), "job"));
    QCOMPARE(peer.requestCount(), 1);
}

void TestCloud::refused()
{
    const Submission submission = submit(refusingAddress(), "job");
    QVERIFY(submission.clientGone);
    QCOMPARE(submission.signalCount, 1);
    QCOMPARE(submission.error, QNetworkReply::ConnectionRefusedError);
    QCOMPARE(submission.jd.object(), withJob(QJsonObject(), "job"));
}

void TestCloud::abort_data()
{
    QTest::addColumn<QByteArray>("job");
    QTest::newRow("waiting for the answer") << QByteArray("job");
    QTest::newRow("during the upload") << largeJob();
}

void TestCloud::abort()
{
    QFETCH(QByteArray, job);
    RawHttpPeer peer({PeerAnswer::silence()});
    const Submission submission = submit(peer.baseAddress(), job, [&peer](Cloud *client) {
        QVERIFY(QTest::qWaitFor([&peer] { return peer.requestCount() == 1; }));
        client->currentReply()->abort();
        // The relay thread does this too; it must not disturb the client's own clean-up.
        client->currentReply()->deleteLater();
    });
    QVERIFY(submission.clientGone);
    QCOMPARE(submission.signalCount, 1);
    QCOMPARE(submission.error, QNetworkReply::OperationCanceledError);
    QCOMPARE(submission.jd.object(), withJob(QJsonObject(), job));
}

void TestCloud::invalidAddress()
{
    Cloud client(QString(), record());
    QSignalSpy results(&client, &Cloud::cloudResule);
    QTest::ignoreMessage(QtDebugMsg, "\"28_Cloud Invalid URL: : \"");
    QVERIFY(!client.post("job", 3, label));
    QVERIFY(!client.currentReply());
    QTest::qWait(0);
    QVERIFY(results.isEmpty());
}

void TestCloud::deletedDuringUpload()
{
    RawHttpPeer peer({PeerAnswer::silence()});
    const Submission submission = submit(peer.baseAddress(), largeJob(), [&peer](Cloud *client) {
        QVERIFY(QTest::qWaitFor([&peer] { return peer.requestCount() == 1; }));
        delete client;
    });
    QVERIFY(submission.clientGone);
    QCOMPARE(submission.signalCount, 0);
}

QTEST_GUILESS_MAIN(TestCloud)
#include "tst_cloud.moc"
