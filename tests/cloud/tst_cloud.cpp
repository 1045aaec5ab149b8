// What goes to the cloud, and when. What becomes of the job afterwards is tested with the whole window.

#include "src/cloud/cloud.h"
#include "src/cloud/protocol.h"
#include "src/cloud/statethread.h"
#include "tests/support/httphead.h"
#include "tests/support/rawhttppeer.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>

#include <limits>

using Error = QNetworkReply::NetworkError;

namespace {

const QString label = QStringLiteral("合同 %1;10:11:12");
const QString serial = QStringLiteral("0123456789ABCDEF");

QByteArray jobOf(int size)
{
    return QByteArray("\0\x1b%-12345X\xff", 11).repeated(size / 11 + 1).left(size);
}

} // namespace

class CloudTest : public QObject
{
    Q_OBJECT

private slots:
    void submissionBody()
    {
        const QString cloudSn = QStringLiteral("\"printData\": \"\\\n\t/打印");
        for (int size : {0, 1, 2, 49152, 49153, 98304}) { // each padding; the last block full and not
            const QByteArray job = jobOf(size);
            const QJsonObject expected{{"dsNumber", QJsonArray{cloudSn}},
                                       {"taskPersist", false},
                                       {"async", true},
                                       {"dataType", "base64"},
                                       {"printData", QString(job.toBase64())}};
            QVERIFY(CloudProtocol::submissionBody(cloudSn, job) == QJsonDocument(expected).toJson());
        }
    }

    void submission()
    {
        RawHttpPeer peer({PeerAnswer::ok(R"({"jobSize":"7","jobneed":1,"code":3})")});
        submit(peer.baseAddress(), jobOf(11));
        QCOMPARE(m_answer.value("code").toInt(), 3);

        const QByteArray request = peer.requests().value(0);
        QVERIFY(request.startsWith("POST /v1.1/transparentPrinting HTTP/1.1\r\n"));
        QVERIFY(request.contains("\r\nContent-Type: application/json;charset=UTF-8\r\n"));
        QVERIFY(request.contains("\r\nAccept-Encoding: identity\r\n")); // Qt does not unpack the answer
        QCOMPARE(request.mid(HttpHead::size(request)), CloudProtocol::submissionBody(serial, jobOf(11)));
    }

    /// The network layer must give the job up where it would otherwise send it again.
    void endsInTheUpload()
    {
        const QByteArray largeJob = jobOf(12 * 1024 * 1024); // more than the sockets' buffers hold
        for (const bool isAborted : {false, true}) {
            QTcpServer server;
            QVERIFY(server.listen(QHostAddress::LocalHost));
            int posts = 0;
            connect(&server, &QTcpServer::newConnection, this, [&] {
                QTcpSocket *socket = server.nextPendingConnection();
                connect(socket, &QTcpSocket::readyRead, this, [&, socket] {
                    ++posts;
                    if (isAborted) { // as the relay thread does it, which must not disturb the client's clean-up
                        m_client->currentReply()->abort();
                        m_client->currentReply()->deleteLater();
                    }
                    socket->abort();
                });
            });
            submit(QStringLiteral("http://127.0.0.1:%1").arg(server.serverPort()), largeJob);
            QVERIFY(m_error != Error::NoError);
            QCOMPARE(m_error == Error::OperationCanceledError, isAborted);
            QTest::qWait(100); // it may connect once more, but then has nothing to send
            QCOMPARE(posts, 1);
        }
    }

    void resultRequest()
    {
        RawHttpPeer peer({PeerAnswer::silence()});
        StateThread poller(peer.baseAddress(), QStringLiteral("a/b?c=1&d%2F"), nullptr, std::chrono::milliseconds(500));
        QSignalSpy results(&poller, &StateThread::stateResule);
        poller.request();
        QVERIFY(results.wait());
        QCOMPARE(results.first().first().value<Error>(), Error::OperationCanceledError);
        QVERIFY(peer.requests().value(0).startsWith("GET /v1.1/printResult?veltraId=a/b?c=1&d%2F HTTP/1.1\r\n"));
        // A job that waits for its device is asked about for days.
        QTRY_VERIFY(poller.findChildren<QNetworkReply *>().isEmpty());
    }

private:
    /// Posts a job that is said to be huge. The client goes by itself when it has said its result, once.
    void submit(const QString &baseAddress, const QByteArray &job)
    {
        m_client = new Cloud(baseAddress + CloudProtocol::submissionPath, {"财务", serial, {}, 0, {}, {}});
        const QSignalSpy results(m_client, &Cloud::cloudResule);
        QVERIFY(m_client->post(job, 3'000'000'000, label));
        QVERIFY(QSignalSpy(m_client, &QObject::destroyed).wait(20000));
        QCOMPARE(results.size(), 1);
        m_error = results.first().first().value<Error>();
        m_answer = results.first().last().toJsonDocument().object();
        QCOMPARE(m_answer.value("jobneed").toString(), label);
        QCOMPARE(m_answer.value("jobSize").toInt(), std::numeric_limits<int>::max());
    }

    Cloud *m_client = nullptr;
    Error m_error;
    QJsonObject m_answer;
};

QTEST_GUILESS_MAIN(CloudTest)
#include "tst_cloud.moc"
