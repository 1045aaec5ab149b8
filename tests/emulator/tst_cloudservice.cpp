// The emulated cloud service takes many requests at once; it must neither lose nor mix up any.

#include "emulator/cloud/servicestate.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>
#include <QTest>

#include <atomic>
#include <thread>
#include <vector>

namespace {

constexpr int clients = 8;
constexpr int jobsOfAClient = 25;

QByteArray submissionOf(const QString &serial)
{
    const QJsonObject object{{"dsNumber", QJsonArray{serial}},
                             {"taskPersist", false},
                             {"async", true},
                             {"dataType", "base64"},
                             {"printData", "eA=="}};
    return QJsonDocument(object).toJson();
}

QJsonValue dataOf(const ServiceAnswer &answer)
{
    return QJsonDocument::fromJson(answer.json).object().value("data");
}

} // namespace

class CloudServiceTest : public QObject
{
    Q_OBJECT

private slots:
    void clientsAtOnce();
};

void CloudServiceTest::clientsAtOnce()
{
    CloudServiceOptions options;
    options.pollsBeforeFinal = 0;
    ServiceState state(options);
    std::atomic<int> faults = 0;
    const auto print = [&](int client) {
        const QString serial = QString::number(client).rightJustified(16, '0');
        for (int i = 0; i < jobsOfAClient; ++i) {
            const QJsonObject job = dataOf(state.submit("application/json", submissionOf(serial))).toObject();
            const QJsonObject result = dataOf(state.result(job.value("veltraId").toString())).toObject();
            if (result.value(serial).toString() != "打印成功")
                ++faults;
        }
    };
    std::vector<std::thread> threads;
    for (int client = 0; client < clients; ++client)
        threads.emplace_back(print, client);
    while (state.counts().results < clients * jobsOfAClient)
        state.setOptions(state.options());
    for (std::thread &thread : threads)
        thread.join();

    QCOMPARE(int(faults), 0);
    QSet<int> numbers;
    const QVector<ReceivedJob> jobs = state.jobs();
    for (const ReceivedJob &job : jobs)
        numbers.insert(job.number);
    QCOMPARE(numbers.size(), clients * jobsOfAClient);
}

QTEST_GUILESS_MAIN(CloudServiceTest)
#include "tst_cloudservice.moc"
