#include "emulator/win32/model/printers.h"

#include "emulator/win32/model/database.h"
#include "emulator/win32/model/drivers.h"
#include "emulator/win32/model/error.h"
#include "emulator/win32/model/jobs.h"
#include "emulator/win32/model/ports.h"

#include <windows.h>

namespace Win32Emulator::Model {

namespace {

constexpr std::size_t longestNameInBytes = 220;

const std::string selectPrinters = "SELECT id, name, share, port, driver, pending_deletion, "
                                   "(SELECT count(*) FROM jobs WHERE jobs.printer = printers.id) FROM printers ";

Printer readPrinter(const Statement &row)
{
    return {row.number(0),
            row.text(1),
            row.text(2),
            row.text(3),
            row.text(4),
            row.number(5) != 0,
            static_cast<unsigned>(row.number(6))};
}

Error invalidName(const std::string &name)
{
    return Error(ERROR_INVALID_PRINTER_NAME, "there is no printer \"" + name + '"');
}

bool nameTaken(const std::string &name, std::int64_t exceptId)
{
    return Database::current().query("SELECT 1 FROM printers WHERE name = ? AND id <> ?", name, exceptId).next();
}

void checkPrinter(const Printer &printer)
{
    checkPrinterName(printer.name);
    if (!findPort(printer.port))
        throw Error(ERROR_UNKNOWN_PORT, "there is no port \"" + printer.port + '"');
    if (!hasDriver(printer.driver))
        throw Error(ERROR_UNKNOWN_PRINTER_DRIVER, "there is no driver \"" + printer.driver + '"');
    if (nameTaken(printer.name, printer.id))
        throw Error(ERROR_PRINTER_ALREADY_EXISTS, "there is already a printer \"" + printer.name + '"');
}

void insertPrinter(const Printer &printer)
{
    checkPrinter(printer);
    Database::current().run("INSERT INTO printers (name, port, driver) VALUES (?, ?, ?)", printer.name, printer.port,
                            printer.driver);
}

} // namespace

void checkPrinterName(const std::string &name)
{
    // A backslash, a comma and an exclamation mark have a meaning of their own in what OpenPrinter takes.
    if (name.empty() || name.size() > longestNameInBytes || name.find_first_of("\\,!") != std::string::npos)
        throw Error(ERROR_INVALID_PRINTER_NAME, '"' + name + "\" is no valid printer name");
}

void addPrinter(const std::string &name, const std::string &port, const std::string &driver)
{
    Transaction transaction;
    insertPrinter({0, name, {}, port, driver});
    transaction.commit();
}

std::string addPrinterUnderFreeName(const std::string &name, const std::string &port, const std::string &driver)
{
    Transaction transaction;
    std::string freeName = name;
    for (int number = 1; nameTaken(freeName, 0); ++number)
        freeName = name + " (" + std::to_string(number) + ')';
    insertPrinter({0, freeName, {}, port, driver});
    transaction.commit();
    return freeName;
}

Printer findPrinter(const std::string &name)
{
    Statement row = Database::current().query(selectPrinters + "WHERE name = ?", name);
    if (!row.next())
        throw invalidName(name);
    return readPrinter(row);
}

Printer findPrinter(std::int64_t id)
{
    Statement row = Database::current().query(selectPrinters + "WHERE id = ?", id);
    if (!row.next())
        throw Error(ERROR_PRINTER_DELETED, "the printer has been deleted");
    return readPrinter(row);
}

std::vector<Printer> printers()
{
    std::vector<Printer> result;
    Statement row = Database::current().query(selectPrinters + "ORDER BY id");
    while (row.next())
        result.push_back(readPrinter(row));
    return result;
}

void changePrinter(const Printer &printer)
{
    Transaction transaction;
    checkPrinter(printer);
    Database::current().run("UPDATE printers SET name = ?, share = ?, port = ?, driver = ? WHERE id = ?", printer.name,
                            printer.share, printer.port, printer.driver, printer.id);
    transaction.commit();
}

void deletePrinter(std::int64_t id)
{
    Transaction transaction;
    if (findPrinter(id).jobCount == 0)
        Database::current().run("DELETE FROM printers WHERE id = ?", id);
    else
        Database::current().run("UPDATE printers SET pending_deletion = 1 WHERE id = ?", id);
    transaction.commit();
}

void removePrinter(const std::string &name)
{
    const Printer printer = findPrinter(name);
    // Marked first, so that no job slips in between.
    deletePrinter(printer.id);
    purgeJobs(printer.id);
}

} // namespace Win32Emulator::Model
