#include "emulator/win32/call.h"

#include "emulator/win32/model/calls.h"
#include "emulator/win32/model/error.h"
#include "emulator/win32/model/faults.h"

#include <cstdio>
#include <map>
#include <mutex>
#include <optional>

namespace Win32Emulator {

namespace {

std::mutex hooksMutex;
std::multimap<std::string, std::function<void()>> hooks;

void runHook(const std::string &function)
{
    std::function<void()> action;
    {
        const std::lock_guard lock(hooksMutex);
        const auto hook = hooks.find(function);
        if (hook == hooks.end())
            return;
        action = std::move(hook->second);
        hooks.erase(hook);
    }
    // Outside the lock: the action may call Win32 functions itself.
    action();
}

/// The error code of the failure; nothing on success.
std::optional<DWORD> perform(const char *function, const std::string &arguments, const std::function<void()> &work)
{
    try {
        runHook(function);
        Model::recordCall(function, arguments);
        if (const std::optional<unsigned> fault = Model::takeFault(function))
            return *fault;
        work();
        return std::nullopt;
    } catch (const Model::Error &error) {
        return error.code;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "Win32 emulator: %s: %s\n", function, error.what());
        return ERROR_INTERNAL_ERROR;
    }
}

} // namespace

BOOL boolCall(const char *function, const std::string &arguments, const std::function<void()> &work)
{
    const std::optional<DWORD> error = perform(function, arguments, work);
    if (error)
        SetLastError(*error);
    return error ? FALSE : TRUE;
}

DWORD codeCall(const char *function, const std::string &arguments, const std::function<void()> &work)
{
    return perform(function, arguments, work).value_or(ERROR_SUCCESS);
}

std::string hexadecimal(ACCESS_MASK access)
{
    char text[16];
    std::snprintf(text, sizeof text, "0x%x", access);
    return text;
}

void setHook(const std::string &function, std::function<void()> action)
{
    const std::lock_guard lock(hooksMutex);
    hooks.emplace(function, std::move(action));
}

void clearHooks()
{
    const std::lock_guard lock(hooksMutex);
    hooks.clear();
}

} // namespace Win32Emulator
