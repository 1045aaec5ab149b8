#include "emulator/win32/handles.h"

#include <map>
#include <mutex>

namespace Win32Emulator {

namespace {

std::mutex mutex;
std::uintptr_t lastHandle = 0x1000;
std::map<HANDLE, std::shared_ptr<OpenObject>> objects;

} // namespace

HANDLE addHandle(std::shared_ptr<OpenObject> object)
{
    const std::lock_guard lock(mutex);
    // Handle values are multiples of four.
    const auto handle = reinterpret_cast<HANDLE>(lastHandle += 4); // NOLINT(performance-no-int-to-ptr)
    objects.emplace(handle, std::move(object));
    return handle;
}

std::shared_ptr<OpenObject> findHandle(HANDLE handle)
{
    const std::lock_guard lock(mutex);
    const auto entry = objects.find(handle);
    return entry == objects.end() ? nullptr : entry->second;
}

void removeHandle(HANDLE handle)
{
    const std::lock_guard lock(mutex);
    objects.erase(handle);
}

std::string nameOf(HANDLE handle)
{
    const std::shared_ptr<OpenObject> object = findHandle(handle);
    return object ? object->name : "(invalid handle)";
}

int openHandles()
{
    const std::lock_guard lock(mutex);
    return static_cast<int>(objects.size());
}

} // namespace Win32Emulator
