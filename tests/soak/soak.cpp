// soak MINUTES JOBS KILLS SEED: the real program with a dozen printers and a user, a spooler and a cloud service that
// misbehaves, each a process of its own: under load until so many minutes are over and so many jobs are printed, or
// killed so often. Ends with a table, and with 1 if the ledger does not balance or something was left behind.

#include "tests/soak/ledger.h"
#include "tests/support/processfigures.h"
#include "tests/support/storecontent.h"
#include "tests/support/uidriver.h"

#include <QApplication>
#include <QDeadlineTimer>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <vector>

namespace {

constexpr int printerCount = 12;         // twice as many for a number of jobs
constexpr int tickInterval = 100;        // ms
constexpr int settlingTime = 8000;       // ms until the program has asked for its devices and is idle
constexpr int longestWait = 60000;       // ms for a job's outcome, for a change, and for the release of what was used
constexpr int longestPause = 300;        // ms from an outcome to the next job
constexpr int longestCloudLife = 120000; // ms
constexpr int longestOutage = 6000;      // ms
constexpr int longestLook = 3000;        // ms that the user looks at something
constexpr double dialogSize = 0.04;      // MiB; a message about each printer stays until the program ends

struct Printer
{
    QString queue;
    QString serial;
    QString excuse = {};      ///< of the next jobs for having no record
    int running = 0;          ///< size of the last job while it has no outcome
    QDeadlineTimer next = {}; ///< batch; while a job runs, the time to give it up
    bool isPrintedTo = true;
};

class Load
{
public:
    /// Until all three are over.
    bool run(int minutes, int jobs, int kills, quint32 seed)
    {
        m_ledger.seed(seed);
        startCloud();
        expect(m_world.startSpooler() && m_user.startProgram(), "the program did not start");
        QObject::connect(&m_tick, &QTimer::timeout, [this] { tick(); });
        m_tick.start(tickInterval);
        for (int number = 1; number <= (jobs > 0 ? 2 : 1) * printerCount; ++number)
            addPrinter(QString("Desk %1").arg(number));
        // What the program loads and keeps when it first relays a job or shows a dialog, such as fonts, is not growth.
        printOnAll();
        liveWithPrinter();
        QTest::qWait(settlingTime);
        const QMap<QString, double> start = usage();

        m_isLoading = true;
        m_printers.front().isPrintedTo = kills == 0;
        for (Printer &printer : m_printers)
            printer.excuse = kills > 0 ? "the program was killed: no record" : "";
        for (int number = 0; number < kills && m_ledger.isGood(); ++number)
            killProgram(number);
        for (const QDeadlineTimer end(minutes * 60000LL);
             m_ledger.isGood() && (!end.hasExpired() || m_ledger.jobs() < jobs);)
            liveWithPrinter();
        m_isLoading = false;
        // With a cloud that behaves: each printer must be free.
        awaitQuiet();
        if (m_cloud)
            killCloud();
        expect(QTest::qWaitFor([&] { return m_cloud; }, longestWait), "the cloud service did not start");
        printOnAll();
        expectNothingLeft(start);
        return m_ledger.report();
    }

private:
    void expect(bool condition, const QString &otherwise) { m_ledger.expect(condition, otherwise); }
    int random(int below) { return m_ledger.random(below); }

    void tick()
    {
        if (m_isLoading && m_cloud && m_cloudChange.hasExpired())
            killCloud();
        if (!m_cloud)
            m_ledger.cloudIsDown();
        m_ledger.update();
        for (Printer &printer : m_printers)
            tend(printer);
    }

    void killCloud()
    {
        m_ledger.count("the cloud killed and started again");
        m_cloud->kill();
        m_cloud->waitForFinished();
        m_cloud = nullptr;
        QTimer::singleShot(random(longestOutage), &m_tick, [this] { startCloud(); });
    }

    /// It misbehaves while there is load.
    void startCloud()
    {
        QStringList faults;
        for (auto fault = cloudFaults.begin(); m_isLoading && fault != cloudFaults.end(); ++fault)
            faults << QString("%1=%2").arg(fault.key()).arg(fault->first);
        const QString seed = QString::number(random(99999));
        m_cloud = m_world.startCloud({"--polls", "0", "--faults", faults.join(','), "--seed", seed});
        m_ledger.cloudIsDown();
        m_cloudChange.setRemainingTime(m_isLoading ? random(longestCloudLife) : 0);
    }

    /// Mostly prints one document; sometimes a second after it, and seldom a crowd, of which all but the first and the
    /// last may be superseded.
    void tend(Printer &printer)
    {
        // What has no outcome in time never will.
        if (printer.running && (m_ledger.hasEnded(printer.running) || printer.next.hasExpired())) {
            expect(m_ledger.hasEnded(printer.running) || !printer.excuse.isEmpty(), "no outcome on " + printer.queue);
            printer.running = 0;
            printer.next.setRemainingTime(random(longestPause));
        }
        if (!m_isLoading || !printer.isPrintedTo || printer.running || !printer.next.hasExpired())
            return;
        const int dice = random(100);
        for (int left = dice < 85 ? 1 : dice < 98 ? 2 : 4; left > 0; --left)
            print(printer, printer.excuse.isEmpty() && left > 1 && dice >= 98
                               ? "superseded in the single slot: never relayed"
                               : printer.excuse);
    }

