// The real program under load for minutes: a dozen printers and a user, a spooler and a cloud service that misbehaves,
// each a process of its own. Ends with a table, and with 1 if the ledger does not balance or something was left behind.

#include "tests/soak/ledger.h"
#include "tests/soak/kills.h"
#include "tests/support/processfigures.h"
#include "tests/support/uidriver.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QCryptographicHash>
#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QSet>
#include <QTcpSocket>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>
#include <vector>

namespace {

constexpr int printerCount = 12;
constexpr int portOfFirstExtra = 8100 + printerCount + 1; // by the name of its port
constexpr int kibibyte = 1024;
constexpr int tickInterval = 100;         // ms
constexpr int settlingTime = 8000;        // ms until the program has asked for its devices and is idle
constexpr int restTime = 60000;           // ms between the last job and the last look at the memory
constexpr int outcomeTime = 60000;        // ms that a job may take to its outcome
constexpr int crowdTime = 25000;          // ms; some of a crowd have no outcome
constexpr int longConnection = 32000;     // ms; the relay gives up after 30 s
constexpr double memoryGrowthAllowed = 5; // MiB
constexpr int cloudPause = 90000;         // ms between two deaths of the cloud service, at most
constexpr int outageTime = 6000;          // ms, at most
constexpr int lookTime = 3000;            // ms that the user looks at the details

const QString faults = QStringLiteral("printed=78,long-printing=2,offline=3,out-of-paper=2,bare-text=2,too-large=2,"
                                      "server-error=2,slow=2,silent=1,cut=2,result-error=1,result-cut=1,"
                                      "result-invalid=2");

/// For the printers that the user makes.
QString extraSerial(int number)
{
    return QStringLiteral("5EED%1").arg(number, 12, 10, QLatin1Char('0'));
}

/// A printer that is printed to.
struct Printer
{
    QString queue;
    QString serial;
    QVector<qint64> running; ///< sizes of the jobs without an outcome
    QElapsedTimer sincePrinted;
    int pause = 0; ///< ms from the last outcome to the next job
    bool inCrowd = false;
    bool isPrintedTo = true;
};

/// What the program uses at one moment.
struct Usage
{
    double memory = 0; ///< MiB that it has written to
    int descriptors = 0;
    int threads = 0;

    static Usage of(qint64 pid)
    {
        return {ProcessFigures::privateDirtyMemory(pid), ProcessFigures::descriptors(pid),
                ProcessFigures::threads(pid)};
    }
};

} // namespace

class Soak : public QObject
{
    Q_OBJECT

public:
    Soak(int minutes, quint32 seed);
    bool run();

private:
    // The stage.
    bool setUp();
    QStringList withFaults();
    void startCloud(const QStringList &options);
    void tick();
    bool wait(const std::function<bool()> &condition, int timeout);

    // The load.
    void tendCloud();
    void endOutage();
    void tendPrinter(Printer &printer);
    void printBatch(Printer &printer);
    void print(Printer &printer, qint64 size, Circumstance circumstance);
    qint64 newSize();
    static bool isQuiet(const Printer &printer) { return printer.running.isEmpty(); }

    // The user.
    void useEverythingOnce();
    void work();
    void keepConnectionOpen();
    void liveWithPrinter();
    Printer *addPrinter();
    void changePrinter(Printer &printer);
    void removePrinter(Printer &printer);
    void complain(const QString &what) { m_errors << what; }

    // The end.
    void awaitQuiet();
    void printOnceMore();
    void judgeLeftovers();
    bool report() const;

    const int m_minutes;
    QRandomGenerator m_random;
    World m_world;
    Ledger m_ledger;
    UiDriver m_user;
    QProcess *m_cloud = nullptr;
    QTimer m_tick;
    QElapsedTimer m_sinceCloudChange;
    QDateTime m_outageBegan;
    int m_cloudChangeAfter = cloudPause / 4; // ms; the first time soon, so that a short run has one, too
    std::vector<std::unique_ptr<Printer>> m_printers;
    QSet<qint64> m_sizes;
    Usage m_start;
    Usage m_end;
    double m_peakMemory = 0;
    int m_lives = 0;
    int m_outages = 0;
    bool m_isLoading = false;
    QStringList m_errors;
};

Soak::Soak(int minutes, quint32 seed)
    : m_minutes(minutes)
    , m_random(seed)
    , m_ledger(m_world.path(), m_world.path(QStringLiteral("cloud")))
    , m_user(m_world)
{
    connect(&m_tick, &QTimer::timeout, this, &Soak::tick);
}

