#pragma once

#include <stdexcept>
#include <string>

namespace Win32Emulator {

/// The driver that is installed unless another one is named.
constexpr const char *defaultDriver = "Orvo OX-410T";

/// A refused operation: the Win32 error code that the API reports, and a text that the tools show.
class Error : public std::runtime_error
{
public:
    explicit Error(unsigned errorCode, const std::string &text = {})
        : std::runtime_error(text)
        , code(errorCode)
    {
    }

    const unsigned code;
};

inline void require(bool holds, unsigned errorCode, const std::string &text = {})
{
    if (!holds)
        throw Error(errorCode, text);
}

/// The folder that holds the emulated machine: $WIN32_EMULATOR_HOME, or a folder of the build tree. Created if missing.
/// The variable is read on each call, so a test can move to another machine.
std::string homeFolder();

/// Orders two UTF-8 names as Windows compares the names of queues, ports, drivers and values: regardless of case, in
/// any script. Negative, 0 or positive.
int compareNames(const std::string &left, const std::string &right);

/// A fresh state: the service "Spooler" running, nothing else. Numbering starts anew.
void resetState();

} // namespace Win32Emulator
