#include "emulator/win32/call.h"
#include "emulator/win32/handletable.h"
#include "emulator/win32/model/error.h"
#include "emulator/win32/model/home.h"
#include "emulator/win32/utf16.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>

using namespace Win32Emulator;

namespace {

/// A handle's hold on a mutex name: an abstract socket bound to it, which the kernel frees however the process ends.
/// The name lives as long as the handle that bound it; a handle opened beside that one does not prolong it.
class NamedMutex
{
public:
    /// An empty name makes a mutex without one.
    explicit NamedMutex(const std::string &name)
    {
        if (!name.empty())
            bindTo(name);
    }
    ~NamedMutex()
    {
        if (m_socket >= 0)
            close(m_socket);
    }
    NamedMutex(const NamedMutex &) = delete;
    NamedMutex &operator=(const NamedMutex &) = delete;

    bool existedBefore() const { return m_existedBefore; }

private:
    void bindTo(const std::string &name)
    {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        // The leading zero byte makes the name abstract.
        const std::size_t length = std::min(name.size(), sizeof address.sun_path - 1);
        std::copy_n(name.data(), length, address.sun_path + 1);
        const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + length);
        m_socket = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (m_socket < 0)
            throw Model::Error(ERROR_NO_SYSTEM_RESOURCES, "no socket for a mutex");
        if (bind(m_socket, reinterpret_cast<const sockaddr *>(&address), size) == 0)
            return;
        m_existedBefore = errno == EADDRINUSE;
        close(m_socket);
        m_socket = -1;
        if (!m_existedBefore)
            throw Model::Error(ERROR_NO_SYSTEM_RESOURCES, "cannot bind the name of a mutex");
    }

    int m_socket = -1;
    bool m_existedBefore = false;
};

HandleTable<NamedMutex> &mutexes()
{
    static HandleTable<NamedMutex> handles;
    return handles;
}

/// FNV-1a.
std::uint64_t hash(const std::string &text)
{
    std::uint64_t result = 0xCBF29CE484222325;
    for (const char character : text)
        result = (result ^ static_cast<unsigned char>(character)) * 0x100000001B3;
    return result;
}

/// The socket's name: short enough for an address, different for every emulated machine, and for every user unless the
/// mutex is global. The mutex's own name stands last, for the eye, and may be cut.
std::string socketName(const std::string &name)
{
    if (name.empty())
        return name;
    const bool global = name.rfind("Global\\", 0) == 0;
    const std::string session = global ? std::string() : std::to_string(getuid());
    return "win32-mutex/" + std::to_string(hash(Model::homeFolder() + '\n' + session + '\n' + name)) + '/' + name;
}

} // namespace

HANDLE WINAPI CreateMutexW(LPSECURITY_ATTRIBUTES, BOOL, LPCWSTR name)
{
    HANDLE handle = nullptr;
    DWORD error = ERROR_SUCCESS;
    const BOOL created = boolCall("CreateMutexW", fromUtf16(name), [&] {
        const auto mutex = std::make_shared<NamedMutex>(socketName(fromUtf16(name)));
        if (mutex->existedBefore())
            error = ERROR_ALREADY_EXISTS;
        handle = mutexes().add(mutex);
    });
    // Success sets the last error too: it is how a caller learns whether the mutex is new.
    if (created)
        SetLastError(error);
    return handle;
}

BOOL WINAPI CloseHandle(HANDLE handle)
{
    return boolCall("CloseHandle", {}, [&] {
        if (!mutexes().remove(handle))
            throw Model::Error(ERROR_INVALID_HANDLE, "the handle is not open");
    });
}
