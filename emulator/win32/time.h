#pragma once

#include "emulator/win32/api.h"

namespace Win32Emulator {

/// With virtual time, GetTickCount() stands still at `ticks` but for what Sleep() adds, and Sleep() returns at once. Of
/// this process.
void switchVirtualTime(bool on, DWORD ticks = 0);

} // namespace Win32Emulator
