// The operator's hand on the emulated print spooler.

#include "emulator/tools/spoolctlcommands.h"
#include "emulator/tools/toolmain.h"

#include <algorithm>
#include <cstdio>

namespace {

using namespace Tools;

void showHelp()
{
    std::puts(
        "Usage: spoolctl COMMAND [ARGUMENTS]\n\nSets up and shows the emulated machine in $WIN32_EMULATOR_HOME.\n");
    for (const Command &command : spoolctlCommands())
        std::printf("  %s %s\n      %s\n", command.name, command.usage, command.help);
}

const Command &findCommand(const std::string &name)
{
    const std::vector<Command> &commands = spoolctlCommands();
    const auto found =
        std::find_if(commands.begin(), commands.end(), [&](const Command &command) { return name == command.name; });
    if (found == commands.end())
        throw UsageError("unknown command \"" + name + "\"; see spoolctl --help");
    return *found;
}

void runCommand(const Command &command, const std::vector<std::string> &words)
{
    const Arguments arguments(words, command.options);
    if (arguments.count() < command.leastWords || arguments.count() > command.mostWords)
        throw UsageError(std::string("usage: spoolctl ") + command.name + ' ' + command.usage);
    command.run(arguments);
}

} // namespace

int main(int argc, char **argv)
{
    const std::vector<std::string> words(argv + 1, argv + argc);
    return runTool("spoolctl", [&] {
        if (words.empty())
            throw UsageError("no command; see spoolctl --help");
        if (std::find(words.begin(), words.end(), "--help") != words.end())
            return showHelp();
        runCommand(findCommand(words.front()), {words.begin() + 1, words.end()});
    });
}
