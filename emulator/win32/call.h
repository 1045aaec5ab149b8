#pragma once

#include "emulator/win32/api.h"

#include <functional>
#include <string>

namespace Win32Emulator {

/// The frame around every emulated function: runs the test's hook, records the call, lets a fault take the place of the
/// work, and turns what the work throws into an error code. A Model::Error carries the code itself; anything else is
/// a fault of the emulator, told on stderr and reported as ERROR_INTERNAL_ERROR.

/// For functions that tell success as TRUE; a failure sets the last error, success leaves it alone.
BOOL boolCall(const char *function, const std::string &arguments, const std::function<void()> &work);

/// For functions that return the error code.
DWORD codeCall(const char *function, const std::string &arguments, const std::function<void()> &work);

/// Access rights as the recorded arguments show them.
std::string hexadecimal(ACCESS_MASK access);

/// Runs the action once, in this process, before the next call of the function does its work.
void setHook(const std::string &function, std::function<void()> action);

void clearHooks();

} // namespace Win32Emulator
