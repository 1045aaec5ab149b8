// Stands in for the cloud print service on 127.0.0.1. Ends on SIGTERM or SIGINT.

#include "emulator/cloud/cloudservice.h"
#include "emulator/tools/tool.h"

#include <QCommandLineParser>
#include <QCoreApplication>

#include <csignal>

namespace {

constexpr char description[] =
    "Stands in for the cloud print service on 127.0.0.1. Ends on SIGTERM or SIGINT.\n"
    "\n"
    "With --store each received job is kept as DIR/NNNN.bin, its decoded bytes, and one line in DIR/jobs.jsonl:\n"
    "  {number, veltraId, dsNumber, size, file, received, sha256, fault}\n"
    "veltraId is empty for a refused job; fault is present with --faults only. A malformed request gets 400 and a "
    "reason.\n"
    "A result request for an unknown job gets a text in \"data\" instead of an object, which is a final answer.";

void setUp(QCommandLineParser &parser)
{
    parser.setApplicationDescription(QLatin1String(description));
    parser.addHelpOption();
    parser.addOptions({
        {"port", "Port to listen on; 0 takes a free one (18080).", "N", "18080"},
        {"store", "Folder to keep the received jobs in; created if missing.", "DIR"},
        {"polls", "Result requests per job that are answered 正在打印 before 打印成功 (1).", "N", "1"},
        {"faults",
         "Each submission draws one of these outcomes, with these weights; overrides --polls. Known: " +
             faultNames().join(QStringLiteral(", ")) + QLatin1Char('.'),
         "NAME=WEIGHT,..."},
        {"seed", "Of the draws (1).", "N", "1"},
        {"delay", "Milliseconds to wait before each answer (0).", "MS", "0"},
    });
}

int number(const QCommandLineParser &parser, const QString &option, int most = std::numeric_limits<int>::max())
{
    return Tools::number("--" + option, parser.value(option), 0, most);
}

QVector<FaultChance> readFaults(const QString &text)
{
    QVector<FaultChance> faults;
    const QStringList chances = text.split(QLatin1Char(','), Qt::SkipEmptyParts);
    for (const QString &chance : chances) {
        const QString name = chance.section('=', 0, 0);
        if (!faultNames().contains(name))
            throw std::runtime_error("--faults does not know \"" + chance.toStdString() + '"');
        faults.append({name, Tools::number("--faults", chance.section('=', 1), 0, 1000000)});
    }
    return faults;
}

CloudServiceOptions readOptions(const QCommandLineParser &parser)
{
    CloudServiceOptions options;
    options.keepBytes = false;
    options.storeFolder = parser.value(QStringLiteral("store"));
    options.pollsBeforeFinal = number(parser, QStringLiteral("polls"));
    options.delayMs = number(parser, QStringLiteral("delay"));
    options.seed = quint32(number(parser, QStringLiteral("seed")));
    options.faults = readFaults(parser.value(QStringLiteral("faults")));
    return options;
}

sigset_t endSignals()
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    return set;
}

void serve(const QCommandLineParser &parser, const sigset_t &ending)
{
    CloudService service(readOptions(parser));
    const int port = number(parser, QStringLiteral("port"), 65535);
    if (!service.listen(quint16(port)))
        throw std::runtime_error("port " + std::to_string(port) + " is taken");
    std::printf("cloudservice listens on %s\n", qPrintable(service.baseAddress()));
    std::fflush(stdout);
    int signal = 0;
    sigwait(&ending, &signal);
}

} // namespace

int main(int argc, char *argv[])
{
    // Blocked before the service starts its threads, so that they all leave the signals to sigwait().
    const sigset_t ending = endSignals();
    pthread_sigmask(SIG_BLOCK, &ending, nullptr);
    QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    setUp(parser);
    // Ends the process after --help and after an unknown option.
    parser.process(QStringList("cloudservice") + Tools::arguments(argc, argv));
    return Tools::run("cloudservice", [&] { serve(parser, ending); });
}
