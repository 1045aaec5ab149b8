// How long the real program takes from the end of a job, when the sender closes the connection, to the first byte of
// its submission at the cloud: with twelve printers idle, and with the eleven others busy, each relaying a job or
// asking for its result all the time. Usage: bench_delay [SAMPLES], 300 when left out.

#include "bench/support/cloudsink.h"
#include "bench/support/jobload.h"
#include "tests/support/samples.h"

#include <QRandomGenerator>

#include <cstdio>
#include <cstdlib>
#include <limits>

namespace {

constexpr int printers = 12;
constexpr int jobSize = 100 * 1024;
constexpr std::chrono::seconds arrivalLimit(10);
constexpr std::chrono::seconds warmUp(3);

/// Long enough for the printer to be free again, and never in step with the others.
void pause()
{
    std::this_thread::sleep_for(std::chrono::milliseconds(QRandomGenerator::global()->bounded(50, 150)));
}

/// Prints the delays of `count` jobs; false when one did not arrive.
bool measure(const char *circumstances, CloudSink &cloud, const JobLoad::Target &printer, int count)
{
    const QByteArray job = jobBytes(jobSize);
    Samples delays;
    for (int i = 0; i < count; ++i) {
        pause();
        const auto sent = sendJob(printer.port, job);
        const auto arrived = sent ? cloud.await(printer.serial.toLatin1(), arrivalLimit) : std::nullopt;
        if (!arrived)
            return false;
        delays.add(milliseconds(sent->closed, arrived->firstByte));
    }
    std::printf("%-18s delay of %zu jobs: %.1f ms (50th percentile), %.1f ms (95th), %.1f ms (worst)\n", circumstances,
                delays.size(), delays.median(), delays.percentile(95), delays.worst());
    return true;
}

/// The same while the other printers are busy; false also when one of their jobs was not printed.
bool measureBusy(CloudSink &cloud, const std::vector<JobLoad::Target> &all, int count)
{
    const std::vector<JobLoad::Target> others(all.begin() + 1, all.end());
    std::atomic<bool> stop(false);
    bool printed = false;
    std::thread load(
        [&] { printed = JobLoad::printOnAll(others, jobBytes(jobSize), std::numeric_limits<int>::max(), stop); });
    std::this_thread::sleep_for(warmUp);
    const bool good = measure("eleven others busy", cloud, all.front(), count);
    stop = true;
    load.join();
    return good && printed;
}

} // namespace

int main(int argc, char *argv[])
{
    const int count = argc > 1 ? std::atoi(argv[1]) : 300;
    CloudSink cloud(World::cloudPort());
    World world;
    if (!cloud.isListening() || !setUp(world, printers))
        return 1;
    const std::vector<JobLoad::Target> all = JobLoad::targetsOf(world);
    cloud.refuse(all.front().serial.toLatin1());
    const bool good = measure("twelve idle", cloud, all.front(), count) && measureBusy(cloud, all, count);
    if (!good)
        std::fputs("not every job arrived\n", stderr);
    return good ? 0 : 1;
}
