#pragma once

#include <windows.h>

#include <string>

/// The commands of XcvData that the helper library sends, answered with the checks that Windows documents.
namespace XcvCommands {

/// One open door: to a port, or to the monitor itself when the name is empty.
struct Door
{
    std::wstring port;
    ACCESS_MASK access;
};

struct Request
{
    BYTE *input;
    DWORD inputSize;
    BYTE *output;
    DWORD outputSize;
    DWORD *needed;
};

/// 0 or a Win32 error code.
DWORD run(const Door &door, const std::wstring &command, const Request &request);

} // namespace XcvCommands
