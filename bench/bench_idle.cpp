// What the real program with twelve printers costs while nobody prints: processor time, wake-ups and memory, the
// questions for the devices' states included. Usage: bench_idle [SECONDS], 600 when left out.

#include "bench/support/processcost.h"
#include "bench/support/jobload.h"

#include <QThread>

#include <cstdio>
#include <cstdlib>

namespace {

constexpr int printers = 12;
constexpr unsigned long settleTime = 10; // s

} // namespace

int main(int argc, char *argv[])
{
    const int seconds = argc > 1 ? std::atoi(argv[1]) : 600;
    World world;
    if (!setUp(world, printers, {"--polls", "0"}))
        return 1;
    QThread::sleep(settleTime);
    const qint64 program = world.program()->processId();
    const double timeBefore = ProcessCost::processorTime(program);
    const qint64 wakeUpsBefore = ProcessCost::wakeUps(program);
    QThread::sleep(static_cast<unsigned long>(seconds));
    const double time = ProcessCost::processorTime(program) - timeBefore;
    const qint64 wakeUps = ProcessCost::wakeUps(program) - wakeUpsBefore;
    std::printf(
        "%d printers idle for %d s: %.2f s of processor time (%.3f %% of a core), %lld wake-ups (%.2f a second),"
        " %.0f MiB resident, %.0f MiB private\n",
        printers, seconds, time, time * 100 / seconds, wakeUps, double(wakeUps) / seconds,
        ProcessCost::memory(program, "VmRSS"), ProcessCost::privateMemory(program));
    return 0;
}
