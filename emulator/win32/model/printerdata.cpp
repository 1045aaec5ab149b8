#include "emulator/win32/model/printerdata.h"

#include "emulator/win32/model/database.h"

namespace Win32Emulator::Model {

void setPrinterData(std::int64_t printer, const std::string &value, unsigned type, const std::string &bytes)
{
    Database::current().run("INSERT INTO printer_data (printer, name, type, bytes) VALUES (?, ?, ?, ?) "
                            "ON CONFLICT DO UPDATE SET type = excluded.type, bytes = excluded.bytes",
                            printer, value, type, Blob{bytes});
}

std::optional<std::pair<unsigned, std::string>> printerData(std::int64_t printer, const std::string &value)
{
    Statement row = Database::current().query("SELECT type, bytes FROM printer_data WHERE printer = ? AND name = ?",
                                              printer, value);
    if (!row.next())
        return std::nullopt;
    return std::pair(static_cast<unsigned>(row.number(0)), row.text(1));
}

} // namespace Win32Emulator::Model
