#include "emulator/win32/model/calls.h"

#include "emulator/win32/model/database.h"

#include <map>
#include <mutex>

namespace Win32Emulator {

namespace {

constexpr std::int64_t mostCalls = 100000;
constexpr std::int64_t trimInterval = 1000;

struct Fault
{
    std::int64_t id;
    unsigned error;
    std::int64_t skip;
    std::int64_t times;
};

Fault readFault(const Values &row)
{
    return {row[0].number, row[1], row[2].number, row[3].number};
}

std::optional<Fault> currentFault(const std::string &function)
{
    return record(readFault, "SELECT id, error, skip, times FROM faults WHERE function IN (?, '*') ORDER BY id LIMIT 1",
                  {function});
}

std::mutex hooksMutex;
std::multimap<std::string, std::function<void()>> hooks;

std::function<void()> takeHook(const std::string &function)
{
    const std::lock_guard lock(hooksMutex);
    const auto hook = hooks.find(function);
    if (hook == hooks.end())
        return [] {};
    return std::move(hooks.extract(hook).mapped());
}

} // namespace

void recordCall(const Call &call)
{
    run("INSERT INTO calls (function, arguments) VALUES (?, ?)", {call.function, call.arguments});
    const std::int64_t id = lastInsertedId();
    if (id % trimInterval == 0)
        run("DELETE FROM calls WHERE id <= ?", {id - mostCalls});
}

std::vector<Call> calls(const std::string &function)
{
    const auto read = +[](const Values &row) { return Call{row[0], row[1]}; };
    return records(read, "SELECT function, arguments FROM calls WHERE ?1 IN ('', function) ORDER BY id", {function});
}

void clearCalls()
{
    run("DELETE FROM calls");
}

void failCalls(const std::string &function, unsigned error, int skip, int times)
{
    run("INSERT INTO faults (function, error, skip, times) VALUES (?, ?, ?, ?)", {function, error, skip, times});
}

void clearFaults()
{
    run("DELETE FROM faults");
}

std::optional<unsigned> takeFault(const std::string &function)
{
    // Usually there is none, and looking is cheaper than a transaction.
    if (!currentFault(function))
        return std::nullopt;
    Transaction transaction;
    const std::optional<Fault> fault = currentFault(function);
    if (!fault)
        return std::nullopt;
    if (fault->skip > 0)
        run("UPDATE faults SET skip = skip - 1 WHERE id = ?", {fault->id});
    else if (fault->times == 1)
        run("DELETE FROM faults WHERE id = ?", {fault->id});
    else // a negative count only moves away from 1
        run("UPDATE faults SET times = times - 1 WHERE id = ?", {fault->id});
    transaction.commit();
    return fault->skip > 0 ? std::nullopt : std::optional(fault->error);
}

void beforeCall(const std::string &function, std::function<void()> action)
{
    const std::lock_guard lock(hooksMutex);
    hooks.emplace(function, std::move(action));
}

void runHook(const std::string &function)
{
    // Outside the lock: the action may call Win32 functions itself.
    takeHook(function)();
}

void clearHooks()
{
    const std::lock_guard lock(hooksMutex);
    hooks.clear();
}

} // namespace Win32Emulator
