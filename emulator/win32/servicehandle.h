#pragma once

#include "emulator/win32/api.h"
#include "emulator/win32/handletable.h"

#include <string>

namespace Win32Emulator {

/// What OpenSCManagerW or OpenServiceW opened: the manager when `service` is empty.
struct ServiceHandle
{
    std::string service;
    DWORD access = 0;
};

HandleTable<ServiceHandle> &serviceHandles();

} // namespace Win32Emulator
