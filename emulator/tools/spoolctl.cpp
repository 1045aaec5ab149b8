// Sets up and shows the emulated print spooler.

#include "emulator/tools/tool.h"
#include "emulator/win32/control.h"

#include <QCommandLineParser>
#include <QFile>
#include <QFileInfo>

#include <windows.h>
#include <winspool.h>

#include <algorithm>

namespace {

using namespace Win32Emulator;

/// The words and options of a command.
class Arguments : public QCommandLineParser
{
public:
    std::string word(int index) const { return positionalArguments().value(index).toStdString(); }
    std::string option(const QString &name) const { return value(name).toStdString(); }
};

struct Command
{
    QString name;
    QString words; ///< that it takes, as the help shows them
    QStringList options;
    const char *help;
    void (*run)(const Arguments &arguments);
};

std::string statusText(const Job &job)
{
    if (job.status & JOB_STATUS_ERROR)
        return "error";
    return job.status & JOB_STATUS_PRINTING ? "printing" : "waiting";
}

/// A value of a queue's printer data as text, or "-". The cloud id is text that ends with a zero byte; the cloud port
/// two bytes, the lower one first.
std::string cloudId(const Printer &printer)
{
    const auto value = printerData(printer.name, "CloudId");
    return value ? value->second.c_str() : "-";
}

std::string cloudPort(const Printer &printer)
{
    const auto value = printerData(printer.name, "CloudPort");
    if (!value || value->second.size() < 2)
        return "-";
    return std::to_string(uchar(value->second[0]) | uchar(value->second[1]) << 8);
}

void list(const Arguments &)
{
    for (const Printer &printer : printers())
        std::printf("%s\t%s\t%s\t%s\t%s\n", printer.name.c_str(), printer.port.c_str(), printer.driver.c_str(),
                    cloudId(printer).c_str(), cloudPort(printer).c_str());
}

void jobs(const Arguments &arguments)
{
    for (const Job &job : jobsOf(findPrinter(arguments.word(0)).id))
        std::printf("%u\t%s\t%lld\t%s\t%s\n", job.id, statusText(job).c_str(), static_cast<long long>(job.size),
                    qPrintable(job.submitted.toString(Qt::ISODate)), job.document.c_str());
}

void print(const Arguments &arguments)
{
    QFile file(arguments.positionalArguments().at(1));
    if (!file.open(QIODevice::ReadOnly))
        throw std::runtime_error("cannot read " + arguments.word(1));
    const QString name = arguments.isSet("document") ? arguments.value("document") : QFileInfo(file).fileName();
    const auto *bytes = reinterpret_cast<const char *>(file.map(0, file.size())); // null for an empty file
    const auto size = static_cast<std::size_t>(file.size());
    std::printf("%u\n", addJob(arguments.word(0), name.toStdString(), {bytes, size}));
}

void addDriver(const Arguments &)
{
    Win32Emulator::addDriver();
}

void addPort(const Arguments &arguments)
{
    const int port = Tools::number("NUMBER", arguments.positionalArguments().at(2), 1, 65535);
    Win32Emulator::addPort(arguments.word(0), arguments.word(1), static_cast<unsigned>(port));
}

void addPrinter(const Arguments &arguments)
{
    const std::string name = arguments.word(0);
    Win32Emulator::addPrinter(name, arguments.option("port"));
    if (arguments.isSet("cloud-id"))
        setPrinterData(name, "CloudId", REG_SZ, arguments.option("cloud-id") + '\0');
    if (!arguments.isSet("cloud-port"))
        return;
    const int port = Tools::number("--cloud-port", arguments.value("cloud-port"), 1, 65535);
    setPrinterData(name, "CloudPort", REG_BINARY, {static_cast<char>(port & 0xFF), static_cast<char>(port >> 8)});
}

void removePrinter(const Arguments &arguments)
{
    Win32Emulator::removePrinter(arguments.word(0));
}

void fault(const Arguments &arguments)
{
    const int error = Tools::number("ERROR", arguments.positionalArguments().at(1), 0);
    const int times = arguments.isSet("times") ? Tools::number("--times", arguments.value("times"), 1) : 1;
    failCalls(arguments.word(0), static_cast<unsigned>(error), 0, times);
}

const Command commands[] = {
    {"list", "", {}, "one line per queue: name, port, driver, cloud id, cloud port", list},
    {"jobs", "QUEUE", {}, "one line per job: number, status, bytes, submission (UTC), document", jobs},
    {"print", "QUEUE FILE", {"document"}, "queue a file as a job and print the job's number", print},
    {"add-driver", "", {}, "install the driver", addDriver},
    {"add-port", "NAME HOST NUMBER", {}, "add a Standard TCP/IP port", addPort},
    {"add-printer", "QUEUE", {"port", "cloud-id", "cloud-port"}, "add a queue on an existing port", addPrinter},
    {"remove-printer", "QUEUE", {}, "remove a queue and its jobs", removePrinter},
    {"fault", "FUNCTION ERROR", {"times"}, "let calls of a function fail", fault},
};

std::string usage(const Command &command)
{
    QString text = "spoolctl " + command.name + ' ' + command.words;
    for (const QString &option : command.options)
        text += " [--" + option + " VALUE]";
    return text.toStdString();
}

void showHelp()
{
    for (const Command &command : commands)
        std::printf("%s\n    %s\n", usage(command).c_str(), command.help);
}

void run(const QStringList &words)
{
    if (words.contains("--help"))
        return showHelp();
    const auto isMeant = [&](const Command &command) { return command.name == words.value(0); };
    const auto *command = std::find_if(std::begin(commands), std::end(commands), isMeant);
    if (command == std::end(commands))
        throw std::runtime_error("unknown command; see spoolctl --help");
    Arguments arguments;
    for (const QString &option : command->options)
        arguments.addOption({option, {}, "VALUE"});
    const int count = command->words.isEmpty() ? 0 : command->words.count(' ') + 1;
    // The parser takes the command's name for the program's.
    if (!arguments.parse(words) || arguments.positionalArguments().size() != count)
        throw std::runtime_error("usage: " + usage(*command));
    command->run(arguments);
}

} // namespace

int main(int argc, char **argv)
{
    return Tools::run("spoolctl", [&] { run(Tools::arguments(argc, argv)); });
}
