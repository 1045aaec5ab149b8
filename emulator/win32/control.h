#pragma once

#include "emulator/win32/model/calls.h"
#include "emulator/win32/model/drivers.h"
#include "emulator/win32/model/jobs.h"
#include "emulator/win32/model/ports.h"
#include "emulator/win32/model/printers.h"
#include "emulator/win32/model/services.h"

/// The emulator's interface for tests and tools: sets up and inspects the machine that the Win32 functions act on. It
/// lies in the folder $WIN32_EMULATOR_HOME and is shared by all processes that name that folder. Texts are UTF-8. Any
/// thread. Everything throws std::runtime_error if it cannot be done (an unknown printer, a taken name).
namespace Win32Emulator {

/// A fresh machine: the service "Spooler" running, nothing else; no faults, hooks or recorded calls; real time.
void reset();

/// Lets Sleep() return at once and GetTickCount() count only what was slept, starting at `ticks`. In this process,
/// until reset().
void useVirtualTime(unsigned ticks = 0);

/// The number of open handles in this process.
int openHandles();

} // namespace Win32Emulator
