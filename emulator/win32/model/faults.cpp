#include "emulator/win32/model/faults.h"

#include "emulator/win32/model/database.h"

namespace Win32Emulator::Model {

namespace {

struct Fault
{
    std::int64_t id;
    unsigned error;
    int skip;
    int times;
};

std::optional<Fault> currentFault(const std::string &function)
{
    Statement row = Database::current().query(
        "SELECT id, error, skip, times FROM faults WHERE function = ? ORDER BY id LIMIT 1", function);
    if (!row.next())
        return std::nullopt;
    return Fault{row.number(0), static_cast<unsigned>(row.number(1)), static_cast<int>(row.number(2)),
                 static_cast<int>(row.number(3))};
}

} // namespace

void addFault(const std::string &function, unsigned error, int skip, int times)
{
    if (times == 0)
        return;
    Database::current().run("INSERT INTO faults (function, error, skip, times) VALUES (?, ?, ?, ?)", function, error,
                            skip, times);
}

std::optional<unsigned> takeFault(const std::string &function)
{
    // Nearly always there is none, and a look costs less than a transaction.
    if (!currentFault(function))
        return std::nullopt;
    Transaction transaction;
    const std::optional<Fault> fault = currentFault(function);
    if (!fault)
        return std::nullopt;
    Database &database = Database::current();
    if (fault->skip > 0)
        database.run("UPDATE faults SET skip = skip - 1 WHERE id = ?", fault->id);
    else if (fault->times > 1)
        database.run("UPDATE faults SET times = times - 1 WHERE id = ?", fault->id);
    else if (fault->times == 1)
        database.run("DELETE FROM faults WHERE id = ?", fault->id);
    transaction.commit();
    return fault->skip > 0 ? std::nullopt : std::optional(fault->error);
}

} // namespace Win32Emulator::Model
