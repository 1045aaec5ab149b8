#pragma once

#include <optional>
#include <string>

namespace Win32Emulator {

/// What of the Standard TCP/IP port monitor a name for OpenPrinterW means: the monitor itself (an empty text) or one of
/// its ports. Nothing for any other name. Throws ERROR_UNKNOWN_PORT for a port or a monitor that is not there.
std::optional<std::string> monitorTarget(const std::string &name);

} // namespace Win32Emulator
