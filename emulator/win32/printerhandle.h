#pragma once

#include "emulator/win32/api.h"
#include "emulator/win32/handletable.h"
#include "emulator/win32/model/printers.h"

#include <optional>
#include <string>

namespace Win32Emulator {

/// What OpenPrinterW opened: a queue, or the print server when `printer` is 0, or a door to the port monitor.
struct PrinterHandle
{
    std::int64_t printer = 0;
    std::string name; ///< that it was opened by, for the record of calls
    ACCESS_MASK access = 0;
    std::optional<std::string> monitorPort = {}; ///< the monitor's port, empty for the monitor itself
};

HandleTable<PrinterHandle> &printerHandles();

/// The name a handle was opened by, for the record of calls.
std::string describe(HANDLE handle);

/// The queue behind a handle that may read it. Throws ERROR_INVALID_HANDLE, ERROR_ACCESS_DENIED or
/// ERROR_PRINTER_DELETED. The right to use and the right to administer both allow to read.
Model::Printer readableQueue(HANDLE handle);

/// The queue behind a handle that may change it: one opened with PRINTER_ACCESS_ADMINISTER. Throws the same errors.
Model::Printer administeredQueue(HANDLE handle);

} // namespace Win32Emulator
