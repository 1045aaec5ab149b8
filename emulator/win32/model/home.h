#pragma once

#include <string>

namespace Win32Emulator::Model {

/// The folder that holds the emulated machine: $WIN32_EMULATOR_HOME, or a folder of the build tree. Created when
/// missing. The variable is read on each call, so a test may move to another machine at any time.
std::string homeFolder();

/// The folder of the spooled jobs' bytes, inside the home. Created when missing.
std::string spoolFolder();

} // namespace Win32Emulator::Model
