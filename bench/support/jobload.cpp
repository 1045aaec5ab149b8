#include "bench/support/jobload.h"

#include "bench/support/printjob.h"

#include <QFile>
#include <QFileInfo>

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

} // namespace

namespace JobLoad {

QByteArray print(const StagePrinter &printer, const QByteArray &job)
{
    const qint64 size = QFileInfo(printer.journal).size();
    return sendJob(printer.port, job) ? awaitRecord(printer.journal, size) : QByteArray();
}

bool printOnAll(const std::vector<StagePrinter> &printers, const QByteArray &job, int jobs,
                const std::atomic<bool> &stop)
{
    std::atomic<bool> good(true);
    std::vector<std::thread> threads;
    for (const StagePrinter &printer : printers)
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
