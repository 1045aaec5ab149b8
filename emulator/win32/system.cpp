#include <QCryptographicHash>
#include <QFileInfo>
#include <QLockFile>

#include "emulator/win32/call.h"
#include "emulator/win32/control.h"
#include "emulator/win32/handles.h"

#include <dlfcn.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <thread>

using namespace Win32Emulator;

namespace {

thread_local DWORD lastError = ERROR_SUCCESS;
std::atomic<bool> isTimeVirtual = false;
std::atomic<DWORD> virtualTicks = 0;

/// CreateProcess looks for a bare program name in the calling program's folder first; Linux does not. The emulated
/// system programs lie beside this library, so its folder comes first in the search path.
[[gnu::constructor]] void putOwnFolderFirst()
{
    Dl_info library = {};
    dladdr(reinterpret_cast<void *>(putOwnFolderFirst), &library);
    const QByteArray folder = QFileInfo(QString::fromLocal8Bit(library.dli_fname)).absolutePath().toLocal8Bit() + ':';
    const QByteArray path = qgetenv("PATH");
    if (!path.startsWith(folder))
        qputenv("PATH", folder + path);
}

/// A handle's hold on a mutex name: a lock file, freed however the process ends. The name exists while the handle that
/// created it is open; further handles to it do not prolong that.
struct NamedMutex : OpenObject
{
    explicit NamedMutex(const QString &file)
        : lock(file)
    {
        lock.setStaleLockTime(0); // only the end of its process makes a lock stale
        existedBefore = !lock.tryLock(0);
        require(!existedBefore || lock.error() == QLockFile::LockFailedError, ERROR_NO_SYSTEM_RESOURCES);
    }

    QLockFile lock;
    bool existedBefore;
};

/// Each user has mutexes of his own, except the global ones.
QString mutexFile(const std::string &name)
{
    const std::string owner = name.rfind("Global\\", 0) == 0 ? std::string() : std::to_string(getuid());
    const QByteArray hash = QCryptographicHash::hash(QByteArray::fromStdString(owner + name), QCryptographicHash::Sha1);
    return QString::fromStdString(homeFolder()) + QStringLiteral("/mutex-") + QString::fromLatin1(hash.toHex());
}

} // namespace

void Win32Emulator::reset()
{
    clearHooks();
    isTimeVirtual = false;
    resetState();
}

void Win32Emulator::useVirtualTime(unsigned ticks)
{
    virtualTicks = ticks;
    isTimeVirtual = true;
}

// This and the other functions without a call record cannot fail and change nothing but the thread's own error.
DWORD WINAPI GetLastError()
{
    return lastError;
}

void WINAPI SetLastError(DWORD error)
{
    lastError = error;
}

DWORD WINAPI GetTickCount()
{
    if (isTimeVirtual)
        return virtualTicks;
    const auto time = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<DWORD>(std::chrono::duration_cast<std::chrono::milliseconds>(time).count());
}

void WINAPI Sleep(DWORD milliseconds)
{
    codeCall({"Sleep", std::to_string(milliseconds)}, [&] {
        if (isTimeVirtual)
            virtualTicks += milliseconds;
        else
            std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
    });
}

DWORD WINAPI GetCurrentProcessId()
{
    return static_cast<DWORD>(getpid());
}

/// Nothing to allow here: the window manager decides which window is raised.
BOOL WINAPI AllowSetForegroundWindow(DWORD process)
{
    return boolCall({"AllowSetForegroundWindow", process == ASFW_ANY ? "any" : std::to_string(process)}, [] {});
}

BOOL WINAPI ProcessIdToSessionId(DWORD, DWORD *session)
{
    return boolCall({"ProcessIdToSessionId"}, [&] {
        require(session, ERROR_INVALID_PARAMETER);
        // On Windows each logged-on user has a session; here the user stands for it.
        *session = getuid();
    });
}

HANDLE WINAPI CreateMutexW(LPSECURITY_ATTRIBUTES, BOOL, LPCWSTR name)
{
    HANDLE handle = nullptr;
    DWORD error = ERROR_SUCCESS;
    const BOOL created = boolCall({"CreateMutexW"}, [&] {
        const auto mutex = std::make_shared<NamedMutex>(mutexFile(fromUtf16(name)));
        error = mutex->existedBefore ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS;
        handle = addHandle(mutex);
    });
    // Success sets the last error, too: it reports whether the mutex is new.
    if (created)
        SetLastError(error);
    return handle;
}

BOOL WINAPI CloseHandle(HANDLE handle)
{
    return boolCall({"CloseHandle"}, [&] { closeHandle<NamedMutex>(handle); });
}
