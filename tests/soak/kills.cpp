#include "tests/soak/kills.h"

#include "tests/support/storecontent.h"
#include "tests/support/uidriver.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QSet>
#include <QTest>

#include <cstdio>
#include <functional>
#include <future>
#include <stdexcept>
#include <vector>

namespace {

constexpr int lanes = 6;           // programs that are killed side by side
constexpr int outcomeTime = 20000; // ms from a start to the outcome of a job
constexpr int largestJob = 2000;   // kB
const QStringList queues{"前台", "后台"};

void check(bool condition, const QString &otherwise)
{
    if (!condition)
        throw std::runtime_error(otherwise.toStdString());
}

/// The pieces of the program's log (lines) or of a journal (records).
struct TextPieces
{
    int whole = 0;
    QString broken;     ///< the first piece that is ended but not of the described form; empty when there is none
    QString unfinished; ///< what follows the last end
};

TextPieces cut(const QString &text, const QString &end, const QRegularExpression &form)
{
    QStringList all = text.split(end);
    TextPieces pieces;
    pieces.unfinished = all.takeLast();
    for (const QString &piece : qAsConst(all)) {
        if (form.match(piece).hasMatch())
            ++pieces.whole;
        else if (pieces.broken.isEmpty())
            pieces.broken = piece.isEmpty() ? "an empty piece" : piece;
    }
    return pieces;
}

TextPieces logLines(const QString &text)
{
    // None begins inside another one.
    static const QString start = R"(\[\d{4}-\d\d-\d\d \d\d:\d\d:\d\d \d{3}\] (Debug|Warning|Critical|Info): )";
    static const QRegularExpression line('^' + start + "((?!" + start + ").)*$",
                                         QRegularExpression::DotMatchesEverythingOption);
    return cut(text, "\r\n", line);
}

TextPieces journalRecords(const QString &text)
{
    // Document and submission time are both missing when the spooler had ended the job before the relay began.
    static const QRegularExpression record("^([^;]+;\\d\\d+:\\d\\d:\\d\\d)?;打印(成功|失败:[^;]+);\\d+;"
                                           "\\d\\d:\\d\\d:\\d\\d$");
    return cut(text, "!+!", record);
}

/// What the programs wrote, between all the kills.
struct Written
{
    int lines = 0;
    int records = 0;
    int torn = 0;
};

/// One program with its printers, on a thread of its own. Errors are exceptions.
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
        std::function<QString()> text;
        TextPieces (*cut)(const QString &);
        int *count;
        int read = 0; ///< characters
    };

    void setUp();
    int printSomething(int printer);
    void printAndKill();
    void pause(int longest) { QTest::qWait(m_random.bounded(longest)); }
    void kill();
    void expectOutcomes();

    QRandomGenerator m_random;
    World m_world;
    std::vector<Watched> m_watched;
    Written m_written;
    int m_jobs = 0;
};

void Lane::setUp()
{
    check(m_world.addPrinters(queues) && m_world.startSpooler(), "the printers cannot be set up");
    m_watched.push_back({[this] { return m_world.log(); }, logLines, &m_written.lines});
    for (const World::Printer &printer : m_world.printers())
        m_watched.push_back({[&] { return m_world.journal(printer.serial); }, journalRecords, &m_written.records});
    m_world.startProgram();
}

Written Lane::run(int kills)
{
    setUp();
    for (int done = 0; done < kills; ++done) {
        // Every fourth kill comes during the start.
        if (done % 4 != 3)
            printAndKill();
        else
            pause(400);
        kill();
        m_world.startProgram();
        if (done % 4 != 2)
            expectOutcomes();
    }
    expectOutcomes();
    kill();
    return m_written;
}

