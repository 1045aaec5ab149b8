#include "bench/support/jobload.h"

#include "tests/support/printjob.h"

#include <QDate>
#include <QFile>
#include <QFileInfo>

#include <cstdio>
#include <thread>

namespace {

constexpr std::chrono::milliseconds lookInterval(5);
constexpr std::chrono::seconds outcomeLimit(30);

QByteArray awaitRecord(const QString &journal, qint64 from)
{
    const auto end = SteadyClock::now() + outcomeLimit;
    while (QFileInfo(journal).size() <= from) {
        if (SteadyClock::now() > end)
            return QByteArray();
        std::this_thread::sleep_for(lookInterval);
    }
    QFile file(journal);
    return file.open(QIODevice::ReadOnly) && file.seek(from) ? file.readAll() : QByteArray();
}

/// Sends a job and waits for its record; empty when it was not sent or has no outcome in time.
QByteArray print(const JobLoad::Target &printer, const QByteArray &job)
{
    const qint64 size = QFileInfo(printer.journal).size();
    return sendJob(printer.port, job) ? awaitRecord(printer.journal, size) : QByteArray();
}

} // namespace

namespace JobLoad {

std::vector<Target> targetsOf(const World &world)
{
    const QString day = QDate::currentDate().toString("yyyy-MM-dd");
    std::vector<Target> targets;
    for (const World::Printer &printer : world.printers())
        targets.push_back({printer.serial, printer.port, world.path("details/" + printer.serial + day + ".txt")});
    return targets;
}

bool printOnAll(const std::vector<Target> &printers, const QByteArray &job, int jobs, const std::atomic<bool> &stop)
{
    std::atomic<bool> good(true);
    std::vector<std::thread> threads;
    for (const Target &printer : printers)
        threads.emplace_back([&] {
            for (int i = 0; i < jobs && good && !stop; ++i)
                if (!print(printer, job).contains(";打印成功;"))
                    good = false;
        });
    for (std::thread &thread : threads)
        thread.join();
    return good;
}

} // namespace JobLoad

bool addPrinters(World &world, int printers)
{
    QStringList queues;
    for (int number = 1; number <= printers; ++number)
        queues << QString("printer %1").arg(number);
    return world.addPrinters(queues);
}

bool setUp(World &world, int printers, const QStringList &cloudOptions)
{
    // glibc would raise its mmap threshold with the jobs and keep an arena per thread: freed memory would stay.
    world.setEnvironment("MALLOC_MMAP_THRESHOLD_", "131072");
    world.setEnvironment("MALLOC_ARENA_MAX", "1");
    const bool isGood = addPrinters(world, printers) && (cloudOptions.isEmpty() || world.startCloud(cloudOptions)) &&
                        world.startReadyProgram();
    if (!isGood)
        std::fputs("the printers, the cloud or the program did not start\n", stderr);
    return isGood;
}
