#include "emulator/win32/model/ports.h"

#include "emulator/win32/infoblock.h"
#include "emulator/win32/queue.h"

#include "quaylink/portdata.h"

#include <algorithm>

using namespace Win32Emulator;
using Quaylink::ConfigInfoData;
using Quaylink::DeletePortData;
using Quaylink::PortData;

namespace {

constexpr const char *monitorName = "Standard TCP/IP Port";

void fillPort(PORT_INFO_2W &info, const Port &port, TextArea &texts)
{
    info.pPortName = texts.put(port.name);
    info.pMonitorName = texts.put("TCPMON.DLL");
    info.pDescription = texts.put(monitorName);
    info.fPortType = PORT_TYPE_WRITE | PORT_TYPE_READ;
}

/// One call of XcvDataW on an open handle.
struct Xcv
{
    std::shared_ptr<MonitorHandle> handle;
    const BYTE *input;
    DWORD inputSize;
    CallerBuffer output;
};

template <typename Input>
const Input &inputOf(const Xcv &xcv)
{
    require(xcv.input && xcv.inputSize >= sizeof(Input), ERROR_INVALID_DATA);
    const auto *input = reinterpret_cast<const Input *>(xcv.input);
    require(input->version == Quaylink::portDataVersion, ERROR_INVALID_LEVEL);
    return *input;
}

void requireAdministration(const Xcv &xcv)
{
    require(xcv.handle->access & SERVER_ACCESS_ADMINISTER, ERROR_ACCESS_DENIED);
}

template <std::size_t size>
std::string textOf(const WCHAR (&text)[size])
{
    const auto *end = std::end(text);
    require(std::find(text, end, WCHAR(0)) != end, ERROR_INVALID_DATA);
    return fromUtf16(text);
}

Port portOf(const Xcv &xcv)
{
    requireAdministration(xcv);
    const auto &data = inputOf<PortData>(xcv);
    Port port{textOf(data.portName), textOf(data.hostAddress), data.portNumber};
    require(!port.name.empty() && data.protocol == Quaylink::rawProtocol && data.size >= sizeof data,
            ERROR_INVALID_PARAMETER);
    return port;
}

void addPort(const Xcv &xcv)
{
    const Port port = portOf(xcv);
    Win32Emulator::addPort(port.name, port.host, port.number);
}

/// The port of the handle; the handle to the monitor itself serves to add and delete ports only.
std::string ownPort(const Xcv &xcv)
{
    require(xcv.handle->port.has_value(), ERROR_INVALID_HANDLE);
    return *xcv.handle->port;
}

void configPort(const Xcv &xcv)
{
    ownPort(xcv);
    changePort(portOf(xcv));
}

void deletePort(const Xcv &xcv)
{
    requireAdministration(xcv);
    Win32Emulator::deletePort(textOf(inputOf<DeletePortData>(xcv).portName));
}

template <std::size_t size>
void putText(WCHAR (&place)[size], const std::string &text)
{
    const std::u16string wide = toUtf16(text);
    std::copy_n(wide.begin(), std::min(wide.size(), size - 1), place);
}

void getConfigInfo(const Xcv &xcv)
{
    inputOf<ConfigInfoData>(xcv);
    const std::optional<Port> port = findPort(ownPort(xcv));
    require(port && xcv.output.bytes, ERROR_INVALID_PARAMETER);
    *xcv.output.needed = sizeof(PortData);
    require(xcv.output.size >= sizeof(PortData), ERROR_INSUFFICIENT_BUFFER);
    PortData data = {};
    putText(data.portName, port->name);
    data.version = Quaylink::portDataVersion;
    data.protocol = Quaylink::rawProtocol;
    data.size = sizeof data;
    putText(data.hostAddress, port->host);
    data.portNumber = port->number;
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
    const auto *command = std::find_if(std::begin(commands), std::end(commands),
                                       [&](const Command &known) { return name == known.name; });
    try {
        require(command != std::end(commands), ERROR_INVALID_PARAMETER);
        command->work(xcv);
        return ERROR_SUCCESS;
    } catch (const Error &error) {
        return error.code;
    }
}

/// What distinguishes one input from another.
std::string describeInput(const BYTE *input, DWORD size)
{
    if (!input || size != sizeof(PortData))
        return {};
    const auto *data = reinterpret_cast<const PortData *>(input);
    return " protocol=" + std::to_string(data->protocol) + " snmp=" + std::to_string(data->snmpEnabled);
}

/// The rest of the name after the prefix.
std::optional<std::string> after(const std::string &prefix, const std::string &name)
{
    if (compareNames(name.substr(0, prefix.size()), prefix) != 0)
        return std::nullopt;
    return name.substr(prefix.size());
}

} // namespace

std::shared_ptr<PrinterHandle> Win32Emulator::monitorHandle(const std::string &name)
{
    const auto monitor = after(",XcvMonitor ", name);
    const auto port = after(",XcvPort ", name);
    if (!monitor && !port)
        return nullptr;
    require(monitor ? compareNames(*monitor, monitorName) == 0 : findPort(*port).has_value(), ERROR_UNKNOWN_PORT);
    const auto handle = std::make_shared<MonitorHandle>();
    handle->port = port;
    return handle;
}

BOOL WINAPI EnumPortsW(LPWSTR, DWORD level, LPBYTE buffer, DWORD size, LPDWORD needed, LPDWORD returned)
{
    return boolCall({"EnumPortsW"}, [&] {
        require(level == 2, ERROR_INVALID_LEVEL);
        packList(ports(), fillPort, {buffer, size, needed}, returned);
    });
}

BOOL WINAPI XcvDataW(HANDLE handle, LPCWSTR command, PBYTE input, DWORD inputSize, PBYTE output, DWORD outputSize,
                     PDWORD needed, PDWORD status)
{
    const std::string name = fromUtf16(command);
    return boolCall({"XcvDataW", nameOf(handle) + ' ' + name + describeInput(input, inputSize)}, [&] {
        const auto monitor = opened<MonitorHandle>(handle);
        require(needed && status, ERROR_INVALID_PARAMETER);
        *needed = 0;
        // The call succeeds whatever the verdict is: it was delivered.
        *status = perform(name, {monitor, input, inputSize, {output, outputSize, needed}});
    });
}
