#pragma once

#include "emulator/win32/handles.h"
#include "emulator/win32/model/printers.h"

#include <optional>

namespace Win32Emulator {

/// What OpenPrinterW opens.
struct PrinterHandle : OpenObject
{
};

struct QueueHandle : PrinterHandle
{
    std::int64_t printer = 0;
};

/// A handle to the Standard TCP/IP port monitor, or to one of its ports.
struct MonitorHandle : PrinterHandle
{
    std::optional<std::string> port;
};

/// The handle to the port monitor or port that a name for OpenPrinterW denotes; null for any other name. Throws
/// ERROR_UNKNOWN_PORT if the port or monitor does not exist.
std::shared_ptr<PrinterHandle> monitorHandle(const std::string &name);

/// The queue of a handle that may read it. Throws ERROR_INVALID_HANDLE, ERROR_ACCESS_DENIED or ERROR_PRINTER_DELETED.
/// The right to use and the right to administer both allow reading.
Printer readableQueue(HANDLE handle);

/// The queue of a handle opened with PRINTER_ACCESS_ADMINISTER, which may change it. Throws the same errors.
Printer administeredQueue(HANDLE handle);

} // namespace Win32Emulator
