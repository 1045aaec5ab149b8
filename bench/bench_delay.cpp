// How long the real program takes from the end of a job, when the sender closes the connection, to the first byte of
// its submission at the cloud, beside a relay of Node.js: with twelve printers idle, and with the eleven others busy,
// each relaying a job or asking for its result all the time. Usage: bench_delay [SAMPLES], 300 when left out.

#include "bench/support/cloudsink.h"
#include "bench/support/noderelay.h"
#include "bench/support/samples.h"

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

/// One of the two that are compared.
struct Relay
{
    const char *name;
    std::vector<JobLoad::Target> printers;
    Samples delays;

    /// Adds the delay of one job on the first printer; false when it did not arrive.
    bool print(CloudSink &cloud, const QByteArray &job)
    {
        pause();
        const JobLoad::Target &printer = printers.front();
        const auto done = transfer(cloud, printer.serial.toLatin1(), printer.port, job, arrivalLimit);
        if (done)
            delays.add(done->delay());
        return done.has_value();
    }
};

void show(const char *circumstances, const Relay &program, const Relay &node)
{
    for (const Relay *relay : {&program, &node})
        std::printf("%-18s %-8s delay of %zu jobs: %.1f ms (50th percentile), %.1f ms (95th), %.1f ms (worst)\n",
                    circumstances, relay->name, relay->delays.size(), relay->delays.median(),
                    relay->delays.percentile(95), relay->delays.worst());
    std::printf("%-18s program to Node.js: %.2f times (95th)\n", circumstances,
                program.delays.percentile(95) / node.delays.percentile(95));
}

/// The two take turns, job by job.
bool measureIdle(CloudSink &cloud, Relay program, Relay node, int count)
{
    const QByteArray job = jobBytes(jobSize);
    bool good = true;
    for (int i = 0; i < count && good; ++i)
        good = program.print(cloud, job) && node.print(cloud, job);
    show("twelve idle", program, node);
    return good;
}

/// While the relay's other printers are busy. False also when one of their jobs was not printed.
bool measureBusy(CloudSink &cloud, Relay &relay, int count)
{
    const QByteArray job = jobBytes(jobSize);
    const std::vector<JobLoad::Target> others(relay.printers.begin() + 1, relay.printers.end());
    std::atomic<bool> stop(false);
    bool good = true;
    std::thread load([&] { good = JobLoad::printOnAll(others, job, std::numeric_limits<int>::max(), stop); });
    std::this_thread::sleep_for(warmUp);
    bool arrived = true;
    for (int i = 0; i < count && arrived; ++i)
        arrived = relay.print(cloud, job);
    stop = true;
    load.join();
    return good && arrived;
}

bool measureBusy(CloudSink &cloud, Relay program, Relay node, int count)
{
    const bool good = measureBusy(cloud, program, count) && measureBusy(cloud, node, count);
    show("eleven others busy", program, node);
    return good;
}

} // namespace

int main(int argc, char *argv[])
{
    const int count = argc > 1 ? std::atoi(argv[1]) : 300;
    CloudSink cloud(World::cloudPort());
    World world;
    if (!cloud.isListening() || !setUp(world, printers))
        return 1;
    const NodeRelay rival(world);
    const Relay program{"program", JobLoad::targetsOf(world), {}};
    const Relay node{"Node.js", rival.printers(), {}};
    cloud.refuse(world.serial(0).toLatin1());
    const bool good =
        rival.isListening() && measureIdle(cloud, program, node, count) && measureBusy(cloud, program, node, count);
    if (!good)
        std::fputs("not every job arrived\n", stderr);
    return good ? 0 : 1;
}
