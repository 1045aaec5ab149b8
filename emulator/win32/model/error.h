#pragma once

#include <stdexcept>
#include <string>

namespace Win32Emulator::Model {

/// The model's refusal of an operation: the Win32 error code that the API reports, and a text that the tools show.
class Error : public std::runtime_error
{
public:
    Error(unsigned errorCode, const std::string &text)
        : std::runtime_error(text)
        , code(errorCode)
    {
    }

    const unsigned code;
};

} // namespace Win32Emulator::Model
