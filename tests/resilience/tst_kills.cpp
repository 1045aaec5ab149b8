// The program is killed at random moments, over and over: it starts again, serves its printers, and what it writes
// stays whole. ORVO_KILLS is the number of kills, ORVO_SEED the seed; more than three hundred kills want a longer
// QTEST_FUNCTION_TIMEOUT (ms).

#include "tests/resilience/storecontent.h"
#include "tests/resilience/textpieces.h"

#include "tests/endtoend/user.h"
#include "tests/support/installation.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>
#include <QSet>
#include <QTest>

#include <future>
#include <stdexcept>
#include <vector>

namespace {

constexpr int lanes = 6;           // programs that are killed side by side
constexpr int outcomeTime = 20000; // ms from a start to the outcome of a job
constexpr int largestJob = 2000;   // kB
const QStringList queues{"前台", "后台"};

int numberFrom(const char *variable, int otherwise)
{
    bool isNumber = false;
    const int number = qEnvironmentVariableIntValue(variable, &isNumber);
    return isNumber ? number : otherwise;
}

/// What the programs wrote, between all the kills.
struct Written
{
    int lines = 0;
    int records = 0;
    int torn = 0;
};

/// One program with its printers, on a thread of its own. What went wrong is told by an exception.
class Lane
{
public:
    explicit Lane(quint32 seed)
        : m_random(seed)
    {
    }

    Written run(int kills);

private:
    struct Watched
    {
        GrowingFile file;
        TextPieces (*cut)(const QString &);
        int *count;
    };

    void setUp();
    int printSomething(int printer);
    void printAndKill();
    void pause(int longest) { QTest::qWait(m_random.bounded(longest)); }
    void kill();
    void expectOutcomes();
    static void check(bool condition, const QString &otherwise);

    QRandomGenerator m_random;
    Installation m_installation;
    std::vector<Watched> m_watched;
    Written m_written;
    QProcess *m_program = nullptr;
    int m_jobs = 0;
};

void Lane::check(bool condition, const QString &otherwise)
{
    if (!condition)
        throw std::runtime_error(otherwise.toStdString());
}

void Lane::setUp()
{
    check(m_installation.addPrinters(queues), "the printers cannot be set up");
    m_watched.push_back({GrowingFile(m_installation.folder().logFile()), logLines, &m_written.lines});
    for (int printer = 0; printer < queues.size(); ++printer) {
        const QString journal = m_installation.folder().journalFile(m_installation.serial(printer));
        m_watched.push_back({GrowingFile(journal), journalRecords, &m_written.records});
    }
    m_program = m_installation.startProgram();
}

Written Lane::run(int kills)
{
    setUp();
    for (int done = 0; done < kills; ++done) {
        // Now and then already in the start.
        if (done % 4 != 3)
            printAndKill();
        else
            pause(400);
        kill();
        m_program = m_installation.startProgram();
        if (done % 4 != 2)
            expectOutcomes();
    }
    expectOutcomes();
    kill();
    return m_written;
}

/// The size tells one job of a lane from all others.
int Lane::printSomething(int printer)
{
    constexpr int kilo = 1000;
    const int size = ++m_jobs + kilo * m_random.bounded(largestJob);
    check(m_jobs < kilo, "too many jobs to tell them apart");
    const QString document = QString("job %1").arg(m_jobs);
    check(m_installation.print(printer, document, QByteArray(size, 'x')), "cannot print");
    return size;
}

void Lane::printAndKill()
{
    for (int jobs = m_random.bounded(1, 4); jobs > 0; --jobs) {
        printSomething(m_random.bounded(queues.size()));
        pause(200);
    }
    pause(1200);
}

void Lane::kill()
{
    check(m_program->state() == QProcess::Running, "the program has ended by itself");
    m_program->kill();
    check(m_program->waitForFinished(), "the program survives a kill");
    for (Watched &watched : m_watched) {
        const TextPieces pieces = watched.cut(watched.file.news());
        check(pieces.broken.isEmpty(), "broken: " + pieces.broken);
        *watched.count += pieces.whole;
        m_written.torn += !pieces.unfinished.isEmpty();
    }
}

void Lane::expectOutcomes()
{
    for (int printer = 0; printer < queues.size(); ++printer) {
        const QString record = QString(";打印成功;%1;").arg(printSomething(printer));
        check(QTest::qWaitFor([&] { return m_installation.hasRecord(printer, record); }, outcomeTime),
              "no outcome of the job of bytes " + record);
    }
}

} // namespace

class KillsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void whileJobsRun();
    void whilePrintersAreStored();

private:
    QRandomGenerator m_random;
    int m_kills = 0;
};

void KillsTest::initTestCase()
{
    const int seed = numberFrom("ORVO_SEED", int(QRandomGenerator::global()->bounded(1 << 30)));
    m_random.seed(quint32(seed));
    m_kills = numberFrom("ORVO_KILLS", 100);
    qInfo("%d kills, seed %d", m_kills, seed);
}

void KillsTest::whileJobsRun()
{
    const int kills = m_kills * 4 / 5;
    Installation cloud;
    QVERIFY(cloud.startCloud({"--polls", "0"}));
    std::vector<std::future<Written>> running;
    for (int lane = 0; lane < lanes; ++lane) {
        const int share = kills * (lane + 1) / lanes - kills * lane / lanes;
        running.push_back(
            std::async(std::launch::async, [seed = m_random.generate(), share] { return Lane(seed).run(share); }));
    }
    Written all;
    for (std::future<Written> &lane : running) {
        try {
            const Written written = lane.get();
            all.lines += written.lines;
            all.records += written.records;
            all.torn += written.torn;
        } catch (const std::runtime_error &error) {
            QTest::qFail(error.what(), __FILE__, __LINE__);
        }
    }
    const QList<QByteArray> posts = cloud.posts();
    QSet<QString> jobs;
    for (const QByteArray &post : posts) {
        const QJsonObject job = QJsonDocument::fromJson(post).object();
        jobs << QString("%1 %2").arg(job["dsNumber"].toString()).arg(job["size"].toInt());
    }
    qInfo("%d jobs came to the cloud; %d lines, %d records, %d torn pieces", posts.size(), all.lines, all.records,
          all.torn);
    QCOMPARE(jobs.size(), posts.size());
}

void KillsTest::whilePrintersAreStored()
{
    constexpr int mostPrinters = 9;
    ProgramFolder folder;
    User user(folder);
    const QString storeFile = folder.path("task.db");
    QVERIFY(user.startProgram());
    QVERIFY(user.addPrinter("Desk 1", "00000000000000AA"));
    QStringList stored{"ok", storedPrinter(1, "00000000000000AA")};
    QTRY_COMPARE(storeContent(storeFile), stored);
    user.program()->kill();
    QVERIFY(user.program()->waitForFinished());

    int printers = 1;
    int changes = 0;
    for (int kill = 0; kill < m_kills / 5 && !QTest::currentTestFailed(); ++kill) {
        const QString serial = QString("%1").arg(kill, 16, 16, QChar('0')).toUpper();
        QStringList changed = stored;
        QVERIFY(user.startProgram());
        if (kill % 4 == 0 && printers < mostPrinters) {
            ++printers;
            changed << storedPrinter(printers, serial);
            QVERIFY(user.addPrinter(QString("Desk %1").arg(printers), serial));
        } else {
            changed[1] = storedPrinter(1, serial);
            user.clickOnCard("modifyButton");
            user.typeOnCard("cloudSerial", serial);
            user.clickOnCard("modifyButton");
        }
        QTest::qWait(m_random.bounded(kill % 2 ? 300 : 30));
        user.program()->kill();
        QVERIFY(user.program()->waitForFinished());
        const QStringList found = storeContent(storeFile);
        QVERIFY2(found == stored || found == changed, qPrintable(found.join('\n')));
        changes += found == changed;
        stored = found;
    }
    QVERIFY2(changes > 0, "every kill came before the store was written");
}

QTEST_MAIN(KillsTest)
#include "tst_kills.moc"
