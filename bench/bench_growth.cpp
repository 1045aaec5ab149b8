// How time and memory grow with what the program has to do, each as a value per size and as the slope from the size
// before:
//   - printers: from the start of the real program until it listens for every one, its memory, processor time while
//     nobody prints,
//   - journal: opening the details of a printer by the records of its day, and one refresh while they are open,
//   - log: writing one line by the size of the day's log,
//   - jobs: one job from its first byte at the port to its last at the cloud by its size, and the memory for it.
// Usage: bench_growth [printers | journal | log | jobs]; all when left out.

#include "bench/support/cloudsink.h"
#include "bench/support/jobload.h"
#include "src/base/diagnosticlog.h"
#include "src/store/journal.h"
#include "src/ui/settingsdlg.h"
#include "tests/support/ports.h"
#include "bench/support/processcost.h"
#include "bench/support/samples.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QTableWidget>
#include <QThread>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <vector>

namespace {

constexpr qint64 kibibyte = 1024;
constexpr qint64 mebibyte = 1024 * kibibyte;
constexpr int turns = 3; // the median counts
constexpr std::chrono::seconds startLimit(60);
constexpr unsigned long settleTime = 10; // s until every card has its device's state and nothing turns
constexpr unsigned long idleTime = 310;  // s
constexpr int lastFilledRow = 12;        // those before it are there from the beginning
constexpr int lines = 1000;
constexpr std::chrono::seconds arrivalLimit(120);

/// A quantity by size, the sizes going up. Prints each as it is added.
class Growth
{
public:
    Growth(const char *quantity, const char *unit, const char *sizeUnit)
        : m_quantity(quantity)
        , m_unit(unit)
        , m_sizeUnit(sizeUnit)
    {
    }