bool Soak::setUp()
{
    QStringList queues;
    for (int i = 0; i < printerCount; ++i)
        queues << QStringLiteral("打印机 %1").arg(i + 1);
    if (!m_world.addPrinters(queues) || !m_world.startSpooler())
        return false;
    for (int i = 0; i < printerCount; ++i) {
        m_printers.push_back(std::make_unique<Printer>());
        m_printers.back()->queue = queues.at(i);
        m_printers.back()->serial = m_world.serial(i);
    }
    startCloud(withFaults());
    return m_user.startProgram();
}

QStringList Soak::withFaults()
{
    return {"--fates", faults, "--seed", QString::number(m_random.bounded(1000000))};
}

void Soak::startCloud(const QStringList &options)
{
    m_cloud = m_world.startCloud(QStringList{"--polls", "0"} + options);
    if (!m_cloud)
        complain(QStringLiteral("the cloud service did not start"));
    m_sinceCloudChange.start();
}

bool Soak::wait(const std::function<bool()> &condition, int timeout)
{
    return QTest::qWaitFor(condition, timeout);
}

void Soak::tick()
{
    m_ledger.update();
    m_peakMemory = qMax(m_peakMemory, ProcessFigures::privateDirtyMemory(m_world.program()->processId()));
    if (m_isLoading)
        tendCloud();
    for (const auto &printer : m_printers)
        tendPrinter(*printer);
}

/// Kills the cloud service now and then, and starts it again.
void Soak::tendCloud()
{
    if (!m_sinceCloudChange.hasExpired(m_cloudChangeAfter))
        return;
    if (m_outageBegan.isNull()) {
        m_outageBegan = QDateTime::currentDateTime();
        ++m_outages;
        m_cloud->kill();
        m_cloud->waitForFinished();
        m_cloudChangeAfter = m_random.bounded(outageTime);
        m_sinceCloudChange.start();
    } else {
        endOutage();
    }
}

void Soak::endOutage()
{
    startCloud(withFaults());
    m_ledger.addCloudOutage(m_outageBegan, QDateTime::currentDateTime());
    m_outageBegan = QDateTime();
    m_cloudChangeAfter = cloudPause / 3 + m_random.bounded(cloudPause * 2 / 3);
}

void Soak::tendPrinter(Printer &printer)
{
    const bool wasQuiet = isQuiet(printer);
    const auto hasEnded = [&](qint64 size) { return m_ledger.hasEnded(size); };
    printer.running.erase(std::remove_if(printer.running.begin(), printer.running.end(), hasEnded),
                          printer.running.end());
    // What has no outcome by now never will; the ledger says whether it should have.
    if (printer.sincePrinted.isValid() && printer.sincePrinted.hasExpired(printer.inCrowd ? crowdTime : outcomeTime))
        printer.running.clear();
    if (!isQuiet(printer))
        return;
    if (!wasQuiet) {
        printer.pause = m_random.bounded(300);
        printer.sincePrinted.start();
    }
    if (m_isLoading && printer.isPrintedTo &&
        (!printer.sincePrinted.isValid() || printer.sincePrinted.hasExpired(printer.pause)))
        printBatch(printer);
}

/// Mostly one document; sometimes a second after it, and seldom a crowd.
void Soak::printBatch(Printer &printer)
{
    const int dice = m_random.bounded(100);
    printer.inCrowd = dice >= 98;
    const int count = printer.inCrowd ? 4 : dice >= 85 ? 2 : 1;
    const Circumstance circumstance = printer.inCrowd ? Circumstance::InCrowd
                                      : count == 2    ? Circumstance::InSlot
                                                      : Circumstance::Alone;
    for (int i = 0; i < count; ++i)
        print(printer, newSize(), circumstance);
}

/// In bytes; unlike all before.
qint64 Soak::newSize()
{
    qint64 size = 0;
    do {
        const bool isLarge = m_random.bounded(100) == 0;
        size = isLarge ? 20 * kibibyte * kibibyte + m_random.bounded(kibibyte)
                       : m_random.bounded(10 * kibibyte, 300 * kibibyte);
    } while (m_sizes.contains(size));
    m_sizes.insert(size);
    return size;
}

void Soak::print(Printer &printer, qint64 size, Circumstance circumstance)
{
    QByteArray bytes(int(size), '\0');
    m_random.fillRange(reinterpret_cast<quint32 *>(bytes.data()), size / qint64(sizeof(quint32)));
    const QString document = QStringLiteral("文档 %1").arg(size);
    m_ledger.add({size, QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex(), printer.serial, document,
                  QDateTime::currentDateTime(), circumstance});
    if (!m_world.print(printer.queue, document, bytes))
        complain(QStringLiteral("cannot print on ") + printer.queue);
    printer.running.append(size);
    printer.sincePrinted.start();
}

