// One large job on the real program, from its first byte on the printer's port to its last at the cloud, beside a relay
// of Node.js and the bare floor: the same bytes through socat into base64 into curl. All send to the same cloud, which
// throws the bytes away; they take turns. Usage: bench_large [TURNS], 9 when left out.

#include "bench/support/cloudsink.h"
#include "bench/support/noderelay.h"
#include "src/app/instanceguard.h"
#include "tests/support/ports.h"
#include "bench/support/processcost.h"
#include "bench/support/samples.h"

#include <QTest>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

namespace {

constexpr int mebibyte = 1024 * 1024;
constexpr int jobSize = 100; // MiB
constexpr int printers = 8;
constexpr int sharedSize = 20; // MiB of each job where all printers print at once
constexpr std::chrono::seconds settleTime(2);
constexpr std::chrono::milliseconds askInterval(5);
constexpr std::chrono::seconds answerLimit(5);
constexpr quint16 floorPort = 8100;
constexpr std::chrono::seconds arrivalLimit(60);

// Without "Expect:" curl waits a second for the leave to send a body.
const QString pipeline = QStringLiteral("socat -u -b 65536 TCP-LISTEN:%1,bind=127.0.0.1,reuseaddr STDOUT |"
                                        " base64 -w0 |"
                                        " curl --silent --output /dev/null --header Expect: --data-binary @-"
                                        " http://127.0.0.1:%2/v1.1/transparentPrinting")
                             .arg(floorPort)
                             .arg(World::cloudPort());

/// Milliseconds from the job's first byte to its last at the cloud; 0 when it does not arrive.
double timeOf(CloudSink &cloud, const QByteArray &serial, quint16 port, const QByteArray &job)
{
    const auto done = transfer(cloud, serial, port, job, arrivalLimit);
    return done ? done->duration() : 0;
}

double floorTime(CloudSink &cloud, const QByteArray &job)
{
    QProcess shell;
    shell.start("sh", {"-c", pipeline});
    const bool listens = QTest::qWaitFor([] { return isListening(floorPort); });
    const double time = listens ? timeOf(cloud, QByteArray(), floorPort, job) : 0;
    shell.waitForFinished();
    return time;
}

/// Peak memory of the program above idle for one job, in MiB.
double peakMemory(const World &world, CloudSink &cloud, const QByteArray &job)
{
    const qint64 program = world.program()->processId();
    const double idle = ProcessCost::memory(program, "VmRSS");
    ProcessCost::resetPeak(program);
    timeOf(cloud, world.serial(0).toLatin1(), world.port(0), job);
    return ProcessCost::memory(program, "VmHWM") - idle;
}

/// Asks the program for a sign of life every few milliseconds, as a second start of it does, until `stop` is true: its
/// interface thread answers. Adds how long each answer took.
void measureAnswers(const World &world, const std::atomic<bool> &stop, Samples &answers)
{
    qputenv("TMPDIR", world.environment().value("TMPDIR").toLocal8Bit());
    qputenv("WIN32_EMULATOR_HOME", world.path("win32").toLocal8Bit());
    const InstanceGuard guard(world.path("OrvoCloudManager"));
    while (!stop) {
        const auto asked = SteadyClock::now();
        if (guard.send("raise_window_noop", answerLimit) == InstanceGuard::Delivery::Acknowledged)
            answers.add(milliseconds(asked, SteadyClock::now()));
        std::this_thread::sleep_for(askInterval);
    }
}

/// One large job on each printer at once: how the interface thread answers meanwhile, and the MiB that remain.
void printOnEach(const World &world, CloudSink &cloud)
{
    const qint64 program = world.program()->processId();
    const double before = ProcessCost::privateDirtyMemory(program);
    const QByteArray job = jobBytes(sharedSize * mebibyte);
    std::atomic<bool> stop(false);
    Samples answers;
    std::thread asker([&] { measureAnswers(world, stop, answers); });
    std::vector<std::thread> senders;
    for (const World::Printer &printer : world.printers())
        senders.emplace_back([&] { timeOf(cloud, printer.serial.toLatin1(), printer.port, job); });
    for (std::thread &sender : senders)
        sender.join();
    stop = true;
    asker.join();
    std::this_thread::sleep_for(settleTime);
    std::printf("%d jobs of %d MiB at once: the interface thread answers in %.1f ms (99th percentile), %.1f ms (worst)"
                " of %zu; they leave %.1f MiB behind\n",
                printers, sharedSize, answers.percentile(99), answers.worst(), answers.size(),
                ProcessCost::privateDirtyMemory(program) - before);
}

void show(const char *name, const Samples &times)
{
    std::printf("  %-8s %.0f ms (%.0f to %.0f)\n", name, times.median(), times.percentile(0), times.worst());
}

} // namespace

int main(int argc, char *argv[])
{
    const int turns = argc > 1 ? std::atoi(argv[1]) : 9;
    const QByteArray job = jobBytes(jobSize * mebibyte);
    CloudSink cloud(World::cloudPort());
    World world;
    if (!cloud.isListening() || !setUp(world, printers))
        return 1;
    const World::Printer &printer = world.printers().front();
    for (const World::Printer &each : world.printers())
        cloud.refuse(each.serial.toLatin1());

    const NodeRelay rival(world);
    Samples program;
    Samples node;
    Samples floor;
    const double timeBefore = ProcessCost::processorTime(world.program()->processId());
    for (int turn = 0; turn < turns; ++turn) {
        program.add(timeOf(cloud, printer.serial.toLatin1(), printer.port, job));
        node.add(timeOf(cloud, printer.serial.toLatin1(), rival.printers().front().port, job));
        floor.add(floorTime(cloud, job));
    }
    if (program.percentile(0) == 0 || node.percentile(0) == 0 || floor.percentile(0) == 0) {
        std::fputs("not every job arrived\n", stderr);
        return 1;
    }
    std::printf("%d MiB job, %d turns, medians:\n", jobSize, turns);
    show("program", program);
    show("Node.js", node);
    show("floor", floor);
    std::printf("program: %.2f times the floor, %.2f times Node.js\n", program.median() / floor.median(),
                program.median() / node.median());
    std::printf("processor time of the program: %.0f ms a job\n",
                (ProcessCost::processorTime(world.program()->processId()) - timeBefore) * 1000 / turns);
    const double peak = peakMemory(world, cloud, job);
    std::printf("peak memory of the program for it: %.0f MiB above idle = %.2f times the job\n", peak, peak / jobSize);
    printOnEach(world, cloud);
    return 0;
}
