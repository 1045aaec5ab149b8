#pragma once

#include "emulator/win32/api.h"

#include <atomic>
#include <map>
#include <memory>
#include <mutex>

namespace Win32Emulator {

/// A new handle value. No value is given out twice in a process, so a handle closed twice is noticed, and one of
/// another kind is never taken for one's own.
inline HANDLE newHandle()
{
    static std::atomic<std::uintptr_t> last = 0x1000;
    // Handle values are multiples of four.
    return reinterpret_cast<HANDLE>(last += 4); // NOLINT(performance-no-int-to-ptr)
}

/// The open handles of one kind in this process and the object behind each. Any thread.
template <typename Object>
class HandleTable
{
public:
    HANDLE add(std::shared_ptr<Object> object)
    {
        const HANDLE handle = newHandle();
        const std::lock_guard lock(m_mutex);
        m_objects.emplace(handle, std::move(object));
        return handle;
    }

    /// Null when the handle is not open.
    std::shared_ptr<Object> find(HANDLE handle) const
    {
        const std::lock_guard lock(m_mutex);
        const auto entry = m_objects.find(handle);
        return entry == m_objects.end() ? nullptr : entry->second;
    }

    bool remove(HANDLE handle)
    {
        const std::lock_guard lock(m_mutex);
        return m_objects.erase(handle) > 0;
    }

    std::size_t size() const
    {
        const std::lock_guard lock(m_mutex);
        return m_objects.size();
    }

private:
    mutable std::mutex m_mutex;
    std::map<HANDLE, std::shared_ptr<Object>> m_objects;
};

} // namespace Win32Emulator
