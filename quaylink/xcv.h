#pragma once

#include "quaylink/widetext.h"

#include <windows.h>
#include <winspool.h>

namespace Quaylink {

/// An open door to the Standard TCP/IP port monitor, closed with the object.
class Xcv
{
public:
    /// Opens the monitor itself: for ports that are yet to be made, and to delete one.
    static Xcv monitor();

    /// Opens an existing port.
    static Xcv port(LPCWSTR name);

    ~Xcv();
    Xcv(const Xcv &) = delete;
    Xcv &operator=(const Xcv &) = delete;

    /// Sends a command; gives 0 or a Win32 error code, also when the door could not be opened.
    template <typename Input>
    DWORD send(const char *command, Input &input)
    {
        return transfer(command, reinterpret_cast<BYTE *>(&input), sizeof input, nullptr, 0);
    }

    /// The same for a command that answers with a structure.
    template <typename Input, typename Output>
    DWORD ask(const char *command, Input &input, Output &output)
    {
        return transfer(command, reinterpret_cast<BYTE *>(&input), sizeof input, reinterpret_cast<BYTE *>(&output),
                        sizeof output);
    }

private:
    explicit Xcv(WideString name);
    DWORD transfer(const char *command, BYTE *input, DWORD inputSize, BYTE *output, DWORD outputSize);

    HANDLE m_handle = nullptr;
    DWORD m_openError = ERROR_SUCCESS;
};

} // namespace Quaylink
