#include "emulator/win32/model/ports.h"

#include "emulator/win32/model/basics.h"
#include "emulator/win32/model/database.h"

#include <windows.h>

namespace Win32Emulator {

namespace {

Port readPort(const Values &row)
{
    return {row[0], row[1], row[2]};
}

void requireChange(int changedRows, const std::string &port)
{
    require(changedRows != 0, ERROR_UNKNOWN_PORT, "there is no port \"" + port + '"');
}

} // namespace

void addPort(const std::string &name, const std::string &host, unsigned number)
{
    require(run("INSERT OR IGNORE INTO ports (name, host, number) VALUES (?, ?, ?)", {name, host, number}) != 0,
            ERROR_ALREADY_EXISTS, "there is already a port \"" + name + '"');
}

void changePort(const Port &port)
{
    requireChange(run("UPDATE ports SET host = ?, number = ? WHERE name = ?", {port.host, port.number, port.name}),
                  port.name);
}

void deletePort(const std::string &name)
{
    Transaction transaction;
    require(query("SELECT 1 FROM printers WHERE port = ?", {name}).empty(), ERROR_BUSY,
            "a printer uses the port \"" + name + '"');
    requireChange(run("DELETE FROM ports WHERE name = ?", {name}), name);
    transaction.commit();
}

std::optional<Port> findPort(const std::string &name)
{
    return record(readPort, "SELECT name, host, number FROM ports WHERE name = ?", {name});
}

std::vector<Port> ports()
{
    return records(readPort, "SELECT name, host, number FROM ports ORDER BY id");
}

} // namespace Win32Emulator
