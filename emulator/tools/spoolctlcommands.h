#pragma once

#include "emulator/tools/arguments.h"

namespace Tools {

/// One command of spoolctl.
struct Command
{
    const char *name;
    const char *usage; ///< its arguments, as the help shows them
    const char *help;
    std::size_t leastWords;
    std::size_t mostWords;
    std::set<std::string> options;
    void (*run)(const Arguments &arguments);
};

const std::vector<Command> &spoolctlCommands();

} // namespace Tools
