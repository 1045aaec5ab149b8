#pragma once

#include <string>
#include <vector>

namespace Tools {

/// The printer set-up entry point of PRINTUI.DLL: installs a queue and, from an INF, its driver (/if), or queues the
/// test page (/k). Throws std::runtime_error when it cannot, and then has changed nothing.
void printUiEntry(const std::vector<std::string> &words);

} // namespace Tools
