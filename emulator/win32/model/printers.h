#pragma once

#include "emulator/win32/model/basics.h"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Win32Emulator {

/// A local print queue.
struct Printer
{
    std::int64_t id = 0; ///< never reused, so a handle to a deleted queue finds nothing
    std::string name;
    std::string port = {};
    std::string driver = {};
    bool pendingDeletion = false; ///< deleted with its last job; takes no new ones
    unsigned jobCount = 0;
};

/// Adds a queue on an existing port and driver. Throws if the name is taken or not valid, the port unknown or the
/// driver not installed.
void addPrinter(const std::string &name, const std::string &port, const std::string &driver = defaultDriver);

/// The same under the first free name of "NAME", "NAME (1)", "NAME (2)", ...
void addPrinterUnderFreeName(const std::string &name, const std::string &port, const std::string &driver);

/// Throws ERROR_INVALID_PRINTER_NAME if there is none.
Printer findPrinter(const std::string &name);

/// Throws ERROR_PRINTER_DELETED if the queue no longer exists.
Printer findPrinter(std::int64_t id);

/// The queues in the order of their creation.
std::vector<Printer> printers();

/// Writes name, port and driver of the queue that has the record's id. Throws as addPrinter() does.
void changePrinter(const Printer &printer);

/// Deletes a queue; while it has jobs it is only marked, and deleted with the last of them.
void deletePrinter(std::int64_t id);

/// Deletes a queue and its jobs.
void removePrinter(const std::string &name);

/// Stores a value of a queue's printer data, exactly these bytes; `type` is a registry type.
void setPrinterData(const std::string &printer, const std::string &value, unsigned type, const std::string &bytes);

/// Type and bytes of a value, if there is one.
std::optional<std::pair<unsigned, std::string>> printerData(const std::string &printer, const std::string &value);

} // namespace Win32Emulator
