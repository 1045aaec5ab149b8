#include "cloud/cloud.h"
#include "cloud/cloudservice.h"
#include "cloud/protocol.h"
#include "cloud/statethread.h"

#include <QCryptographicHash>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QProcess>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>
#include <vector>

class TestCloudService : public QObject
{
    Q_OBJECT
private slots:
    void keepsTheBytes_data();
    void keepsTheBytes();
    void jobFromSubmissionToResult();
    void deviceStatus();
    void malformed_data();
    void malformed();
    void refusesAsTold();
    void manyConnectionsAtOnce();
    void stopsDuringADelay();
    void process();
    void badOptions_data();
    void badOptions();
};

namespace {

constexpr int timeoutMs = 20000;
const QString serial = QStringLiteral("0123456789ABCDEF");
const QByteArray jsonType = "application/json;charset=UTF-8";

struct Answer
{
    int status = 0;
    QJsonObject json;
};

Answer finish(QNetworkReply *reply)
{
    QSignalSpy(reply, &QNetworkReply::finished).wait(timeoutMs);
    Answer answer{reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(),
                  QJsonDocument::fromJson(reply->readAll()).object()};
    delete reply;
    return answer;
}

Answer post(const QString &address, const QByteArray &body, const QByteArray &contentType = jsonType)
{
    QNetworkAccessManager manager;
    QNetworkRequest request{QUrl(address)};
    request.setHeader(QNetworkRequest::ContentTypeHeader, contentType);
    return finish(manager.post(request, body));
}

/// Sends a job the way the program does and gives the service's answer.
QJsonDocument submit(const QString &baseAddress, const QByteArray &job, QNetworkReply::NetworkError *error = nullptr)
{
    DriverInfo record;
    record.cloudSn = serial;
    auto *client = new Cloud(baseAddress + CloudProtocol::submissionPath, record);
    QJsonDocument answer;
    QObject::connect(client, &Cloud::cloudResule, client,
                     [&answer, error](QNetworkReply::NetworkError code, const QJsonDocument &jd) {
                         answer = jd;
                         if (error)
                             *error = code;
                     });
    QSignalSpy gone(client, &QObject::destroyed);
    client->post(job, job.size(), QStringLiteral("label"));
    gone.wait(timeoutMs);
    return answer;
}

CloudProtocol::JobResult ask(const QString &baseAddress, const QString &veltraId)
{
    StateThread poller(baseAddress, veltraId);
    QSignalSpy results(&poller, &StateThread::stateResule);
    poller.request();
    results.wait(timeoutMs);
    return CloudProtocol::jobResult(results.value(0).value(1).toJsonDocument(), serial);
}

QByteArray allBytes(int size)
{
    QByteArray data(size, Qt::Uninitialized);
    for (int i = 0; i < size; ++i)
        data[i] = char(i * 167 + i / 256);
    return data;
}

QJsonObject wellFormed()
{
    return {{"dsNumber", QJsonArray{serial}},
            {"taskPersist", false},
            {"async", true},
            {"dataType", "base64"},
            {"printData", "aGVsbG8="}};
}

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QString program()
{
    return qEnvironmentVariable("ORVO_BIN") + QStringLiteral("/cloudservice");
}

} // namespace

void TestCloudService::keepsTheBytes_data()
{
    QTest::addColumn<int>("size");
    for (int size : {0, 1, 256, 1024 * 1024})
        QTest::addRow("%d", size) << size;
}

void TestCloudService::keepsTheBytes()
{
    QFETCH(int, size);
    CloudServiceOptions options;
    options.keepRawBodies = true;
    CloudService service(options);
    QVERIFY(service.listen());
    const QJsonDocument answer = submit(service.baseAddress(), allBytes(size));

    const QVector<ReceivedJob> jobs = service.jobs();
    QCOMPARE(jobs.size(), 1);
    QVERIFY(jobs[0].bytes == allBytes(size));
    QVERIFY(jobs[0].rawBody == CloudProtocol::submissionBody(serial, allBytes(size)));
    QCOMPARE(jobs[0].size, size);
    QCOMPARE(jobs[0].dsNumber, serial);
    QVERIFY(!jobs[0].veltraId.isEmpty());
    QCOMPARE(jobs[0].veltraId, CloudProtocol::veltraId(answer));
    QCOMPARE(service.counts().submissions, 1);
}

