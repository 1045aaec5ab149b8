// Twelve printers, on each a hundred jobs one after the other: the real program beside a relay of a few lines of
// Node.js (relay.js) that does the same for a job. Both ask for a job's result once a second. The two take turns, both
// running all the time. Usage: bench_throughput [JOBS], 100 on each printer when left out.

#include "bench/support/noderelay.h"
#include "tests/support/printjob.h"
#include "bench/support/processcost.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <thread>

namespace {

constexpr int printers = 12;
constexpr int jobSize = 100 * 1024;
constexpr int turns = 4;
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
        relay.peakMemory = std::max(relay.peakMemory, ProcessCost::privateMemory(relay.process));
        relay.peakDirtyMemory = std::max(relay.peakDirtyMemory, ProcessCost::privateDirtyMemory(relay.process));
        std::this_thread::sleep_for(memoryInterval);
    }
}

/// One turn; false when a job was not printed.
bool printTurn(Relay &relay, int jobs)
{
    static const std::atomic<bool> toTheEnd(false);
    std::atomic<bool> stop(false);
    std::thread watcher([&] { watchMemory(relay, stop); });
    const double timeBefore = ProcessCost::processorTime(relay.process);
    const auto begun = SteadyClock::now();
    const bool good = JobLoad::printOnAll(relay.printers, jobBytes(jobSize), jobs, toTheEnd);
    relay.seconds += milliseconds(begun, SteadyClock::now()) / 1000;
    relay.processorTime += ProcessCost::processorTime(relay.process) - timeBefore;
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
        ProcessCost::privateMemory(relay.process));
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

} // namespace

int main(int argc, char *argv[])
{
    const int jobs = argc > 1 ? std::atoi(argv[1]) : 100;
    World world;
    if (!setUp(world, printers, {"--polls", "0"}))
        return 1;
    const NodeRelay rival(world);
    Relay node{"Node.js", rival.process(), rival.printers()};
    Relay program{"program", world.program()->processId(), JobLoad::targetsOf(world)};
    bool good = rival.isListening();
    for (int turn = 0; turn < turns && good; ++turn) {
        const int part = jobs * (turn + 1) / turns - jobs * turn / turns;
        good = printTurn(program, part) && printTurn(node, part);
    }
    if (good)
        showBoth(program, node);
    else
        std::fputs("not every job was printed\n", stderr);
    return good ? 0 : 1;
}
