#pragma once

#include <optional>
#include <string>

namespace Win32Emulator::Model {

/// Lets calls of a Win32 function fail with an error code: after `skip` further calls, `times` times, for good when
/// negative. Faults of one function come into effect one after the other.
void addFault(const std::string &function, unsigned error, int skip, int times);

/// Counts a call of the function; the error that it is to fail with, if any.
std::optional<unsigned> takeFault(const std::string &function);

} // namespace Win32Emulator::Model
