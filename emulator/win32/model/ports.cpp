#include "emulator/win32/model/ports.h"

#include "emulator/win32/model/database.h"
#include "emulator/win32/model/error.h"

#include <windows.h>

namespace Win32Emulator::Model {

namespace {

Port readPort(const Statement &row)
{
    return {row.text(0), row.text(1), static_cast<unsigned>(row.number(2))};
}

Error unknownPort(const std::string &name)
{
    return Error(ERROR_UNKNOWN_PORT, "there is no port \"" + name + '"');
}

} // namespace

void addPort(const Port &port)
{
    const int added = Database::current().run("INSERT OR IGNORE INTO ports (name, host, number) VALUES (?, ?, ?)",
                                              port.name, port.host, port.number);
    if (added == 0)
        throw Error(ERROR_ALREADY_EXISTS, "there is already a port \"" + port.name + '"');
}

void changePort(const Port &port)
{
    if (Database::current().run("UPDATE ports SET host = ?, number = ? WHERE name = ?", port.host, port.number,
                                port.name) == 0)
        throw unknownPort(port.name);
}

void deletePort(const std::string &name)
{
    Transaction transaction;
    Database &database = Database::current();
    if (database.query("SELECT 1 FROM printers WHERE port = ?", name).next())
        throw Error(ERROR_BUSY, "a printer uses the port \"" + name + '"');
    if (database.run("DELETE FROM ports WHERE name = ?", name) == 0)
        throw unknownPort(name);
    transaction.commit();
}

std::optional<Port> findPort(const std::string &name)
{
    Statement row = Database::current().query("SELECT name, host, number FROM ports WHERE name = ?", name);
    return row.next() ? std::optional(readPort(row)) : std::nullopt;
}

std::vector<Port> ports()
{
    std::vector<Port> result;
    Statement row = Database::current().query("SELECT name, host, number FROM ports ORDER BY id");
    while (row.next())
        result.push_back(readPort(row));
    return result;
}

} // namespace Win32Emulator::Model
