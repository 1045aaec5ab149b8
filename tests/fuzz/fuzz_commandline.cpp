// The command lines of the emulated set-up and of the operator's tool, one word a line, and what the set-up then does
// to the emulated machine in $WIN32_EMULATOR_HOME.

#include "tests/fuzz/support.h"

#include "emulator/tools/arguments.h"
#include "emulator/tools/printui.h"
#include "emulator/tools/printuicommand.h"
#include "emulator/win32/model/drivers.h"
#include "emulator/win32/model/home.h"
#include "emulator/win32/model/jobs.h"
#include "emulator/win32/model/ports.h"
#include "emulator/win32/model/printers.h"
#include "emulator/win32/model/schema.h"

#include <algorithm>
#include <fstream>
#include <optional>
#include <sstream>
#include <tuple>

namespace {

using namespace Tools;
using namespace Win32Emulator;
using Words = std::vector<std::string>;

Words wordsOf(const std::string &text)
{
    Words words;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        words.push_back(line.substr(0, line.find('\0'))); // no argument holds a NUL
    return words;
}

template <typename Work>
auto unlessUsageError(Work work) -> std::optional<decltype(work())>
{
    try {
        return work();
    } catch (const UsageError &) {
        return std::nullopt;
    }
}

bool contains(const Words &words, const std::string &word)
{
    return std::find(words.begin(), words.end(), word) != words.end();
}

constexpr long long leastPort = 1;
constexpr long long mostPort = 65535;

void checkArguments(const Words &words)
{
    const auto arguments = unlessUsageError([&] { return Arguments(words, {"--document", "--port"}); });
    if (!arguments)
        return;
    require((words.size() - arguments->count()) % 2 == 0, "an option comes with its value");
    for (std::size_t i = 0; i < arguments->count(); ++i)
        require(arguments->word(i).rfind("--", 0) != 0, "an option is no word");
    const std::string otherwise = "two\nlines"; // no word here
    const std::string document = arguments->option("--document", otherwise);
    require(arguments->has("--document") ? contains(words, document) : document == otherwise,
            "an option's value is a word, else the default");
    const auto port = unlessUsageError([&] { return arguments->number("--port", leastPort, leastPort, mostPort); });
    require(!port || (*port >= leastPort && *port <= mostPort), "an option's number keeps its limits");
}

void checkNumber(const std::string &word)
{
    const auto number = unlessUsageError([&] { return parseNumber("--port", word, leastPort, mostPort); });
    if (!number)
        return;
    require(*number >= leastPort && *number <= mostPort, "a number keeps its limits");
    require(word.find_first_not_of("0123456789") == std::string::npos, "a number is digits only");
}

Words wordsFor(const InstallPrinter &command)
{
    Words words = {"/if", "/b", command.name, "/r", command.port, "/m", command.model};
    if (command.inf)
        words.insert(words.end(), {"/f", *command.inf});
    if (command.keepInstalledDriver)
        words.push_back("/u");
    return words;
}

Words wordsFor(const PrintTestPage &command)
{
    return {"/k", "/n", command.name};
}

Words wordsFor(const PrintUiCommand &command)
{
    return std::visit([](const auto &kind) { return wordsFor(kind); }, command);
}

void checkParsed(const PrintUiCommand &command, const Words &words)
{
    const Words own = wordsFor(command);
    require(wordsFor(parsePrintUi(own)) == own, "a command's own words give it again");
    for (const std::string &word : own)
        require(contains(words, word), "nothing is made up");
}

/// A port, a driver and queues, one of them with the longest name there may be.
void prepareMachine()
{
    const std::string model = "Orvo OX-410T";
    Model::resetState();
    Model::addPort({"OXCloud001", "127.0.0.1", 8101});
    Model::addDriver({model, "Windows x64", "1.4.0.1"});
    for (const std::string &name : {std::string("queue"), std::string(220, 'n')})
        Model::addPrinter(name, "OXCloud001", model);
    const std::string models = "[Models]\n\"Orvo OX-410T\"=A\n\"other\"=B\n";
    std::ofstream(Model::homeFolder() + "/sample.inf") << "DriverVer=03/14/2022,1.4.0.2\n" << models;
    std::ofstream(Model::homeFolder() + "/versionless.inf") << models;
}

/// No input may make the run read other files of this machine.
std::string infOfTheMachine(const std::string &asked)
{
    const bool isSpecial = asked == "versionless.inf" || asked == "missing.inf";
    return Model::homeFolder() + '\\' + (isSpecial ? asked : "sample.inf");
}

using Drivers = std::vector<std::tuple<std::string, std::string>>;

struct Machine
{
    Words printers;
    Drivers drivers;
    std::size_t packages = 0;
    std::size_t jobs = 0;

    bool operator==(const Machine &other) const
    {
        return printers == other.printers && drivers == other.drivers && packages == other.packages &&
               jobs == other.jobs;
    }
};

Machine machine()
{
    Machine machine;
    for (const Model::Printer &printer : Model::printers()) {
        machine.printers.push_back(printer.name);
        machine.jobs += printer.jobCount;
    }
    for (const Model::Driver &driver : Model::drivers())
        machine.drivers.emplace_back(driver.name, driver.version);
    machine.packages = Model::driverPackages().size();
    return machine;
}

void checkWork(const PrintUiCommand &command)
{
    static const Machine before = machine();
    const bool installs = std::holds_alternative<InstallPrinter>(command);
    bool done = true;
    try {
        printUiEntry(wordsFor(command));
    } catch (const std::runtime_error &) {
        done = false;
    }
    const Machine after = machine();
    require(done || after == before, "what fails has changed nothing");
    require(!done || after.printers.size() == before.printers.size() + (installs ? 1 : 0), "a set-up adds one queue");
    require(!done || after.jobs == before.jobs + (installs ? 0 : 1), "a test page is one job");
    if (done)
        prepareMachine();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    prepareMachine();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const Words words = wordsOf(bytesOf(data, size).toStdString());
    checkArguments(words);
    for (const std::string &word : words)
        checkNumber(word);
    auto command = unlessUsageError([&] { return parsePrintUi(words); });
    if (!command)
        return 0;
    checkParsed(*command, words);
    auto *install = std::get_if<InstallPrinter>(&*command);
    if (install && install->inf)
        install->inf = infOfTheMachine(*install->inf);
    checkWork(*command);
    return 0;
}
