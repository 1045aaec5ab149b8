// Twelve printers, on each a hundred jobs one after the other: the real program beside a relay of a few lines of
// Node.js (relay.js) that does the same for a job. Both ask for a job's result once a second. The two take turns, both
// running all the time. Usage: bench_throughput [JOBS], 100 on each printer when left out.

#include "bench/support/jobload.h"
#include "tests/support/ports.h"
#include "tests/support/printjob.h"
#include "tests/support/processfigures.h"

#include <QDir>
#include <QTest>
#include <QThread>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <thread>

namespace {

constexpr int printers = 12;
constexpr int jobSize = 100 * 1024;
constexpr int turns = 4;
constexpr int portDistance = 1000; // from a port of the program to that of the relay
constexpr std::chrono::milliseconds memoryInterval(200);

/// One of the two.
struct Relay
{
    const char *name;
    qint64 process;
    std::vector<JobLoad::Target> printers;
    int jobs = 0;               ///< printed on all printers
    double seconds = 0;         ///< taken for them
    double peakMemory = 0;      ///< private, in MiB
    double peakDirtyMemory = 0; ///< of it written to
    double processorTime = 0;   ///< s

    double rate() const { return jobs / seconds; }
};

/// Notes the process's peak of private memory until asked to stop.
void watchMemory(Relay &relay, const std::atomic<bool> &stop)
{
    while (!stop) {
        relay.peakMemory = std::max(relay.peakMemory, ProcessFigures::privateMemory(relay.process));
        relay.peakDirtyMemory = std::max(relay.peakDirtyMemory, ProcessFigures::privateDirtyMemory(relay.process));
        std::this_thread::sleep_for(memoryInterval);
    }
}

/// One turn; false when a job was not printed.
bool printTurn(Relay &relay, int jobs)
{
    static const std::atomic<bool> toTheEnd(false);
    std::atomic<bool> stop(false);
    std::thread watcher([&] { watchMemory(relay, stop); });
    const double timeBefore = ProcessFigures::processorTime(relay.process);
    const auto begun = SteadyClock::now();
    const bool good = JobLoad::printOnAll(relay.printers, jobBytes(jobSize), jobs, toTheEnd);
    relay.seconds += milliseconds(begun, SteadyClock::now()) / 1000;
    relay.processorTime += ProcessFigures::processorTime(relay.process) - timeBefore;
    relay.jobs += jobs * int(relay.printers.size());
    stop = true;
    watcher.join();
    return good;
}

void show(const Relay &relay)
{
    std::printf(
        "%-8s %.2f jobs a second, %.1f ms of processor time a job; private memory %.1f MiB (peak; %.1f MiB of it"
        " written to), %.1f MiB (afterwards)\n",
        relay.name, relay.rate(), relay.processorTime * 1000 / relay.jobs, relay.peakMemory, relay.peakDirtyMemory,
        ProcessFigures::privateMemory(relay.process));
}

void showBoth(const Relay &program, const Relay &node)
{
    show(program);
    show(node);
    std::printf("program to Node.js: %.3f times the rate, %.2f times the private memory (peak; %.2f times of what was"
                " written to)\n",
                program.rate() / node.rate(), program.peakMemory / node.peakMemory,
                program.peakDirtyMemory / node.peakDirtyMemory);
}

/// The relay of Node.js for as many printers, on ports of its own.
Relay startNode(const World &world, QProcess &process)
{
    const QString journals = world.path("node");
    QDir().mkpath(journals);
    Relay relay{"Node.js", 0, JobLoad::targetsOf(world)};
    QStringList arguments{ORVO_BENCH_RELAY, QStringLiteral("http://127.0.0.1:%1").arg(World::cloudPort()), journals};
    for (JobLoad::Target &printer : relay.printers) {
        printer.port = quint16(printer.port + portDistance);
        printer.journal = journals + '/' + printer.serial + ".txt";
        arguments << QStringLiteral("%1=%2").arg(printer.port).arg(printer.serial);
    }
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start("node", arguments);
    if (QTest::qWaitFor([&] { return isListening(relay.printers.back().port); }))
        relay.process = process.processId();
    return relay;
}

} // namespace

int main(int argc, char *argv[])
{
    const int jobs = argc > 1 ? std::atoi(argv[1]) : 100;
    World world;
    if (!setUp(world, printers, {"--polls", "0"}))
        return 1;
    QProcess process;
    Relay node = startNode(world, process);
    Relay program{"program", world.program()->processId(), JobLoad::targetsOf(world)};
    bool good = true;
    for (int turn = 0; turn < turns && good; ++turn) {
        const int part = jobs * (turn + 1) / turns - jobs * turn / turns;
        good = printTurn(program, part) && printTurn(node, part);
    }
    if (good)
        showBoth(program, node);
    else
        std::fputs("not every job was printed\n", stderr);
    process.kill();
    process.waitForFinished();
    return good ? 0 : 1;
}
