#include "emulator/win32/xcv.h"

#include "emulator/win32/call.h"
#include "emulator/win32/infoblock.h"
#include "emulator/win32/model/names.h"
#include "emulator/win32/model/ports.h"
#include "emulator/win32/printerhandle.h"
#include "emulator/win32/tcpxcv.h"

#include <algorithm>
#include <functional>

using namespace Win32Emulator;

namespace {

constexpr const char *monitorPrefix = ",XcvMonitor ";
constexpr const char *portPrefix = ",XcvPort ";
constexpr const char *monitorName = "Standard TCP/IP Port";

/// The rest of the name behind the prefix.
std::optional<std::string> behind(const std::string &prefix, const std::string &name)
{
    if (Model::compareNames(name.substr(0, prefix.size()), prefix) != 0)
        return std::nullopt;
    return name.substr(prefix.size());
}

/// One call of XcvDataW on an open handle.
struct Xcv
{
    std::shared_ptr<PrinterHandle> handle;
    const BYTE *input;
    DWORD inputSize;
    CallerBuffer output;
};

template <typename Input>
const Input &inputOf(const Xcv &xcv)
{
    if (!xcv.input || xcv.inputSize < sizeof(Input))
        throw Model::Error(ERROR_INVALID_DATA, "no input, or too little");
    const auto *input = reinterpret_cast<const Input *>(xcv.input);
    if (input->dwVersion != 1)
        throw Model::Error(ERROR_INVALID_LEVEL, "the version of the input is not known");
    return *input;
}

void requireAdministration(const Xcv &xcv)
{
    if ((xcv.handle->access & SERVER_ACCESS_ADMINISTER) == 0)
        throw Model::Error(ERROR_ACCESS_DENIED, "the handle was opened without the right to do that");
}

template <std::size_t size>
std::string textOf(const WCHAR (&text)[size])
{
    if (std::find(std::begin(text), std::end(text), WCHAR(0)) == std::end(text))
        throw Model::Error(ERROR_INVALID_DATA, "a text without its end");
    return fromUtf16(text);
}

Model::Port portOf(const Xcv &xcv)
{
    requireAdministration(xcv);
    const auto &data = inputOf<PORT_DATA_1>(xcv);
    Model::Port port{textOf(data.sztPortName), textOf(data.sztHostAddress), data.dwPortNumber};
    if (port.name.empty() || data.dwProtocol != PROTOCOL_RAWTCP_TYPE || data.cbSize < sizeof data)
        throw Model::Error(ERROR_INVALID_PARAMETER, "no name, not the raw protocol, or a wrong size");
    return port;
}

void addPort(const Xcv &xcv)
{
    Model::addPort(portOf(xcv));
}

void configPort(const Xcv &xcv)
{
    Model::changePort(portOf(xcv));
}

void deletePort(const Xcv &xcv)
{
    requireAdministration(xcv);
    Model::deletePort(textOf(inputOf<DELETE_PORT_DATA_1>(xcv).psztPortName));
}

template <std::size_t size>
void putText(WCHAR (&place)[size], const std::string &text)
{
    const std::u16string wide = toUtf16(text);
    std::copy_n(wide.begin(), std::min(wide.size(), size - 1), place);
}

void getConfigInfo(const Xcv &xcv)
{
    inputOf<CONFIG_INFO_DATA_1>(xcv);
    const std::optional<Model::Port> port = Model::findPort(*xcv.handle->monitorPort);
    if (!port || !xcv.output.bytes)
        throw Model::Error(ERROR_INVALID_PARAMETER, "no port, or no place for the answer");
    *xcv.output.needed = sizeof(PORT_DATA_1);
    if (xcv.output.size < sizeof(PORT_DATA_1))
        throw Model::Error(ERROR_INSUFFICIENT_BUFFER, "the buffer is too small");
    PORT_DATA_1 data = {};
    putText(data.sztPortName, port->name);
    data.dwVersion = 1;
    data.dwProtocol = PROTOCOL_RAWTCP_TYPE;
    data.cbSize = sizeof data;
    putText(data.sztHostAddress, port->host);
    data.dwPortNumber = port->number;
    std::memcpy(xcv.output.bytes, &data, sizeof data);
}

struct Command
{
    const char *name;
    void (*work)(const Xcv &);
};

constexpr Command commands[] = {
    {"AddPort", addPort},
    {"ConfigPort", configPort},
    {"DeletePort", deletePort},
    {"GetConfigInfo", getConfigInfo},
};

/// The monitor's verdict on a command.
DWORD perform(const std::string &name, const Xcv &xcv)
{
    for (const Command &command : commands) {
        if (name != command.name)
            continue;
        try {
            command.work(xcv);
            return ERROR_SUCCESS;
        } catch (const Model::Error &error) {
            return error.code;
        }
    }
    return ERROR_INVALID_PARAMETER;
}

/// What of the input tells one call from another.
std::string describeInput(const BYTE *input, DWORD size)
{
    if (!input || size != sizeof(PORT_DATA_1))
        return {};
    const auto *data = reinterpret_cast<const PORT_DATA_1 *>(input);
    return " protocol=" + std::to_string(data->dwProtocol) + " snmp=" + std::to_string(data->dwSNMPEnabled);
}

} // namespace

std::optional<std::string> Win32Emulator::monitorTarget(const std::string &name)
{
    if (const auto monitor = behind(monitorPrefix, name)) {
        if (Model::compareNames(*monitor, monitorName) == 0)
            return std::string();
        throw Model::Error(ERROR_UNKNOWN_PORT, "there is no port monitor \"" + *monitor + '"');
    }
    auto port = behind(portPrefix, name);
    if (port && !Model::findPort(*port))
        throw Model::Error(ERROR_UNKNOWN_PORT, "there is no port \"" + *port + '"');
    return port;
}

BOOL WINAPI XcvDataW(HANDLE handle, LPCWSTR command, PBYTE input, DWORD inputSize, PBYTE output, DWORD outputSize,
                     PDWORD needed, PDWORD status)
{
    const std::string name = fromUtf16(command);
    return boolCall("XcvDataW", describe(handle) + ' ' + name + describeInput(input, inputSize), [&] {
        const std::shared_ptr<PrinterHandle> opened = printerHandles().find(handle);
        if (!opened || !opened->monitorPort)
            throw Model::Error(ERROR_INVALID_HANDLE, "no handle of a port monitor");
        requirePlace(needed);
        requirePlace(status);
        *needed = 0;
        // The call succeeds whatever the monitor says: it was delivered.
        *status = perform(name, {opened, input, inputSize, {output, outputSize, needed}});
    });
}
