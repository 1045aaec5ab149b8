#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace Win32Emulator {

/// A call of a Win32 function. The arguments are recorded where a test looks at them, as in "前台 access=0x4".
struct Call
{
    std::string function;
    std::string arguments = {};
};

/// Records a call. Only the latest hundred thousand are kept.
void recordCall(const Call &call);

/// The calls of all processes, oldest first; only those of one function if it is named.
std::vector<Call> calls(const std::string &function = {});

void clearCalls();

/// Lets calls of a function fail with an error, in every process: `times` times (for good if negative), after `skip`
/// successful calls. "*" is any function, "PrintUIEntry" the printer set-up. Faults of one function take effect one
/// after the other.
void failCalls(const std::string &function, unsigned error, int skip = 0, int times = 1);

/// Takes back what failCalls() has asked for.
void clearFaults();

/// Counts a call of the function; the error that it is to fail with, if any.
std::optional<unsigned> takeFault(const std::string &function);

/// Runs the action once, before the next call of the function in this process does its work, for instance to change the
/// machine between the two calls of a size query.
void beforeCall(const std::string &function, std::function<void()> action);

/// Runs the next action that beforeCall() left for the function.
void runHook(const std::string &function);

void clearHooks();

} // namespace Win32Emulator
