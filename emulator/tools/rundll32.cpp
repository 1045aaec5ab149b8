// Stands in for the system program that runs a function of a DLL; the one function it knows is the printer set-up.

#include "emulator/tools/arguments.h"
#include "emulator/tools/printui.h"
#include "emulator/tools/toolmain.h"

#include <cstdio>

namespace {

constexpr const char *help = R"(Usage: RUNDLL32 PRINTUI.DLL,PrintUIEntry SWITCHES

  /if /b NAME /r PORT /m MODEL [/f INF] [/u]
      install a queue; with /f also its driver (/u: unless it is installed)
  /k /n NAME
      queue the test page

Acts on the emulated machine in $WIN32_EMULATOR_HOME.)";

} // namespace

int main(int argc, char **argv)
{
    const std::vector<std::string> words(argv + 1, argv + argc);
    return Tools::runTool("RUNDLL32", [&] {
        if (words.empty())
            throw Tools::UsageError("no function; see RUNDLL32 --help");
        if (words.front() == "--help") {
            std::puts(help);
            return;
        }
        if (words.front() != "PRINTUI.DLL,PrintUIEntry")
            throw Tools::UsageError("unknown function " + words.front());
        Tools::printUiEntry({words.begin() + 1, words.end()});
    });
}
