#pragma once

#include "emulator/win32/api.h"
#include "emulator/win32/handletable.h"

#include <map>
#include <string>

namespace Win32Emulator {

/// An open registry key: its text values by name.
struct RegistryKey
{
    std::map<std::string, std::string> values;
    REGSAM access = 0;
};

HandleTable<RegistryKey> &registryKeys();

} // namespace Win32Emulator
