#pragma once

#include <string>
#include <utility>
#include <vector>

namespace Win32Emulator::Model {

/// Records a call of a Win32 function with its telling arguments. Only the latest hundred thousand are kept.
void recordCall(const std::string &function, const std::string &arguments);

/// Function and arguments of the recorded calls, oldest first; of one function when it is named.
std::vector<std::pair<std::string, std::string>> recordedCalls(const std::string &function);

void clearCalls();

} // namespace Win32Emulator::Model
