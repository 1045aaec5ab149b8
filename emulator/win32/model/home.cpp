#include "emulator/win32/model/home.h"

#include <cstdlib>
#include <filesystem>

namespace Win32Emulator::Model {

std::string homeFolder()
{
    const char *variable = std::getenv("WIN32_EMULATOR_HOME");
    const std::string folder = variable && *variable ? variable : WIN32_EMULATOR_DEFAULT_HOME;
    std::filesystem::create_directories(folder);
    return folder;
}

std::string spoolFolder()
{
    const std::string folder = homeFolder() + "/spool";
    std::filesystem::create_directories(folder);
    return folder;
}

} // namespace Win32Emulator::Model
