#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Win32Emulator::Model {

/// A local print queue.
struct Printer
{
    std::int64_t id = 0; ///< never used again, so a handle to a deleted queue finds nothing
    std::string name;
    std::string share = {};
    std::string port = {};
    std::string driver = {};
    bool pendingDeletion = false; ///< goes with its last job; takes no new ones
    unsigned jobCount = 0;
};

/// Throws ERROR_INVALID_PRINTER_NAME unless a queue may bear the name.
void checkPrinterName(const std::string &name);

/// Adds a queue. Throws when the name is taken or not valid, the port unknown or the driver not installed.
void addPrinter(const std::string &name, const std::string &port, const std::string &driver);

/// The same under the first free name of "NAME", "NAME (1)", "NAME (2)", ...; returns the name.
std::string addPrinterUnderFreeName(const std::string &name, const std::string &port, const std::string &driver);

/// Throws ERROR_INVALID_PRINTER_NAME when there is none.
Printer findPrinter(const std::string &name);

/// Throws ERROR_PRINTER_DELETED when the queue is gone.
Printer findPrinter(std::int64_t id);

/// The queues in the order of their creation.
std::vector<Printer> printers();

/// Writes name, share, port and driver of the queue that has the record's id. Throws as addPrinter() does.
void changePrinter(const Printer &printer);

/// Deletes a queue; while it has jobs it is only marked, and goes with the last of them.
void deletePrinter(std::int64_t id);

/// Deletes a queue with its jobs.
void removePrinter(const std::string &name);

} // namespace Win32Emulator::Model
