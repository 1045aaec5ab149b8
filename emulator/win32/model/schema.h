#pragma once

namespace Win32Emulator {

/// The file in the home folder that holds the state. Its name changes with the tables.
extern const char *const stateFile;

/// What each connection runs first.
extern const char *const connectionSettings;

/// Creates the tables of a fresh machine.
extern const char *const createTables;

} // namespace Win32Emulator