void TestCloudService::jobFromSubmissionToResult()
{
    CloudServiceOptions options;
    options.pollsBeforeFinal = 2;
    CloudService service(options);
    QVERIFY(service.listen());
    const QString veltraId = CloudProtocol::veltraId(submit(service.baseAddress(), "job"));
    QVERIFY(ask(service.baseAddress(), veltraId).printing);
    QVERIFY(ask(service.baseAddress(), veltraId).printing);

    options.finalStatus = QStringLiteral("离线");
    service.setOptions(options);
    const CloudProtocol::JobResult result = ask(service.baseAddress(), veltraId);
    QVERIFY(!result.printing);
    QCOMPARE(result.status, QStringLiteral("离线"));

    const CloudProtocol::JobResult unknown = ask(service.baseAddress(), QStringLiteral("nobody's"));
    QVERIFY(!unknown.printing);
    QVERIFY(!unknown.status.isEmpty());
    QCOMPARE(service.counts().results, 4);
}

void TestCloudService::deviceStatus()
{
    CloudService service;
    QVERIFY(service.listen());
    const QString address = service.baseAddress() + CloudProtocol::deviceStatusPath;
    const QByteArray request = CloudProtocol::deviceStatusBody(serial);
    QCOMPARE(CloudProtocol::deviceState(post(address, request).json), CloudProtocol::DeviceState::Online);

    CloudServiceOptions options;
    options.deviceCode = 4002;
    service.setOptions(options);
    QCOMPARE(CloudProtocol::deviceState(post(address, request).json), CloudProtocol::DeviceState::Offline);

    QCOMPARE(post(address, R"({"dsNumber":["0123456789ABCDEF"]})").status, 400);
    QCOMPARE(service.counts().deviceStatuses, 3);
    QCOMPARE(service.counts().malformed, 1);
}

void TestCloudService::malformed_data()
{
    QTest::addColumn<QByteArray>("contentType");
    QTest::addColumn<QByteArray>("body");

    const auto row = [](const char *name, const QJsonObject &object, const QByteArray &contentType = jsonType) {
        QTest::newRow(name) << contentType << QJsonDocument(object).toJson();
    };
    const auto with = [](const char *key, const QJsonValue &value) {
        QJsonObject object = wellFormed();
        object.insert(QLatin1String(key), value);
        return object;
    };
    const QStringList keys = wellFormed().keys();
    for (const QString &key : keys) {
        QJsonObject object = wellFormed();
        object.remove(key);
        row(qPrintable(key + QStringLiteral(" missing")), object);
        row(qPrintable(key + QStringLiteral(" of a wrong type")), with(qPrintable(key), 1));
    }
    row("plain text", wellFormed(), "text/plain");
    row("other character set", wellFormed(), "application/json;charset=GBK");
    row("serial no array", with("dsNumber", serial));
    row("serial in lower case", with("dsNumber", QJsonArray{serial.toLower()}));
    row("serial with a line end", with("dsNumber", QJsonArray{serial + QLatin1Char('\n')}));
    row("unknown data type", with("dataType", "hex"));
    row("base64 with a blank", with("printData", "aGVs bG8="));
    row("base64 without padding", with("printData", "aGVsbG8"));
    QTest::newRow("no JSON") << jsonType << QByteArray("{\"dsNumber\":");
    QTest::newRow("array") << jsonType << QByteArray("[]");
}

void TestCloudService::malformed()
{
    QFETCH(QByteArray, contentType);
    QFETCH(QByteArray, body);
    CloudService service;
    QVERIFY(service.listen());
    const QString address = service.baseAddress() + CloudProtocol::submissionPath;
    const Answer answer = post(address, body, contentType);
    QCOMPARE(answer.status, 400);
    QVERIFY(!answer.json.value("message").toString().isEmpty());
    QVERIFY(service.jobs().isEmpty());
    QCOMPARE(service.counts().malformed, 1);
    // The same with everything right is accepted: it was that fault and nothing else.
    QCOMPARE(post(address, QJsonDocument(wellFormed()).toJson(QJsonDocument::Compact)).status, 200);
}

void TestCloudService::refusesAsTold()
{
    CloudServiceOptions options;
    options.submissionStatus = 413;
    CloudService service(options);
    QVERIFY(service.listen());
    // Far more than fits the sockets' buffers: the whole job has to be read before it is refused.
    QNetworkReply::NetworkError error = QNetworkReply::NoError;
    submit(service.baseAddress(), allBytes(8 * 1024 * 1024), &error);
    QCOMPARE(error, QNetworkReply::UnknownContentError);
    QCOMPARE(service.jobs().size(), 1);
    QVERIFY(service.jobs().constFirst().veltraId.isEmpty());
}

