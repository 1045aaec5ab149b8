#include "emulator/win32/model/calls.h"

#include "emulator/win32/model/database.h"

namespace Win32Emulator::Model {

namespace {

constexpr std::int64_t mostCalls = 100000;
constexpr std::int64_t trimInterval = 1000;

} // namespace

void recordCall(const std::string &function, const std::string &arguments)
{
    Database &database = Database::current();
    database.run("INSERT INTO calls (function, arguments) VALUES (?, ?)", function, arguments);
    const std::int64_t id = database.lastInsertedId();
    if (id % trimInterval == 0)
        database.run("DELETE FROM calls WHERE id <= ?", id - mostCalls);
}

std::vector<std::pair<std::string, std::string>> recordedCalls(const std::string &function)
{
    std::vector<std::pair<std::string, std::string>> result;
    Statement row = Database::current().query(
        "SELECT function, arguments FROM calls WHERE ?1 IN ('', function) ORDER BY id", function);
    while (row.next())
        result.emplace_back(row.text(0), row.text(1));
    return result;
}

void clearCalls()
{
    Database::current().run("DELETE FROM calls");
}

} // namespace Win32Emulator::Model
