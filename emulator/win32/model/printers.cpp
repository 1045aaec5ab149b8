#include "emulator/win32/model/printers.h"

#include "emulator/win32/model/database.h"
#include "emulator/win32/model/drivers.h"
#include "emulator/win32/model/jobs.h"
#include "emulator/win32/model/ports.h"

#include <windows.h>

namespace Win32Emulator {

namespace {

constexpr std::size_t longestNameInBytes = 220;

const std::string selectPrinters = "SELECT id, name, port, driver, pending_deletion, "
                                   "(SELECT count(*) FROM jobs WHERE jobs.printer = printers.id) FROM printers ";

Printer readPrinter(const Values &row)
{
    return {row[0].number, row[1], row[2], row[3], row[4] != 0U, row[5]};
}

bool nameTaken(const std::string &name, std::int64_t exceptId)
{
    return !query("SELECT 1 FROM printers WHERE name = ? AND id <> ?", {name, exceptId}).empty();
}

void checkPrinter(const Printer &printer)
{
    // OpenPrinter gives a backslash, a comma and an exclamation mark a special meaning.
    if (printer.name.empty() || printer.name.size() > longestNameInBytes ||
        printer.name.find_first_of("\\,!") != std::string::npos)
        throw Error(ERROR_INVALID_PRINTER_NAME, '"' + printer.name + "\" is not a valid printer name");
    require(findPort(printer.port).has_value(), ERROR_UNKNOWN_PORT, "there is no port \"" + printer.port + '"');
    require(findDriver(printer.driver).has_value(), ERROR_UNKNOWN_PRINTER_DRIVER,
            "there is no driver \"" + printer.driver + '"');
    require(!nameTaken(printer.name, printer.id), ERROR_PRINTER_ALREADY_EXISTS,
            "there is already a printer \"" + printer.name + '"');
}

} // namespace

void addPrinter(const std::string &name, const std::string &port, const std::string &driver)
{
    Transaction transaction;
    checkPrinter({0, name, port, driver});
    run("INSERT INTO printers (name, port, driver) VALUES (?, ?, ?)", {name, port, driver});
    transaction.commit();
}

void addPrinterUnderFreeName(const std::string &name, const std::string &port, const std::string &driver)
{
    Transaction transaction;
    std::string freeName = name;
    for (int number = 1; nameTaken(freeName, 0); ++number)
        freeName = name + " (" + std::to_string(number) + ')';
    addPrinter(freeName, port, driver);
    transaction.commit();
}

Printer findPrinter(const std::string &name)
{
    const std::optional<Printer> printer = record(readPrinter, selectPrinters + "WHERE name = ?", {name});
    require(printer.has_value(), ERROR_INVALID_PRINTER_NAME, "there is no printer \"" + name + '"');
    return *printer;
}

Printer findPrinter(std::int64_t id)
{
    const std::optional<Printer> printer = record(readPrinter, selectPrinters + "WHERE id = ?", {id});
    require(printer.has_value(), ERROR_PRINTER_DELETED, "the printer has been deleted");
    return *printer;
}

std::vector<Printer> printers()
{
    return records(readPrinter, selectPrinters + "ORDER BY id");
}

void changePrinter(const Printer &printer)
{
    Transaction transaction;
    checkPrinter(printer);
    run("UPDATE printers SET name = ?, port = ?, driver = ? WHERE id = ?",
        {printer.name, printer.port, printer.driver, printer.id});
    transaction.commit();
}

void deletePrinter(std::int64_t id)
{
    Transaction transaction;
    if (findPrinter(id).jobCount == 0)
        run("DELETE FROM printers WHERE id = ?", {id});
    else
        run("UPDATE printers SET pending_deletion = 1 WHERE id = ?", {id});
    transaction.commit();
}

void removePrinter(const std::string &name)
{
    const Printer printer = findPrinter(name);
    // Marked first, so that no job is added in between.
    deletePrinter(printer.id);
    purgeJobs(printer.id);
}

void setPrinterData(const std::string &printer, const std::string &value, unsigned type, const std::string &bytes)
{
    run("INSERT INTO printer_data (printer, name, type, bytes) VALUES (?, ?, ?, ?) "
        "ON CONFLICT DO UPDATE SET type = excluded.type, bytes = excluded.bytes",
        {findPrinter(printer).id, value, type, bytes});
}

std::optional<std::pair<unsigned, std::string>> printerData(const std::string &printer, const std::string &value)
{
    const auto read = +[](const Values &row) { return std::pair<unsigned, std::string>(row[0], row[1]); };
    return record(read, "SELECT type, bytes FROM printer_data WHERE printer = ? AND name = ?",
                  {findPrinter(printer).id, value});
}

} // namespace Win32Emulator
