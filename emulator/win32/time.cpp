#include "emulator/win32/time.h"

#include "emulator/win32/call.h"

#include <atomic>
#include <chrono>
#include <thread>

namespace {

std::atomic<bool> isVirtual = false;
std::atomic<DWORD> virtualTicks = 0;

} // namespace

void Win32Emulator::switchVirtualTime(bool on, DWORD ticks)
{
    virtualTicks = ticks;
    isVirtual = on;
}

// Like GetLastError(), it cannot fail and changes nothing: it is not recorded.
DWORD WINAPI GetTickCount()
{
    if (isVirtual)
        return virtualTicks;
    const auto time = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<DWORD>(std::chrono::duration_cast<std::chrono::milliseconds>(time).count());
}

void WINAPI Sleep(DWORD milliseconds)
{
    Win32Emulator::codeCall("Sleep", std::to_string(milliseconds), [&] {
        if (isVirtual)
            virtualTicks += milliseconds;
        else
            std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
    });
}
