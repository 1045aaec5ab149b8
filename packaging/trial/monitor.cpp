// A stand-in for the Standard TCP/IP port monitor, which Wine does not have: a print monitor library that the spooler
// loads by the name it was registered with. It sends each job over its own connection, as Windows does.

#include "packaging/trial/portstore.h"
#include "packaging/trial/rawconnection.h"
#include "packaging/trial/xcvcommands.h"

#include <winspool.h>
#include <winsplp.h>

#include <cwchar>

namespace {

constexpr WCHAR monitorName[] = L"Standard TCP/IP Port";

struct PrinterPort
{
    std::wstring name;
    RawConnection connection;
};

PrinterPort *portOf(HANDLE handle)
{
    return static_cast<PrinterPort *>(handle);
}

/// Writes texts one after the other into the caller's block.
LPWSTR place(LPWSTR &free, const std::wstring &text)
{
    LPWSTR result = free;
    std::wmemcpy(free, text.c_str(), text.size() + 1);
    free += text.size() + 1;
    return result;
}

DWORD sizeOf(const std::vector<std::wstring> &names)
{
    std::size_t size = 0;
    for (const std::wstring &name : names)
        size += sizeof(PORT_INFO_2W) + (name.size() + 1) * sizeof(WCHAR) + 2 * sizeof monitorName;
    return static_cast<DWORD>(size);
}

/// Levels 1 and 2; a PORT_INFO_1 is the beginning of a PORT_INFO_2.
BOOL WINAPI enumPorts(HANDLE, LPWSTR, DWORD level, LPBYTE block, DWORD size, LPDWORD needed, LPDWORD count)
{
    const std::vector<std::wstring> names = PortStore::names();
    *needed = sizeOf(names);
    *count = 0;
    if (*needed > size) {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return FALSE;
    }
    const std::size_t entrySize = level == 1 ? sizeof(PORT_INFO_1W) : sizeof(PORT_INFO_2W);
    auto *free = reinterpret_cast<LPWSTR>(block + names.size() * entrySize);
    for (const std::wstring &name : names) {
        if (level == 1)
            *reinterpret_cast<PORT_INFO_1W *>(block) = {place(free, name)};
        else
            *reinterpret_cast<PORT_INFO_2W *>(block) = {place(free, name), place(free, monitorName),
                                                        place(free, monitorName), PORT_TYPE_WRITE, 0};
        block += entrySize;
    }
    *count = static_cast<DWORD>(names.size());
    return TRUE;
}

BOOL WINAPI openPort(HANDLE, LPWSTR name, PHANDLE handle)
{
    if (!PortStore::find(name)) {
        SetLastError(ERROR_UNKNOWN_PORT);
        return FALSE;
    }
    *handle = new PrinterPort{name, {}};
    return TRUE;
}

BOOL WINAPI startDocPort(HANDLE handle, LPWSTR, DWORD, DWORD, LPBYTE)
{
    const auto port = PortStore::find(portOf(handle)->name);
    if (port && portOf(handle)->connection.open(port->host, port->number))
        return TRUE;
    SetLastError(ERROR_PRINT_CANCELLED);
    return FALSE;
}

BOOL WINAPI writePort(HANDLE handle, LPBYTE bytes, DWORD size, LPDWORD written)
{
    const bool sent = portOf(handle)->connection.send(bytes, size);
    *written = sent ? size : 0;
    return sent;
}

BOOL WINAPI endDocPort(HANDLE handle)
{
    portOf(handle)->connection.close();
    return TRUE;
}

BOOL WINAPI closePort(HANDLE handle)
{
    delete portOf(handle);
    return TRUE;
}

BOOL WINAPI xcvOpenPort(HANDLE, LPCWSTR port, ACCESS_MASK access, PHANDLE handle)
{
    *handle = new XcvCommands::Door{port ? port : L"", access};
    return TRUE;
}

DWORD WINAPI xcvDataPort(HANDLE handle, LPCWSTR command, PBYTE input, DWORD inputSize, PBYTE output, DWORD outputSize,
                         PDWORD needed)
{
    return XcvCommands::run(*static_cast<XcvCommands::Door *>(handle), command,
                            {input, inputSize, output, outputSize, needed});
}

BOOL WINAPI xcvClosePort(HANDLE handle)
{
    delete static_cast<XcvCommands::Door *>(handle);
    return TRUE;
}

MONITOR2 monitorTable()
{
    MONITOR2 table = {};
    table.cbSize = sizeof table;
    table.pfnEnumPorts = enumPorts;
    table.pfnOpenPort = openPort;
    table.pfnStartDocPort = startDocPort;
    table.pfnWritePort = writePort;
    table.pfnEndDocPort = endDocPort;
    table.pfnClosePort = closePort;
    table.pfnXcvOpenPort = xcvOpenPort;
    table.pfnXcvDataPort = xcvDataPort;
    table.pfnXcvClosePort = xcvClosePort;
    return table;
}

} // namespace

extern "C" __declspec(dllexport) LPMONITOR2 WINAPI InitializePrintMonitor2(PMONITORINIT, PHANDLE handle)
{
    static MONITOR2 table = monitorTable();
    *handle = &table;
    return &table;
}