    void add(double size, double value)
    {
        std::printf("%s: %g %s: %.3f %s", m_quantity, size, m_sizeUnit, value, m_unit);
        if (m_size > 0)
            std::printf(" (%.4f %s per %s more)", (value - m_value) / (size - m_size), m_unit, m_sizeUnit);
        std::printf("\n");
        m_size = size;
        m_value = value;
    }

private:
    const char *m_quantity;
    const char *m_unit;
    const char *m_sizeUnit;
    double m_size = 0;
    double m_value = 0;
};

double since(SteadyClock::time_point begun)
{
    return milliseconds(begun, SteadyClock::now());
}

/// Milliseconds from the program's start until it listens for every printer; negative when it does not.
double timeToListen(World &world)
{
    const auto begun = SteadyClock::now();
    world.startProgram();
    for (const World::Printer &printer : world.printers())
        while (!isListening(printer.port)) {
            if (SteadyClock::now() > begun + startLimit)
                return -1;
            QThread::msleep(1);
        }
    return since(begun);
}

/// The programs go on running side by side: their idle time is measured in one go, and is longer than the interval
/// between two questions for a device's state.
bool measurePrinters()
{
    Growth start("start to listening", "ms", "printers");
    Growth memory("memory written to", "MiB", "printers");
    Growth idle("idle", "ms of processor time per s", "printers");
    std::vector<std::unique_ptr<World>> worlds;
    for (const int printers : {1, 12, 48, 200}) {
        worlds.push_back(std::make_unique<World>());
        World &world = *worlds.back();
        if (!addPrinters(world, printers) || (worlds.size() == 1 && !world.startCloud({"--polls", "0"})))
            return false;
        const double time = timeToListen(world);
        if (time < 0)
            return false;
        start.add(printers, time);
        QThread::sleep(settleTime);
        memory.add(printers, ProcessCost::privateDirtyMemory(world.program()->processId()));
    }
    const auto processorTime = [](const auto &world) {
        return ProcessCost::processorTime(world->program()->processId());
    };
    std::vector<double> before(worlds.size());
    std::transform(worlds.begin(), worlds.end(), before.begin(), processorTime);
    QThread::sleep(idleTime);
    for (size_t i = 0; i < worlds.size(); ++i)
        idle.add(double(worlds[i]->printers().size()), (processorTime(worlds[i]) - before[i]) * 1000 / idleTime);
    return true;
}

/// A printer with that many records today.
DriverInfo printerWithRecords(int records)
{
    DriverInfo printer;
    printer.printerName = QStringLiteral("printer");
    printer.cloudSn = QStringLiteral("%1").arg(records, 16, 10, QChar('0'));
    QDir(QCoreApplication::applicationDirPath()).mkdir("details");
    QFile journal(Journal::detailFileName(printer.cloudSn));
    if (journal.open(QIODevice::WriteOnly))
        for (int i = 0; i < records; ++i)
            journal.write("document.docx;09:02:03;" + QByteArray("打印成功") + ";184320;09:02:09!+!");
    return printer;
}

bool measureJournal()
{
    Growth opening("details open", "ms", "records");
    Growth complete("every row filled", "ms", "records");
    Growth refresh("refresh with a new record", "ms", "records");
    SettingsDlg(printerWithRecords(1)).show(); // loads the fonts
    for (const int records : {100, 1000, 10000, 100000}) {
        const DriverInfo printer = printerWithRecords(records);
        auto begun = SteadyClock::now();
        SettingsDlg dialog(printer);
        dialog.show();
        dialog.repaint();
        opening.add(records, since(begun));
        const auto *table = dialog.findChild<QTableWidget *>();
        while (!table->item(lastFilledRow, 0)) // filled from the newest record to the oldest
            QCoreApplication::processEvents();
        complete.add(records, since(begun));
        Journal::appendDetail(printer.cloudSn, QStringLiteral("one more;09:02:03;打印成功;184320;09:02:09"));
        begun = SteadyClock::now();
        dialog.on_Timeout();
        QCoreApplication::processEvents();
        refresh.add(records, since(begun));
    }
    return true;
}

bool measureLog()
{
    Growth line("a line of the log", "us", "MB");
    const QString fileName = logFileName(QDate::currentDate());
    QDir(QCoreApplication::applicationDirPath()).mkdir("logs");
    for (const int megabytes : {1, 10, 100}) {
        QFile log(fileName);
        if (!log.open(QIODevice::WriteOnly) || log.write(QByteArray(megabytes * 1000000, 'x')) < 0)
            return false;
        log.close();
        const auto begun = SteadyClock::now();
        for (int i = 0; i < lines; ++i)
            messageOutput(QtInfoMsg, {}, QStringLiteral("a line as long as most of them are"));
        line.add(megabytes, since(begun) * 1000 / lines);
    }
    return QFile::remove(fileName);
}

/// Milliseconds to the cloud; negative when the job did not arrive.
double timeOf(CloudSink &cloud, const World &world, const QByteArray &job)
{
    const auto done = transfer(cloud, world.serial(0).toLatin1(), world.port(0), job, arrivalLimit);
    return done ? done->duration() : -1;
}

bool measureJobs()
{
    CloudSink cloud(World::cloudPort());
    World world;
    if (!cloud.isListening() || !setUp(world, 1))
        return false;
    cloud.refuse(world.serial(0).toLatin1());
    const qint64 program = world.program()->processId();
    const double idle = ProcessCost::memory(program, "VmRSS");
    Growth time("a job", "ms", "MiB");
    Growth memory("memory for it at the peak", "MiB", "MiB");
    for (const qint64 size : {kibibyte, 32 * kibibyte, mebibyte, 32 * mebibyte, 256 * mebibyte, 1024 * mebibyte}) {
        const QByteArray job = jobBytes(int(size));
        Samples times;
        ProcessCost::resetPeak(program);
        for (int turn = 0; turn < turns; ++turn) {
            times.add(timeOf(cloud, world, job));
            QThread::sleep(1); // until the printer is free
        }
        if (times.percentile(0) < 0)
            return false;
        time.add(double(size) / mebibyte, times.median());
        memory.add(double(size) / mebibyte, ProcessCost::memory(program, "VmHWM") - idle);
    }
    return true;
}

const struct
{
    const char *name;
    bool (*measure)();
} measurements[] = {
    {"printers", measurePrinters}, {"journal", measureJournal}, {"log", measureLog}, {"jobs", measureJobs}};

} // namespace

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    const QByteArray only = argc > 1 ? argv[1] : "";
    for (const auto &[name, measure] : measurements)
        if ((only.isEmpty() || only == name) && !measure()) {
            std::fprintf(stderr, "%s could not be measured\n", name);
            return 1;
        }
    return 0;
}
