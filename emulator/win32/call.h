#pragma once

#include "emulator/win32/api.h"
#include "emulator/win32/model/calls.h"

#include <functional>

namespace Win32Emulator {

/// The frame of every emulated function: runs the test's hook, records the call, lets a fault replace the work, and
/// turns what the work throws into an error code. An Error carries the code; any other exception is a fault of the
/// emulator, written to stderr and reported as ERROR_INTERNAL_ERROR.

/// For functions that report success as TRUE; a failure sets the last error, success leaves it alone.
BOOL boolCall(const Call &call, const std::function<void()> &work);

/// For functions that return the error code.
DWORD codeCall(const Call &call, const std::function<void()> &work);

/// Access rights as the recorded arguments show them.
std::string accessText(ACCESS_MASK access);

/// UTF-16 as UTF-8, and back; a null pointer is an empty text.
std::string fromUtf16(LPCWSTR text);
std::u16string toUtf16(const std::string &text);

} // namespace Win32Emulator
