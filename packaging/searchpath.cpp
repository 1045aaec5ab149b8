// Part of the program on Windows: libraries and programs called by their bare name, such as RUNDLL32, are never taken
// from the working directory, which other users may be able to write to. The program runs with an administrator's
// rights.

#include <windows.h>

namespace {

/// Initialised before main().
[[maybe_unused]] const bool withoutWorkingDirectory =
    SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_DEFAULT_DIRS) &&
    SetEnvironmentVariableW(L"NoDefaultCurrentDirectoryInExePath", L"1");

} // namespace