/// The size identifies the job.
int Lane::printSomething(int printer)
{
    constexpr int kilo = 1000;
    const int size = ++m_jobs + kilo * m_random.bounded(largestJob);
    check(m_jobs < kilo, "too many jobs to tell them apart");
    const QString document = QString("job %1").arg(m_jobs);
    check(m_world.print(printer, document, QByteArray(size, 'x')), "cannot print");
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
    check(m_world.program()->state() == QProcess::Running, "the program has ended by itself");
    m_world.program()->kill();
    check(m_world.program()->waitForFinished(), "the program survives a kill");
    for (Watched &watched : m_watched) {
        const QString text = watched.text();
        const TextPieces pieces = watched.cut(text.mid(watched.read));
        watched.read = text.size();
        check(pieces.broken.isEmpty(), "broken: " + pieces.broken);
        *watched.count += pieces.whole;
        m_written.torn += !pieces.unfinished.isEmpty();
    }
}

void Lane::expectOutcomes()
{
    for (int printer = 0; printer < queues.size(); ++printer) {
        const QString record = QString(";打印成功;%1;").arg(printSomething(printer));
        check(QTest::qWaitFor([&] { return m_world.hasRecord(printer, record); }, outcomeTime),
              "no outcome of the job of bytes " + record);
    }
}

void expectNoJobTwice(const QList<QByteArray> &posts)
{
    QSet<QString> jobs;
    for (const QByteArray &post : posts) {
        const QJsonObject job = QJsonDocument::fromJson(post).object();
        jobs << QString("%1 %2").arg(job["dsNumber"].toString()).arg(job["size"].toInt());
    }
    check(jobs.size() == posts.size(), "a job was submitted twice");
}

void killWhileJobsRun(int kills, QRandomGenerator &random)
{
    World cloud;
    check(cloud.startCloud({"--polls", "0"}), "the cloud service did not start");
    std::vector<std::future<Written>> running;
    for (int lane = 0; lane < lanes; ++lane) {
        const int share = kills * (lane + 1) / lanes - kills * lane / lanes;
        running.push_back(
            std::async(std::launch::async, [seed = random.generate(), share] { return Lane(seed).run(share); }));
    }
    Written all;
    for (std::future<Written> &lane : running) {
        const Written written = lane.get();
        all.lines += written.lines;
        all.records += written.records;
        all.torn += written.torn;
    }
    const QList<QByteArray> posts = cloud.posts();
    std::printf("%d jobs received by the cloud; %d lines, %d records, %d torn pieces\n", posts.size(), all.lines,
                all.records, all.torn);
    expectNoJobTwice(posts);
}

void kill(QProcess *program)
{
    program->kill();
    check(program->waitForFinished(), "the program survives a kill");
}

/// Each printer is stored wholly or not at all.
void killWhilePrintersAreStored(int kills, QRandomGenerator &random)
{
    constexpr int mostPrinters = 9;
    World world;
    UiDriver user(world);
    const QString storeFile = world.path("task.db");
    QStringList stored{"ok"};
    int changes = 0;
    for (int number = 0; number <= kills; ++number) {
        const QString serial = QString("%1").arg(number, 16, 16, QChar('0')).toUpper();
        QStringList changed = stored;
        check(user.startProgram(), "the program did not start");
        if (number % 4 == 0 && stored.size() <= mostPrinters) {
            changed << storedPrinter(stored.size(), serial);
            check(user.addPrinter(QString("Desk %1").arg(stored.size()), serial), "a printer was not added");
        } else {
            changed[1] = storedPrinter(1, serial);
            user.click("modifyButton");
            user.type("cloudSerial", serial);
            user.click("modifyButton");
        }
        QTest::qWait(number == 0 ? 1000 : random.bounded(number % 2 ? 300 : 30));
        kill(world.program());
        const QStringList found = storeContent(storeFile);
        check(found == stored || found == changed, "not stored as it was or as it was changed:\n" + found.join('\n'));
        changes += found == changed;
        stored = found;
    }
    check(changes > 1, "every kill came before the store was written");
}

} // namespace

bool runKills(int kills, quint32 seed)
{
    std::printf("%d kills, seed %u\n", kills, seed);
    QRandomGenerator random(seed);
    try {
        killWhileJobsRun(kills * 4 / 5, random);
        killWhilePrintersAreStored(kills / 5, random);
    } catch (const std::runtime_error &error) {
        std::fprintf(stderr, "ERROR: %s\n", error.what());
        return false;
    }
    return true;
}
