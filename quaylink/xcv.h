#pragma once

#include "quaylink/widetext.h"

#include <windows.h>
#include <winspool.h>

namespace Quaylink {

/// A handle to the Standard TCP/IP port monitor or one of its ports, closed with the object.
class XcvHandle
{
public:
    /// Opens the monitor itself: to create or delete a port.
    static XcvHandle monitor();

    /// Opens an existing port.
    static XcvHandle port(LPCWSTR name);

    ~XcvHandle();
    XcvHandle(const XcvHandle &) = delete;
    XcvHandle &operator=(const XcvHandle &) = delete;

    /// Sends a command. Returns 0 or a Win32 error code, also when the handle could not be opened.
    template <typename Input>
    DWORD send(const char *command, Input &input)
    {
        return transfer(command, reinterpret_cast<BYTE *>(&input), sizeof input, nullptr, 0);
    }

    /// The same for a command that answers with a structure.
    template <typename Input, typename Output>
    DWORD query(const char *command, Input &input, Output &output)
    {
        return transfer(command, reinterpret_cast<BYTE *>(&input), sizeof input, reinterpret_cast<BYTE *>(&output),
                        sizeof output);
    }

private:
    explicit XcvHandle(WideString name);
    DWORD transfer(const char *command, BYTE *input, DWORD inputSize, BYTE *output, DWORD outputSize);

    HANDLE m_handle = nullptr;
    DWORD m_openError = ERROR_SUCCESS;
};

} // namespace Quaylink
