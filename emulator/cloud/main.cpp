#include "cloud/cloudservice.h"

#include <QCommandLineParser>
#include <QCoreApplication>

#include <csignal>
#include <cstdio>
#include <limits>

namespace {

constexpr char description[] =
    "Stands in for the cloud print service on 127.0.0.1: takes print jobs, answers for their results and tells the\n"
    "state of devices. Ends on SIGTERM or SIGINT.\n"
    "\n"
    "With --store each received job leaves DIR/NNNN.bin, its decoded bytes, and then one line in DIR/jobs.jsonl:\n"
    "  {number, veltraId, dsNumber, size, file, received, sha256, fate}\n"
    "veltraId is empty for a job that --http or its fate refused; fate is there with --fates only. A malformed request "
    "gets 400 and a reason. A result request for\n"
    "an unknown job gets a text in \"data\" in place of an object, which is a final answer.";

/// Reads a whole number of an option; reports a bad one and gives false.
bool readNumber(const QString &option, const QString &text, int least, int most, int *number)
{
    bool isNumber = false;
    const int value = text.toInt(&isNumber);
    if (!isNumber || value < least || value > most) {
        std::fprintf(stderr, "cloudservice: --%s takes a number from %d to %d, not \"%s\"\n", qPrintable(option), least,
                     most, text.toUtf8().constData());
        return false;
    }
    *number = value;
    return true;
}

class CommandLine
{
public:
    CommandLine();
    /// Fills `options` and `port`; shows the help, or reports what is wrong and gives false.
    bool read(const QStringList &arguments, CloudServiceOptions *options, int *port);

private:
    bool number(const QString &option, int least, int most, int *value) const;
    bool readDevice(CloudServiceOptions *options) const;
    bool readFates(CloudServiceOptions *options) const;

    QCommandLineParser m_parser;
};

CommandLine::CommandLine()
{
    m_parser.setApplicationDescription(QLatin1String(description));
    m_parser.addHelpOption();
    m_parser.addOptions({
        {"port", "Port to listen on; 0 takes a free one (18080).", "N", "18080"},
        {"store", "Folder to keep the received jobs in; made when missing.", "DIR"},
        {"polls", "Result requests a job answers with 正在打印 before its final status (1).", "N", "1"},
        {"status", "Final status of every job (打印成功).", "TEXT", "打印成功"},
        {"device", "Answer to device status requests (0,16).", "CODE,DATA", "0,16"},
        {"http", "HTTP status of job submissions; from 300 on the jobs are refused (200).", "STATUS", "200"},
        {"fates",
         "Lets each submission draw what becomes of it; overrides --polls, --status and --http. Known: " +
             fateNames().join(QStringLiteral(", ")) + QLatin1Char('.'),
         "NAME=WEIGHT,..."},
        {"seed", "Of the draws (1).", "N", "1"},
        {"delay", "Milliseconds to wait before each answer, of whichever operation (0).", "MS", "0"},
    });
}

bool CommandLine::number(const QString &option, int least, int most, int *value) const
{
    return readNumber(option, m_parser.value(option), least, most, value);
}

bool CommandLine::readDevice(CloudServiceOptions *options) const
{
    const QString option = QStringLiteral("device");
    const QString device = m_parser.value(option);
    const int comma = device.indexOf(QLatin1Char(','));
    if (comma < 0) {
        std::fprintf(stderr, "cloudservice: --device takes a code, a comma and a text\n");
        return false;
    }
    options->deviceData = device.mid(comma + 1);
    return readNumber(option, device.left(comma), 0, std::numeric_limits<int>::max(), &options->deviceCode);
}

bool CommandLine::readFates(CloudServiceOptions *options) const
{
    const QStringList chances = m_parser.value(QStringLiteral("fates")).split(QLatin1Char(','), Qt::SkipEmptyParts);
    for (const QString &chance : chances) {
        const QStringList parts = chance.split(QLatin1Char('='));
        FateChance read{parts.first(), 1};
        if (!fateNames().contains(read.fate) || parts.size() > 2) {
            std::fprintf(stderr, "cloudservice: --fates does not know \"%s\"\n", chance.toUtf8().constData());
            return false;
        }
        if (parts.size() == 2 && !readNumber(QStringLiteral("fates"), parts.last(), 0, 1000000, &read.weight))
            return false;
        options->fates.append(read);
    }
    int seed = 0;
    const bool isRead = number(QStringLiteral("seed"), 0, std::numeric_limits<int>::max(), &seed);
    options->seed = quint32(seed);
    return isRead;
}

bool CommandLine::read(const QStringList &arguments, CloudServiceOptions *options, int *port)
{
    // Ends the process by itself after --help (0) and after an unknown option (1).
    m_parser.process(arguments);
    if (!m_parser.positionalArguments().isEmpty()) {
        std::fprintf(stderr, "cloudservice: unknown argument \"%s\"\n",
                     m_parser.positionalArguments().constFirst().toUtf8().constData());
        return false;
    }
    options->storeFolder = m_parser.value(QStringLiteral("store"));
    options->finalStatus = m_parser.value(QStringLiteral("status"));
    constexpr int most = std::numeric_limits<int>::max();
    return number(QStringLiteral("port"), 0, 65535, port) &&
           number(QStringLiteral("polls"), 0, most, &options->pollsBeforeFinal) &&
           number(QStringLiteral("http"), 200, 599, &options->submissionStatus) &&
           number(QStringLiteral("delay"), 0, most, &options->delayMs) && readDevice(options) && readFates(options);
}

/// UTF-8 whatever the locale is: the status texts are Chinese, and a test's locale may be "C".
QStringList utf8Arguments(int argc, char *argv[])
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments.append(QString::fromUtf8(argv[i]));
    return arguments;
}

sigset_t endSignals()
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    return set;
}

} // namespace

int main(int argc, char *argv[])
{
    // Blocked before the service starts its threads, so that they all leave the signals to sigwait().
    const sigset_t ending = endSignals();
    pthread_sigmask(SIG_BLOCK, &ending, nullptr);

    QCoreApplication application(argc, argv);
    CloudServiceOptions options;
    options.keepBytes = false;
    int port = 0;
    if (!CommandLine().read(utf8Arguments(argc, argv), &options, &port))
        return 1;

    CloudService service(options);
    if (!service.listen(quint16(port))) {
        std::fprintf(stderr, "cloudservice: port %d is taken\n", port);
        return 1;
    }
    std::printf("cloudservice listens on %s\n", qPrintable(service.baseAddress()));
    std::fflush(stdout);

    int signal = 0;
    sigwait(&ending, &signal);
    service.stop();
    return 0;
}
