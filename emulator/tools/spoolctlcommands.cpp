#include "emulator/tools/spoolctlcommands.h"

#include "emulator/win32/model/drivers.h"
#include "emulator/win32/model/faults.h"
#include "emulator/win32/model/jobs.h"
#include "emulator/win32/model/ports.h"
#include "emulator/win32/model/printerdata.h"
#include "emulator/win32/model/printers.h"
#include "emulator/win32/model/services.h"

#include <windows.h>
#include <winspool.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <limits>

namespace Tools {

namespace {

using namespace Win32Emulator;

constexpr const char *defaultDriver = "Orvo OX-410T";

struct Word
{
    unsigned value;
    const char *text;
};

constexpr Word jobStatusWords[] = {
    {JOB_STATUS_PAUSED, "paused"},     {JOB_STATUS_ERROR, "error"},       {JOB_STATUS_DELETING, "deleting"},
    {JOB_STATUS_SPOOLING, "spooling"}, {JOB_STATUS_PRINTING, "printing"}, {JOB_STATUS_OFFLINE, "offline"},
    {JOB_STATUS_PAPEROUT, "paperout"}, {JOB_STATUS_PRINTED, "printed"},
};

constexpr Word serviceStateWords[] = {
    {SERVICE_STOPPED, "stopped"},
    {SERVICE_START_PENDING, "start-pending"},
    {SERVICE_STOP_PENDING, "stop-pending"},
    {SERVICE_RUNNING, "running"},
    {SERVICE_CONTINUE_PENDING, "continue-pending"},
    {SERVICE_PAUSE_PENDING, "pause-pending"},
    {SERVICE_PAUSED, "paused"},
};

std::string statusText(unsigned status)
{
    std::string text;
    for (const Word &word : jobStatusWords) {
        if (status & word.value)
            text += (text.empty() ? "" : ",") + std::string(word.text);
    }
    return text.empty() ? "waiting" : text;
}

/// The cloud serial is stored as single-byte text up to a zero byte.
std::string cloudId(const Model::Printer &printer)
{
    const auto value = Model::printerData(printer.id, "CloudId");
    return value ? value->second.substr(0, value->second.find('\0')) : "-";
}

/// The local TCP port is stored as two bytes, the lower one first.
std::string cloudPort(const Model::Printer &printer)
{
    const auto value = Model::printerData(printer.id, "CloudPort");
    if (!value || value->second.size() < 2)
        return "-";
    const auto low = static_cast<unsigned char>(value->second[0]);
    const auto high = static_cast<unsigned char>(value->second[1]);
    return std::to_string(low | high << 8);
}

void list(const Arguments &)
{
    for (const Model::Printer &printer : Model::printers())
        std::printf("%s\t%s\t%s\t%s\t%s\n", printer.name.c_str(), printer.port.c_str(), printer.driver.c_str(),
                    cloudId(printer).c_str(), cloudPort(printer).c_str());
}

void jobs(const Arguments &arguments)
{
    for (const Model::Job &job : Model::jobsOf(Model::findPrinter(arguments.word(0)).id)) {
        const SubmissionTime &time = job.submitted;
        std::printf("%u\t%s\t%llu\t%04d-%02d-%02d %02d:%02d:%02d\t%s\n", job.id, statusText(job.status).c_str(),
                    static_cast<unsigned long long>(job.size), time.year, time.month, time.day, time.hour, time.minute,
                    time.second, job.document.c_str());
    }
}

void print(const Arguments &arguments)
{
    const std::filesystem::path path = arguments.word(1);
    std::ifstream file(path, std::ios::binary);
    if (!file || std::filesystem::is_directory(path))
        throw std::runtime_error("cannot read " + path.string());
    const std::string document = arguments.option("--document", path.filename().string());
    std::printf("%u\n", Model::addJob(arguments.word(0), document, file, SubmissionTime()));
}

void addDriver(const Arguments &arguments)
{
    Model::addDriver({arguments.count() > 0 ? arguments.word(0) : defaultDriver});
}

void addPort(const Arguments &arguments)
{
    const long long number = parseNumber("NUMBER", arguments.word(2), 1, 65535);
    Model::addPort({arguments.word(0), arguments.word(1), static_cast<unsigned>(number)});
}

void storeCloudId(const Model::Printer &printer, const std::string &id)
{
    Model::setPrinterData(printer.id, "CloudId", REG_SZ, id + '\0');
}

void storeCloudPort(const Model::Printer &printer, long long port)
{
    const std::string bytes = {static_cast<char>(port & 0xFF), static_cast<char>(port >> 8)};
    Model::setPrinterData(printer.id, "CloudPort", REG_BINARY, bytes);
}

void addPrinter(const Arguments &arguments)
{
    if (!arguments.has("--port"))
        throw UsageError("a printer needs --port");
    const long long port = arguments.number("--cloud-port", 0, 1, 65535);
    Model::addPrinter(arguments.word(0), arguments.option("--port", {}), arguments.option("--driver", defaultDriver));
    const Model::Printer printer = Model::findPrinter(arguments.word(0));
    if (arguments.has("--cloud-id"))
        storeCloudId(printer, arguments.option("--cloud-id", {}));
    if (port)
        storeCloudPort(printer, port);
}

void removePrinter(const Arguments &arguments)
{
    Model::removePrinter(arguments.word(0));
}

void fault(const Arguments &arguments)
{
    constexpr int most = std::numeric_limits<int>::max();
    const long long error = parseNumber("ERROR", arguments.word(1), 0, std::numeric_limits<DWORD>::max());
    const long long skip = arguments.number("--skip", 0, 0, most);
    const long long times = arguments.number("--times", 1, -1, most);
    Model::addFault(arguments.word(0), static_cast<unsigned>(error), static_cast<int>(skip), static_cast<int>(times));
}

void service(const Arguments &arguments)
{
    std::string known;
    for (const Word &word : serviceStateWords) {
        if (arguments.word(1) == word.text)
            return Model::setServiceState(arguments.word(0), word.value);
        known += std::string(" ") + word.text;
    }
    throw UsageError("STATE is one of:" + known);
}

} // namespace

const std::vector<Command> &spoolctlCommands()
{
    static const std::vector<Command> commands = {
        {"list", "", "one queue a line: name, port, driver, cloud id, cloud port", 0, 0, {}, list},
        {"jobs", "QUEUE", "one job a line: number, status, bytes, submission (UTC), document", 1, 1, {}, jobs},
        {"print",
         "QUEUE FILE [--document NAME]",
         "queue a file as a job and print the job's number",
         2,
         2,
         {"--document"},
         print},
        {"add-driver", "[NAME]", "install a driver (Orvo OX-410T)", 0, 1, {}, addDriver},
        {"add-port", "NAME HOST NUMBER", "add a Standard TCP/IP port", 3, 3, {}, addPort},
        {"add-printer",
         "QUEUE --port NAME [--driver NAME] [--cloud-id HEX] [--cloud-port N]",
         "add a queue",
         1,
         1,
         {"--port", "--driver", "--cloud-id", "--cloud-port"},
         addPrinter},
        {"remove-printer", "QUEUE", "remove a queue and its jobs", 1, 1, {}, removePrinter},
        {"fault",
         "FUNCTION ERROR [--skip N] [--times N]",
         "let calls of a function fail; for good with --times -1",
         2,
         2,
         {"--skip", "--times"},
         fault},
        {"service", "NAME STATE", "set the state of a service, such as: Spooler stopped", 2, 2, {}, service},
    };
    return commands;
}

} // namespace Tools