/// What the program loads and keeps when it first shows a dialog or relays a job, such as fonts, is not growth.
void Soak::useEverythingOnce()
{
    for (const auto &printer : m_printers)
        print(*printer, newSize(), Circumstance::Alone);
    liveWithPrinter();
    awaitQuiet();
}

/// What a user does with printers, again and again.
void Soak::work()
{
    keepConnectionOpen();
    while (m_isLoading) {
        liveWithPrinter();
        QTest::qWait(1000 + m_random.bounded(3000));
    }
}

Printer *Soak::addPrinter()
{
    ++m_lives;
    auto printer = std::make_unique<Printer>();
    printer->queue = QStringLiteral("Extra %1").arg(m_lives);
    printer->serial = extraSerial(1000 + m_lives);
    const bool isAdded = m_user.addPrinter(printer->queue, printer->serial);
    if (!isAdded || !m_world.queues().contains(printer->serial)) {
        complain(QStringLiteral("cannot add ") + printer->queue);
        return nullptr;
    }
    m_printers.push_back(std::move(printer));
    return m_printers.back().get();
}

/// A new printer is kept busy by a connection that stays, which leaves it busy for good. It is removed again.
void Soak::keepConnectionOpen()
{
    Printer *printer = addPrinter();
    if (!printer)
        return;
    printer->isPrintedTo = false;
    wait([&] { return isQuiet(*printer); }, outcomeTime);
    QTcpSocket socket;
    socket.connectToHost(QHostAddress::LocalHost, portOfFirstExtra);
    socket.waitForConnected();
    socket.write("?");
    QTest::qWait(longConnection);
    socket.abort();
    print(*printer, newSize(), Circumstance::BusyForGood);
    QTest::qWait(lookTime);
    printer->running.clear();
    removePrinter(*printer);
}

void Soak::liveWithPrinter()
{
    Printer *printer = addPrinter();
    if (!printer)
        return;
    QTest::qWait(m_random.bounded(lookTime));
    if (!m_user.showDetails(m_random.bounded(lookTime)))
        complain(QStringLiteral("the details did not open and close"));
    changePrinter(*printer);
    if (!m_user.showDetails(m_random.bounded(lookTime)))
        complain(QStringLiteral("the details did not open and close"));
    QTest::qWait(m_random.bounded(lookTime));
    printer->isPrintedTo = false;
    if (m_random.bounded(3) > 0)
        wait([&] { return isQuiet(*printer); }, outcomeTime);
    removePrinter(*printer);
}

void Soak::changePrinter(Printer &printer)
{
    printer.isPrintedTo = false;
    if (!wait([&] { return isQuiet(printer); }, outcomeTime + tickInterval))
        complain(printer.queue + QStringLiteral(" did not come to rest"));
    const QString name = QStringLiteral("Changed %1").arg(m_lives);
    const QString serial = extraSerial(2000 + m_lives);
    m_user.click(QStringLiteral("modifyButton"));
    m_user.type(QStringLiteral("printerName"), name);
    m_user.type(QStringLiteral("cloudSerial"), serial);
    m_user.click(QStringLiteral("modifyButton"));
    if (!wait([&] { return m_world.queues().contains(name) && m_world.queues().contains(serial); }, outcomeTime))
        complain(QStringLiteral("cannot change ") + printer.queue);
    printer.queue = name;
    printer.serial = serial;
    printer.isPrintedTo = true;
}

void Soak::removePrinter(Printer &printer)
{
    for (const qint64 size : qAsConst(printer.running))
        if (!m_ledger.hasEnded(size))
            m_ledger.setCircumstance(size, Circumstance::OnRemoved);
    printer.isPrintedTo = false;
    m_user.click(QStringLiteral("deleteButton"));
    if (!wait([&] { return !m_world.queues().contains(printer.serial); }, outcomeTime))
        complain(QStringLiteral("cannot remove ") + printer.queue);
    m_printers.erase(std::find_if(m_printers.begin(), m_printers.end(),
                                  [&](const auto &candidate) { return candidate.get() == &printer; }));
}

void Soak::awaitQuiet()
{
    wait(
        [this] { return std::all_of(m_printers.begin(), m_printers.end(), [](const auto &p) { return isQuiet(*p); }); },
        outcomeTime + tickInterval);
}

