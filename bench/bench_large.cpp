// One large job on the real program, from its first byte on the printer's port to its last at the cloud, beside the
// bare floor: the same bytes through socat into base64 into curl. Both send to the same cloud, which throws the bytes
// away; they take turns. Usage: bench_large [TURNS], 9 when left out.

#include "bench/support/cloudsink.h"
#include "bench/support/ports.h"
#include "bench/support/processfigures.h"
#include "bench/support/samples.h"
#include "bench/support/stage.h"

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
constexpr quint16 floorPort = 8100;
constexpr std::chrono::seconds arrivalLimit(60);

// Without "Expect:" curl waits a second for the leave to send a body.
const QString pipeline = QStringLiteral("socat -u -b 65536 TCP-LISTEN:%1,bind=127.0.0.1,reuseaddr STDOUT |"
                                        " base64 -w0 |"
                                        " curl --silent --output /dev/null --header Expect: --data-binary @-"
                                        " http://127.0.0.1:%2/v1.1/transparentPrinting")
                             .arg(floorPort)
                             .arg(Stage::cloudPort);

/// Milliseconds from the job's first byte to its last at the cloud; 0 when it does not arrive.
double timeOf(CloudSink &cloud, const QByteArray &serial, quint16 port, const QByteArray &job)
{
    const auto sent = sendJob(port, job);
    const auto arrived = sent ? cloud.await(serial, arrivalLimit) : std::nullopt;
    return arrived ? milliseconds(sent->begun, arrived->lastByte) : 0;
}

double floorTime(CloudSink &cloud, const QByteArray &job)
{
    QProcess shell;
    shell.start("sh", {"-c", pipeline});
    const double time = awaitListener(floorPort) ? timeOf(cloud, QByteArray(), floorPort, job) : 0;
    shell.waitForFinished();
    return time;
}

/// MiB that the program has more than before when a large job on each printer has gone.
double memoryLeft(Stage &stage, CloudSink &cloud)
{
    const double before = ProcessFigures::privateDirtyMemory(stage.programId());
    const QByteArray job = jobBytes(sharedSize * mebibyte);
    std::vector<std::thread> senders;
    for (const StagePrinter &printer : stage.printers())
        senders.emplace_back([&] { timeOf(cloud, printer.serial.toLatin1(), printer.port, job); });
    for (std::thread &sender : senders)
        sender.join();
    std::this_thread::sleep_for(settleTime);
    return ProcessFigures::privateDirtyMemory(stage.programId()) - before;
}

} // namespace

int main(int argc, char *argv[])
{
    const int turns = argc > 1 ? std::atoi(argv[1]) : 9;
    const QByteArray job = jobBytes(jobSize * mebibyte);
    CloudSink cloud(Stage::cloudPort);
    Stage stage(printers);
    if (!cloud.isListening() || !stage.isReady() || !stage.startProgram())
        return setUpFailed();
    const StagePrinter &printer = stage.printers().front();
    for (const StagePrinter &each : stage.printers())
        cloud.refuse(each.serial.toLatin1());

    Samples program;
    Samples floor;
    const double timeBefore = ProcessFigures::processorTime(stage.programId());
    for (int turn = 0; turn < turns; ++turn) {
        program.add(timeOf(cloud, printer.serial.toLatin1(), printer.port, job));
        floor.add(floorTime(cloud, job));
    }
    if (program.percentile(0) == 0 || floor.percentile(0) == 0) {
        std::fputs("not every job arrived\n", stderr);
        return 1;
    }
    std::printf("%d MiB job, %zu turns: program %.0f ms (median; %.0f to %.0f), floor %.0f ms (%.0f to %.0f)"
                " = %.2f times the floor\n",
                jobSize, program.size(), program.median(), program.percentile(0), program.worst(), floor.median(),
                floor.percentile(0), floor.worst(), program.median() / floor.median());
    std::printf("processor time of the program: %.0f ms a job\n",
                (ProcessFigures::processorTime(stage.programId()) - timeBefore) * 1000 / turns);
    std::printf("%d jobs of %d MiB at once leave %.1f MiB behind\n", printers, sharedSize, memoryLeft(stage, cloud));
    return 0;
}
