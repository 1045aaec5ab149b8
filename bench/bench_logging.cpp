// What the diagnostic log and the journal cost a job: how much the real program writes for one, and how long a line and
// a record take, written by one thread and by four at once. Usage: bench_logging [LINES], 20000 when left out.

#include "src/base/diagnosticlog.h"
#include "src/store/journal.h"
#include "bench/support/jobload.h"
#include "bench/support/printjob.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QThread>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <thread>

namespace {

constexpr int jobs = 5;
constexpr int jobSize = 100 * 1024;
constexpr unsigned long settleTime = 1; // s

const QByteArray lineFrame = "[2026-01-31 09:02:03 004] Debug: \r\n"; // around each message
const QByteArray recordEnd = "!+!";

/// What one job writes.
struct Written
{
    double lines = 0;
    double bytes = 0;
    double journalBytes = 0;
};

/// Prints some jobs; all 0 when that failed.
Written writtenForAJob()
{
    Stage stage(1);
    if (!stage.isReady() || !stage.startCloud() || !stage.startProgram())
        return {};
    const StagePrinter &printer = stage.printers().front();
    QThread::sleep(settleTime);
    const QByteArray before = stage.folder().log().toUtf8();
    static const std::atomic<bool> toTheEnd(false);
    if (!JobLoad::printOnAll(stage.printers(), jobBytes(jobSize), jobs, toTheEnd))
        return {};
    QThread::sleep(settleTime);
    const QByteArray written = stage.folder().log().toUtf8().mid(before.size());
    return {double(written.count('\n')) / jobs, double(written.size()) / jobs,
            double(QFileInfo(printer.journal).size()) / jobs};
}

/// Microseconds that a call takes, `calls` times on each of so many threads.
double timeOf(const std::function<void()> &function, int calls, int threads)
{
    const auto begun = SteadyClock::now();
    std::vector<std::thread> running;
    for (int i = 0; i < threads; ++i)
        running.emplace_back([&] {
            for (int call = 0; call < calls; ++call)
                function();
        });
    for (std::thread &thread : running)
        thread.join();
    return milliseconds(begun, SteadyClock::now()) * 1000 / calls;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    const int calls = argc > 1 ? std::atoi(argv[1]) : 20000;
    for (const char *folder : {"logs", "details"})
        QDir(QCoreApplication::applicationDirPath()).mkpath(folder);

    const Written written = writtenForAJob();
    if (written.lines == 0) {
        std::fputs("not every job was printed\n", stderr);
        return 1;
    }
    std::printf("a job whose result is asked for twice: %.1f lines of %.0f bytes in the log, a record of %.0f bytes\n",
                written.lines, written.bytes / written.lines, written.journalBytes);

    const QString line(int(written.bytes / written.lines) - lineFrame.size(), 'x');
    const QString record(int(written.journalBytes) - recordEnd.size(), 'x');
    const auto writeLine = [&] { messageOutput(QtDebugMsg, QMessageLogContext(), line); };
    const auto writeRecord = [&] { Journal::appendDetail("0123456789ABCDEF", record); };
    for (const int threads : {1, 4}) {
        const double lineTime = timeOf(writeLine, calls / threads, threads);
        const double recordTime = timeOf(writeRecord, calls / threads, threads);
        std::printf("%d thread(s): %.1f us a line, %.1f us a record = %.2f ms a job\n", threads, lineTime, recordTime,
                    (lineTime * written.lines + recordTime) / 1000);
    }
    for (const char *folder : {"logs", "details"})
        QDir(QCoreApplication::applicationDirPath() + '/' + folder).removeRecursively();
    return 0;
}
