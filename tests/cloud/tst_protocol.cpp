#include "cloud/protocol.h"

#include <QJsonArray>
#include <QtTest>

using CloudProtocol::DeviceState;

class TestProtocol : public QObject
{
    Q_OBJECT
private slots:
    void submissionBody_data();
    void submissionBody();
    void deviceStatusBody();
    void veltraId_data();
    void veltraId();
    void jobResult_data();
    void jobResult();
    void deviceState_data();
    void deviceState();
};

namespace {

const QString serial = QStringLiteral("0123456789ABCDEF");

QJsonDocument json(const char *text)
{
    return QJsonDocument::fromJson(text);
}

/// Every byte value, in an order that no three-byte group repeats soon.
QByteArray bytes(int size)
{
    QByteArray data(size, Qt::Uninitialized);
    for (int i = 0; i < size; ++i)
        data[i] = char(i * 167 + i / 256);
    return data;
}

} // namespace

void TestProtocol::submissionBody_data()
{
    QTest::addColumn<QString>("cloudSn");
    QTest::addColumn<int>("size");

    // The last numbers lie around the block in which the encoder works.
    constexpr int block = 3 * 16 * 1024;
    for (int size : {0, 1, 2, 3, 4, 5, 767, 768, 769, 770, block - 1, block, block + 1, 2 * block + 2, 1024 * 1024})
        QTest::addRow("%d bytes", size) << serial << size;
    QTest::newRow("serial to be escaped") << QStringLiteral("\"printData\": \"\\\n\t/打印") << 100;
    QTest::newRow("no serial") << QString() << 100;
}

void TestProtocol::submissionBody()
{
    QFETCH(QString, cloudSn);
    QFETCH(int, size);
    const QByteArray job = bytes(size);
    const QJsonObject expected{
        {"dsNumber", QJsonArray{cloudSn}},
        {"taskPersist", false},
        {"async", true},
        {"dataType", "base64"},
        {"printData", QString::fromLatin1(job.toBase64())},
    };
    QVERIFY(CloudProtocol::submissionBody(cloudSn, job) == QJsonDocument(expected).toJson());
}

void TestProtocol::deviceStatusBody()
{
    QCOMPARE(CloudProtocol::deviceStatusBody(serial), QByteArray("{\n    \"dsNumber\": \"0123456789ABCDEF\"\n}\n"));
}

void TestProtocol::veltraId_data()
{
    QTest::addColumn<QJsonDocument>("answer");
    QTest::addColumn<bool>("usable");
    QTest::addColumn<QString>("veltraId");

    QTest::newRow("accepted") << json(R"({"code":0,"data":{"veltraId":"V1","more":1}})") << true << "V1";
    QTest::newRow("no data") << json(R"({"jobSize":1})") << true << QString();
    QTest::newRow("id is a number") << json(R"({"data":{"veltraId":1}})") << true << QString();
    QTest::newRow("empty object") << json("{}") << true << QString();
    QTest::newRow("array") << json(R"([{"data":{"veltraId":"V1"}}])") << false << QString();
    QTest::newRow("no JSON") << json("<html>") << false << QString();
}

void TestProtocol::veltraId()
{
    QFETCH(QJsonDocument, answer);
    QTEST(CloudProtocol::isUsable(answer), "usable");
    QTEST(CloudProtocol::veltraId(answer), "veltraId");
}

void TestProtocol::jobResult_data()
{
    QTest::addColumn<QJsonDocument>("answer");
    QTest::addColumn<bool>("printing");
    QTest::addColumn<QString>("status");
    QTest::addColumn<QString>("journalStatus");

    const auto object = [](const QString &status) {
        return QJsonDocument(QJsonObject{{"data", QJsonObject{{serial, status}, {"FFFFFFFFFFFFFFFF", "别的"}}}});
    };
    const auto row = [](const char *name, const QJsonDocument &answer, const QString &status, const QString &journal) {
        QTest::newRow(name) << answer << false << status << journal;
    };
    QTest::newRow("printing") << object("正在打印") << true << QString() << QString();
    QTest::newRow("printing, somewhere") << object("任务正在打印中") << true << QString() << QString();
    row("printed", object("打印成功"), "打印成功", "打印成功");
    row("nearly printed", object("打印成功 "), "打印成功 ", "打印失败:打印成功 ");
    row("offline", object("离线"), "离线", "打印失败:设备离线");
    row("other", object("缺纸"), "缺纸", "打印失败:缺纸");
    row("other printer", json(R"({"data":{"FFFFFFFFFFFFFFFF":"正在打印"}})"), "", "打印失败:");
    row("bare text", json(R"({"data":"离线"})"), "离线", "离线");
    row("bare text is final", json(R"({"data":"正在打印"})"), "正在打印", "正在打印");
    row("no data", json("{}"), "", "");
}

void TestProtocol::jobResult()
{
    QFETCH(QJsonDocument, answer);
    const CloudProtocol::JobResult result = CloudProtocol::jobResult(answer, serial);
    QTEST(result.printing, "printing");
    QTEST(result.status, "status");
    QTEST(result.journalStatus, "journalStatus");
}

void TestProtocol::deviceState_data()
{
    QTest::addColumn<QJsonDocument>("answer");
    QTest::addColumn<int>("state");

    const auto row = [](const char *text, DeviceState state) { QTest::newRow(text) << json(text) << int(state); };
    row(R"({"code":1001,"data":"16"})", DeviceState::Offline);
    row(R"({"code":4002})", DeviceState::Offline);
    row(R"({"code":0,"data":"17"})", DeviceState::Offline);
    row(R"({"code":0,"data":"16"})", DeviceState::Online);
    row(R"({"code":0,"data":17})", DeviceState::Online);
    row(R"({"code":0})", DeviceState::Online);
    row(R"({"data":"17"})", DeviceState::Offline);
    row(R"({"code":"1001","data":"16"})", DeviceState::Online);
    row(R"({"code":500,"data":"17"})", DeviceState::Unchanged);
    row("no JSON", DeviceState::Online);
}

void TestProtocol::deviceState()
{
    QFETCH(QJsonDocument, answer);
    QTEST(int(CloudProtocol::deviceState(answer.object())), "state");
}

QTEST_GUILESS_MAIN(TestProtocol)
#include "tst_protocol.moc"
