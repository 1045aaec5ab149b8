// What goes to the cloud, and when. What becomes of a job when the cloud is in trouble is tested with the whole window.

#include "src/cloud/cloud.h"
#include "src/cloud/protocol.h"
#include "src/cloud/statethread.h"
#include "tests/support/rawhttppeer.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>

#include <chrono>
#include <limits>

namespace {

constexpr int timeoutMs = 20000;
const QString label = QStringLiteral("合同 %1;2026-11-20 10:11:12");
const DriverInfo record = {QStringLiteral("财务 %1"), QStringLiteral("0123456789ABCDEF"), {}, 0, {}, {}};

/// More than the sockets' buffers hold, so that it is still being sent when its header arrives.
QByteArray largeJob()
{
    return QByteArray(12 * 1024 * 1024, '\x1b');
}

QJsonObject withJob(QJsonObject object, const QByteArray &job)
{
    object.insert("jobneed", label);
    object.insert("jobSize", job.size());
    return object;
}

} // namespace

class TestCloud : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_errors.clear();
        m_answers.clear();
    }

    void submissionBody_data()
    {
        QTest::addColumn<QString>("cloudSn");
        QTest::addColumn<int>("size");
        for (int size : {0, 1, 2, 3, 4, 5, 770, 1024 * 1024})
            QTest::addRow("%d bytes", size) << record.cloudSn << size;
        QTest::newRow("serial to be escaped") << QStringLiteral("\"printData\": \"\\\n\t/打印") << 100;
    }

    void submissionBody()
    {
        QFETCH(QString, cloudSn);
        QFETCH(int, size);
        QByteArray job(size, Qt::Uninitialized);
        for (int i = 0; i < size; ++i)
            job[i] = char(i * 167 + i / 256);
        const QJsonObject expected{
            {"dsNumber", QJsonArray{cloudSn}},
            {"taskPersist", false},
            {"async", true},
            {"dataType", "base64"},
            {"printData", QString::fromLatin1(job.toBase64())},
        };
        // A job that somebody shares stays as it is; one that is given away becomes the body in its place.
        QVERIFY(CloudProtocol::submissionBody(cloudSn, job) == QJsonDocument(expected).toJson());
        QVERIFY(CloudProtocol::submissionBody(cloudSn, std::move(job)) == QJsonDocument(expected).toJson());
    }

    void submissionResultOfAHugeJob()
    {
        const QJsonDocument result = CloudProtocol::submissionResult({}, label, 3'000'000'000);
        QCOMPARE(result.object().value("jobSize").toInt(-1), std::numeric_limits<int>::max());
    }

    void submission()
    {
        const QByteArray job("\0\x1b%-12345X\xff", 11);
        RawHttpPeer peer({PeerAnswer::ok(R"({"jobSize":"7","jobneed":1,"code":3})")});
        // A name that looks like a placeholder must come out as it is.
        QTest::ignoreMessage(QtDebugMsg, "\"56_Cloud 财务 %1 0123456789ABCDEF reply no error,status code is 200\"");
        QTest::ignoreMessage(QtDebugMsg, "17_Cloud destruct");
        submit(peer.baseAddress(), job);
        waitForTheEnd();
        QCOMPARE(m_errors, {QNetworkReply::NoError});
        QCOMPARE(m_answers.first(), withJob({{"code", 3}}, job));

        const QByteArray request = peer.requests().value(0);
        QVERIFY(request.startsWith("POST /v1.1/transparentPrinting HTTP/1.1\r\n"));
        QVERIFY(request.contains("\r\nContent-Type: application/json;charset=UTF-8\r\n"));
        QVERIFY(request.contains("\r\nAccept-Encoding: identity\r\n")); // Qt does not unpack the answer
        QCOMPARE(request.mid(request.indexOf("\r\n\r\n") + 4), CloudProtocol::submissionBody(record.cloudSn, job));
    }

    /// The network layer must give the job up where it would otherwise send it again.
    void cutInUpload()
    {
        QTcpServer server;
        server.listen(QHostAddress::LocalHost);
        int posts = 0;
        connect(&server, &QTcpServer::newConnection, [&] {
            QTcpSocket *socket = server.nextPendingConnection();
            connect(socket, &QTcpSocket::readyRead, [&posts, socket] {
                ++posts;
                socket->abort();
            });
        });
        submit(QStringLiteral("http://127.0.0.1:%1").arg(server.serverPort()), largeJob());
        waitForTheEnd();
        // Which error it is depends on whether the reset is met by a read or by a write.
        QCOMPARE(m_errors.size(), 1);
        QVERIFY(m_errors.first() != QNetworkReply::NoError);
        QCOMPARE(m_answers.first(), withJob({}, largeJob()));
        // It may open a connection for a second time, but then has nothing to send.
        QTest::qWait(100);
        QCOMPARE(posts, 1);
    }

    void abortDuringTheUpload()
    {
        QTcpServer silent;
        silent.listen(QHostAddress::LocalHost);
        submit(QStringLiteral("http://127.0.0.1:%1").arg(silent.serverPort()), largeJob());
        QTRY_VERIFY(silent.hasPendingConnections());
        QTest::qWait(100);
        m_client->currentReply()->abort();
        // The relay thread does this too; it must not disturb the client's own clean-up.
        m_client->currentReply()->deleteLater();
        waitForTheEnd();
        QCOMPARE(m_errors, {QNetworkReply::OperationCanceledError});
        QCOMPARE(m_answers.first(), withJob({}, largeJob()));
    }

    void resultRequest()
    {
        RawHttpPeer peer({PeerAnswer::ok("{}")});
        StateThread poller(peer.baseAddress(), QStringLiteral("a/b?c=1&d%2F"));
        QSignalSpy results(&poller, &StateThread::stateResule);
        QTest::ignoreMessage(QtDebugMsg, "\"36_StateThread status code is 200\"");
        poller.request();
        QTRY_COMPARE_WITH_TIMEOUT(results.size(), 1, timeoutMs);
        QVERIFY(peer.requests().value(0).startsWith("GET /v1.1/printResult?veltraId=a/b?c=1&d%2F HTTP/1.1\r\n"));
        QTRY_VERIFY(!poller.findChild<QNetworkReply *>());
    }

    void resultIsNotAwaitedForever()
    {
        qRegisterMetaType<QNetworkReply::NetworkError>();
        RawHttpPeer peer({PeerAnswer::silence()});
        StateThread poller(peer.baseAddress(), QStringLiteral("V1"), nullptr, std::chrono::milliseconds(300));
        QSignalSpy results(&poller, &StateThread::stateResule);
        poller.request();
        QTRY_COMPARE_WITH_TIMEOUT(results.size(), 1, 5000);
        QCOMPARE(results.first().first().value<QNetworkReply::NetworkError>(), QNetworkReply::OperationCanceledError);
    }

private:
    void submit(const QString &baseAddress, const QByteArray &job)
    {
        m_client = new Cloud(baseAddress + CloudProtocol::submissionPath, record);
        // Queued, as the card receives it.
        const auto note = [this](QNetworkReply::NetworkError error, const QJsonDocument &jd) {
            m_errors.append(error);
            m_answers.append(jd.object());
        };
        connect(m_client, &Cloud::cloudResule, this, note, Qt::QueuedConnection);
        QVERIFY(m_client->post(job, job.size(), label));
    }

    /// The client goes by itself when it has said its result.
    void waitForTheEnd()
    {
        // The spy's wait runs a real event loop; QTRY_VERIFY sleeps between rounds and would stretch a large upload.
        if (m_client)
            QSignalSpy(m_client, &QObject::destroyed).wait(timeoutMs);
        QVERIFY(!m_client);
        QCoreApplication::processEvents();
    }

    QPointer<Cloud> m_client;
    QList<QNetworkReply::NetworkError> m_errors;
    QList<QJsonObject> m_answers;
};

QTEST_GUILESS_MAIN(TestCloud)
#include "tst_cloud.moc"