/// With a cloud that behaves: each printer must be free for it.
void Soak::printOnceMore()
{
    if (!m_outageBegan.isNull())
        endOutage();
    awaitQuiet();
    m_cloud->terminate();
    m_cloud->waitForFinished();
    startCloud({});
    QVector<qint64> sizes;
    for (const auto &printer : m_printers) {
        print(*printer, newSize(), Circumstance::Alone);
        sizes += printer->running;
    }
    awaitQuiet();
    for (const qint64 size : qAsConst(sizes))
        if (!m_ledger.hasEnded(size))
            complain(QStringLiteral("a printer was left busy: the last job, of %1 bytes, has no outcome").arg(size));
}

void Soak::judgeLeftovers()
{
    if (m_world.program()->state() != QProcess::Running)
        complain(QStringLiteral("the program has ended"));
    if (m_end.memory - m_start.memory > memoryGrowthAllowed)
        complain(QStringLiteral("the program has grown by %1 MiB").arg(m_end.memory - m_start.memory));
    if (m_end.descriptors > m_start.descriptors || m_end.threads > m_start.threads)
        complain(QStringLiteral("descriptors or threads stayed behind"));
}

bool Soak::run()
{
    if (!setUp()) {
        std::fputs("the program did not come up\n", stderr);
        return false;
    }
    m_tick.start(tickInterval);
    useEverythingOnce();
    QTest::qWait(settlingTime);
    m_start = Usage::of(m_world.program()->processId());
    m_isLoading = true;
    QTimer::singleShot(m_minutes * 60000, this, [this] { m_isLoading = false; });
    work();
    printOnceMore();
    QTest::qWait(restTime);
    m_end = Usage::of(m_world.program()->processId());
    judgeLeftovers();
    return report();
}

bool Soak::report() const
{
    const Balance balance = m_ledger.balance();
    const auto row = [](const char *name, const QString &value) {
        std::printf("%-46s %s\n", name, value.toUtf8().constData());
    };
    const auto count = [&](const char *name, qint64 value) { row(name, QString::number(value)); };
    const auto span = [&](const char *name, double start, double end) {
        row(name, QStringLiteral("%1 at the start, %2 at the end").arg(start).arg(end));
    };
    count("jobs printed", balance.jobs);
    row("bytes printed", QStringLiteral("%1 MiB").arg(double(balance.bytes) / kibibyte / kibibyte, 0, 'f', 0));
    count("submissions received by the cloud", balance.submissions);
    count("journal records", balance.records);
    for (auto outcome = balance.outcomes.begin(); outcome != balance.outcomes.end(); ++outcome)
        row(qUtf8Printable(QStringLiteral("    ") + outcome.key()), QString::number(outcome.value()));
    std::puts("exceptions by intention");
    for (auto exception = balance.exceptions.begin(); exception != balance.exceptions.end(); ++exception)
        row(qUtf8Printable(QStringLiteral("    ") + exception.key()), QString::number(exception.value()));
    count("cloud service killed and restarted", m_outages);
    count("printers added, changed and removed", m_lives);
    span("private memory, MiB", m_start.memory, m_end.memory);
    row("    at its peak", QStringLiteral("%1 MiB").arg(m_peakMemory));
    span("descriptors", m_start.descriptors, m_end.descriptors);
    span("threads", m_start.threads, m_end.threads);
    const QStringList errors = m_errors + balance.errors;
    for (const QString &error : errors)
        std::fprintf(stderr, "ERROR: %s\n", error.toUtf8().constData());
    return errors.isEmpty();
}

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    QCommandLineParser parser;
    parser.addPositionalArgument(QStringLiteral("MINUTES"), QStringLiteral("how long the load lasts (10)"));
    parser.addOption({QStringLiteral("seed"), QStringLiteral("of all that is random"), QStringLiteral("N")});
    parser.addOption(
        {QStringLiteral("kills"), QStringLiteral("kill the program so often instead"), QStringLiteral("N")});
    parser.addHelpOption();
    parser.process(application);
    const QString seedText = parser.value(QStringLiteral("seed"));
    const quint32 seed = seedText.isEmpty() ? QRandomGenerator::global()->generate() : seedText.toUInt();
    const int kills = parser.value(QStringLiteral("kills")).toInt();
    if (kills > 0)
        return runKills(kills, seed) ? 0 : 1;
    const int minutes = parser.positionalArguments().value(0, QStringLiteral("10")).toInt();
    if (minutes <= 0)
        parser.showHelp(1);
    std::printf("%d minutes of load, seed %u\n", minutes, seed);
    std::fflush(stdout);
    const bool isGood = Soak(minutes, seed).run();
    std::puts(isGood ? "The ledger balances" : "The ledger does not balance, or something was left behind");
    return isGood ? 0 : 1;
}

#include "soak.moc"