void TestCloudService::manyConnectionsAtOnce()
{
    constexpr int connections = 64;
    CloudServiceOptions options;
    options.delayMs = 1000;
    CloudService service(options);
    QVERIFY(service.listen());
    QElapsedTimer elapsed;
    elapsed.start();
    std::vector<std::unique_ptr<QTcpSocket>> sockets;
    for (int i = 0; i < connections; ++i) {
        sockets.push_back(std::make_unique<QTcpSocket>());
        sockets.back()->connectToHost(QHostAddress::LocalHost, service.port());
        sockets.back()->write("GET /v1.1/printResult?veltraId=V HTTP/1.1\r\nHost: localhost\r\n\r\n");
    }
    for (const auto &socket : sockets) {
        QTRY_COMPARE_WITH_TIMEOUT(socket->state(), QAbstractSocket::UnconnectedState, timeoutMs);
        QVERIFY(socket->readAll().startsWith("HTTP/1.1 200 OK\r\n"));
    }
    QCOMPARE(service.counts().results, connections);
    // One after the other, or eight at a time, would take far longer.
    QVERIFY(elapsed.elapsed() < 6000);
}

void TestCloudService::stopsDuringADelay()
{
    CloudServiceOptions options;
    options.delayMs = 60000;
    CloudService service(options);
    QVERIFY(service.listen());
    StateThread poller(service.baseAddress(), QStringLiteral("V"));
    poller.request();
    QTRY_COMPARE(service.counts().results, 1);
    QElapsedTimer elapsed;
    elapsed.start();
    service.stop();
    QVERIFY(elapsed.elapsed() < options.delayMs / 4);
}

void TestCloudService::process()
{
    QTemporaryDir folder;
    const QString store = folder.filePath("jobs");
    QProcess process;
    process.start(program(), {"--port", "0", "--store", store, "--polls", "0", "--status", "缺纸", "--device", "0,17"});
    QVERIFY(process.waitForReadyRead(timeoutMs));
    const QString line = QString::fromUtf8(process.readLine()).trimmed();
    QVERIFY(line.startsWith("cloudservice listens on http://127.0.0.1:"));
    const QString address = line.section(QLatin1Char(' '), -1);

    QProcess second;
    second.start(program(), {"--port", address.section(QLatin1Char(':'), -1)});
    QVERIFY(second.waitForFinished(timeoutMs));
    QCOMPARE(second.exitCode(), 1);
    QVERIFY(second.readAllStandardError().contains("taken"));

    for (int size : {0, 1024 * 1024}) {
        const QString veltraId = CloudProtocol::veltraId(submit(address, allBytes(size)));
        QCOMPARE(ask(address, veltraId).status, QStringLiteral("缺纸"));
    }
    const Answer device = post(address + CloudProtocol::deviceStatusPath, CloudProtocol::deviceStatusBody(serial));
    QCOMPARE(CloudProtocol::deviceState(device.json), CloudProtocol::DeviceState::Offline);

    QVERIFY(contents(store + "/0001.bin").isEmpty());
    QVERIFY(contents(store + "/0002.bin") == allBytes(1024 * 1024));
    const QList<QByteArray> lines = contents(store + "/jobs.jsonl").split('\n');
    QCOMPARE(lines.size(), 3);
    const QJsonObject job = QJsonDocument::fromJson(lines[1]).object();
    QCOMPARE(job.value("number").toInt(), 2);
    QCOMPARE(job.value("size").toInt(), 1024 * 1024);
    QCOMPARE(job.value("file").toString(), QStringLiteral("0002.bin"));
    QCOMPARE(job.value("dsNumber").toString(), serial);
    QVERIFY(QDateTime::fromString(job.value("received").toString(), Qt::ISODateWithMs).isValid());
    QCOMPARE(job.value("sha256").toString().toLatin1(),
             QCryptographicHash::hash(allBytes(1024 * 1024), QCryptographicHash::Sha256).toHex());

    process.terminate();
    QVERIFY(process.waitForFinished(timeoutMs));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 0);
}

void TestCloudService::badOptions_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("unknown option") << QStringList{"--bogus"};
    QTest::newRow("port is no number") << QStringList{"--port", "http"};
    QTest::newRow("port too large") << QStringList{"--port", "65536"};
    QTest::newRow("status out of range") << QStringList{"--http", "42"};
    QTest::newRow("device without data") << QStringList{"--device", "0"};
}

void TestCloudService::badOptions()
{
    QFETCH(QStringList, arguments);
    QProcess process;
    process.start(program(), arguments);
    QVERIFY(process.waitForFinished(timeoutMs));
    QCOMPARE(process.exitCode(), 1);
    QVERIFY(!process.readAllStandardError().isEmpty());
}

QTEST_GUILESS_MAIN(TestCloudService)
#include "tst_cloudservice.moc"
