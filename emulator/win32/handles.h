#pragma once

#include "emulator/win32/api.h"
#include "emulator/win32/model/basics.h"

#include <memory>
#include <string>

namespace Win32Emulator {

/// What an open handle stands for; each kind of handle has its own type.
struct OpenObject
{
    virtual ~OpenObject() = default;

    std::string name; ///< it was opened by
    DWORD access = 0; ///< rights it was opened with
};

/// A new handle of this process. No value is used twice, so closing a handle twice is noticed. Any thread.
HANDLE addHandle(std::shared_ptr<OpenObject> object);

/// Null unless the handle is open.
std::shared_ptr<OpenObject> findHandle(HANDLE handle);

void removeHandle(HANDLE handle);

/// The name a handle was opened by, for the record of calls.
std::string nameOf(HANDLE handle);

/// The number of open handles in this process.
int openHandles();

/// The object of an open handle. Throws ERROR_INVALID_HANDLE if it is closed or of another kind.
template <typename Object>
std::shared_ptr<Object> opened(HANDLE handle)
{
    auto object = std::dynamic_pointer_cast<Object>(findHandle(handle));
    require(object != nullptr, ERROR_INVALID_HANDLE);
    return object;
}

/// The same for a handle that was opened with any of the rights; throws ERROR_ACCESS_DENIED for another one.
template <typename Object>
std::shared_ptr<Object> opened(HANDLE handle, DWORD rights)
{
    auto object = opened<Object>(handle);
    require(object->access & rights, ERROR_ACCESS_DENIED);
    return object;
}

template <typename Object>
void closeHandle(HANDLE handle)
{
    opened<Object>(handle);
    removeHandle(handle);
}

} // namespace Win32Emulator