    void print(Printer &printer, const QString &excuse = QString())
    {
        printer.running = m_ledger.print(printer.queue, printer.serial, excuse);
        printer.next.setRemainingTime(longestWait);
    }

    void printOnAll()
    {
        for (Printer &printer : m_printers)
            if (printer.isPrintedTo)
                print(printer);
        awaitQuiet();
    }

    /// For the outcomes of all jobs on printers that are not printed to any more.
    bool awaitQuiet()
    {
        const auto isQuiet = [this](const Printer &p) { return p.running == 0 || (m_isLoading && p.isPrintedTo); };
        const auto areQuiet = [&] { return std::all_of(m_printers.begin(), m_printers.end(), isQuiet); };
        return QTest::qWaitFor(areQuiet, 2 * longestWait);
    }

    bool awaitQueue(const QString &serial, bool isThere = true)
    {
        return QTest::qWaitFor([&] { return m_world.queues().contains(serial) == isThere; }, longestWait);
    }

    QString newSerial() { return QString("5EED%1").arg(++m_serials, 12, 10, QChar('0')); }

    /// Its card becomes the first.
    void addPrinter(const QString &queue)
    {
        const QString serial = newSerial();
        expect(m_user.addPrinter(queue, serial), "cannot add " + queue);
        m_printers.push_back({queue, serial});
    }

    /// The one whose card is the first.
    void changePrinter(Printer &printer)
    {
        printer.isPrintedTo = false;
        expect(awaitQuiet(), "a printer did not come to rest");
        printer.serial = newSerial();
        m_user.click("modifyButton");
        m_user.type("cloudSerial", printer.serial);
        m_user.click("modifyButton");
    }

    /// What a user does. The printer is sometimes removed while a job runs.
    void liveWithPrinter()
    {
        addPrinter("Extra");
        Printer &printer = m_printers.back();
        QTest::qWait(random(longestLook));
        changePrinter(printer);
        expect(awaitQueue(printer.serial), "cannot change a printer");
        print(printer);
        awaitQuiet();
        printer.excuse = "printer removed while the job ran: no record";
        printer.isPrintedTo = true;
        expect(m_user.showDetails(random(longestLook)), "the details did not open and close");
        printer.isPrintedTo = false;
        if (random(3) > 0)
            awaitQuiet();
        m_user.click("deleteButton");
        expect(awaitQueue(printer.serial, false), "cannot remove a printer");
        m_printers.pop_back();
        m_ledger.count("printers added, changed and removed");
    }

    /// While it starts, while jobs run, or while the first printer is changed, which is stored or not.
    void killProgram(int number)
    {
        const bool isChange = number % 3 == 2;
        const QString before = storeContent(m_world.path("task.db")).join('\n');
        if (isChange && m_user.awaitWindow())
            changePrinter(m_printers.front());
        QTest::qWait(random(isChange ? 100 : longestLook));
        expect(m_world.program()->state() == QProcess::Running, "the program has ended by itself");
        m_world.program()->kill();
        m_world.program()->waitForFinished();
        const QString serial = m_printers.front().serial;
        const QString changed = QString(before).replace(before.indexOf(serial.left(4)), serial.size(), serial);
        const QString after = storeContent(m_world.path("task.db")).join('\n');
        expect(after.startsWith("ok\n") && (after == before || after == changed), "the store: " + after);
        m_ledger.count("changes that were stored before the kill", isChange && after == changed);
        for (Printer &other : m_printers)
            other.next.setRemainingTime(0); // its job may have no outcome
        m_world.startProgram();
    }

    QMap<QString, double> usage() const
    {
        const qint64 pid = m_world.program()->processId();
        return {{"descriptors", ProcessFigures::descriptors(pid)},
                {"memory written to, MiB", ProcessFigures::privateDirtyMemory(pid)},
                {"threads", ProcessFigures::threads(pid)}};
    }

    void expectNothingLeft(const QMap<QString, double> &start)
    {
        expect(m_world.program()->state() == QProcess::Running, "the program has ended");
        for (const QString &name : start.keys()) {
            const double growth = name.startsWith("memory") ? 5 + m_serials * dialogSize : 0;
            const auto isReleased = [&] { return usage()[name] <= start[name] + growth; };
            expect(QTest::qWaitFor(isReleased, longestWait), name + " were left behind");
            m_ledger.count(name + ", at the start", start[name]);
            m_ledger.count(name + ", in the end", usage()[name]);
        }
    }

    Ledger m_ledger;
    World &m_world = m_ledger.world;
    UiDriver m_user{m_world};
    QProcess *m_cloud = nullptr; ///< null while it is down
    QDeadlineTimer m_cloudChange;
    QTimer m_tick;
    std::vector<Printer> m_printers;
    int m_serials = 0;
    bool m_isLoading = false;
};

} // namespace

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    const auto number = [&](int position) { return arguments.value(position).toInt(); };
    return Load().run(number(1), number(2), number(3), quint32(number(4))) ? 0 : 1;
}
