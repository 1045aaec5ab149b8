#pragma once

#include <windows.h>
#include <winsvc.h>

#include <chrono>
#include <memory>
#include <type_traits>

// What both the program and the helper library need to control a service. Header only.
namespace Quaylink {

struct CloseService
{
    void operator()(SC_HANDLE handle) const { CloseServiceHandle(handle); }
};
using ServiceHandle = std::unique_ptr<std::remove_pointer_t<SC_HANDLE>, CloseService>;

/// Time since GetTickCount() returned `start`; correct across the counter's wrap-around.
inline std::chrono::milliseconds elapsedSince(DWORD start)
{
    return std::chrono::milliseconds(GetTickCount() - start);
}

inline void pause(std::chrono::milliseconds time)
{
    Sleep(static_cast<DWORD>(time.count()));
}

} // namespace Quaylink
