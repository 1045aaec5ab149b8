#include "quaylink/exports.h"
#include "quaylink/portdata.h"
#include "quaylink/xcv.h"

using namespace Quaylink;

namespace {

constexpr DWORD highestPortNumber = 65535;
static_assert(hostAddressCapacity <= hostCapacity, "a host address always fits into the caller's buffer");

bool isPort(LPCWSTR port, LPCWSTR host, DWORD number)
{
    return fits(port, portNameCapacity) && fits(host, hostAddressCapacity) && number != 0 &&
           number <= highestPortNumber;
}

PortData portData(LPCWSTR port, LPCWSTR host, DWORD number)
{
    PortData data = {};
    copyText(data.portName, port);
    data.version = portDataVersion;
    data.protocol = rawProtocol;
    data.size = sizeof data;
    copyText(data.hostAddress, host);
    data.portNumber = number;
    // SNMP stays off: the program that listens on this port does not support it, and the spooler would report the
    // printer as offline.
    return data;
}

} // namespace

int AddStandardTcpPort(LPCWSTR port, LPCWSTR host, DWORD number)
{
    if (!isPort(port, host, number))
        return ERROR_INVALID_PARAMETER;
    PortData data = portData(port, host, number);
    return static_cast<int>(XcvHandle::monitor().send("AddPort", data));
}

int ConfigStandardTcpPort(LPCWSTR port, LPCWSTR host, DWORD number)
{
    if (!isPort(port, host, number))
        return ERROR_INVALID_PARAMETER;
    PortData data = portData(port, host, number);
    return static_cast<int>(XcvHandle::port(port).send("ConfigPort", data));
}

int DeleteStandardTcpPort(LPCWSTR port)
{
    if (!fits(port, portNameCapacity))
        return ERROR_INVALID_PARAMETER;
    DeletePortData data = {};
    copyText(data.portName, port);
    data.version = portDataVersion;
    return static_cast<int>(XcvHandle::monitor().send("DeletePort", data));
}

int GetConfigStandardTcpPort(LPCWSTR port, LPWSTR host, DWORD *number)
{
    if (!fits(port, portNameCapacity) || !host || !number)
        return ERROR_INVALID_PARAMETER;
    ConfigInfoData question = {};
    question.version = portDataVersion;
    PortData answer = {};
    const DWORD error = XcvHandle::port(port).query("GetConfigInfo", question, answer);
    if (error != ERROR_SUCCESS)
        return static_cast<int>(error);
    // A damaged answer must not run past the caller's buffer.
    answer.hostAddress[hostAddressCapacity - 1] = 0;
    const WideString address = answer.hostAddress;
    address.copy(host, address.size());
    host[address.size()] = 0;
    *number = answer.portNumber;
    return ERROR_SUCCESS;
}
