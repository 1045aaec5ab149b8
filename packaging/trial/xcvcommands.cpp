#include "packaging/trial/xcvcommands.h"

#include "packaging/trial/portstore.h"
#include "quaylink/portdata.h"
#include "quaylink/widetext.h"

#include <winspool.h>

using namespace Quaylink;

namespace XcvCommands {

namespace {

/// The input as the command's structure, once size and version are right.
template <typename Data>
DWORD checkedInput(const Request &request, const Data *&data)
{
    if (!request.input || request.inputSize < sizeof(Data))
        return ERROR_INVALID_DATA;
    data = reinterpret_cast<const Data *>(request.input);
    return data->version == portDataVersion ? ERROR_SUCCESS : ERROR_INVALID_LEVEL;
}

DWORD savePort(const Request &request, bool mustExist)
{
    const PortData *data = nullptr;
    if (const DWORD error = checkedInput(request, data))
        return error;
    if (data->size != sizeof *data || data->protocol != rawProtocol)
        return ERROR_INVALID_DATA;
    const bool exists = PortStore::find(data->portName).has_value();
    if (exists != mustExist)
        return exists ? ERROR_ALREADY_EXISTS : ERROR_UNKNOWN_PORT;
    return PortStore::save(data->portName, {data->hostAddress, data->portNumber});
}

DWORD deletePort(const Request &request)
{
    const DeletePortData *data = nullptr;
    if (const DWORD error = checkedInput(request, data))
        return error;
    return PortStore::remove(data->portName);
}

DWORD describePort(const Door &door, const Request &request)
{
    const ConfigInfoData *data = nullptr;
    if (const DWORD error = checkedInput(request, data))
        return error;
    *request.needed = sizeof(PortData);
    if (!request.output || request.outputSize < sizeof(PortData))
        return ERROR_INSUFFICIENT_BUFFER;
    const auto port = PortStore::find(door.port);
    if (!port)
        return ERROR_UNKNOWN_PORT;
    PortData &answer = *reinterpret_cast<PortData *>(request.output);
    answer = {};
    copyText(answer.portName, door.port.c_str());
    answer.version = portDataVersion;
    answer.protocol = rawProtocol;
    answer.size = sizeof answer;
    copyText(answer.hostAddress, port->host.c_str());
    answer.portNumber = port->number;
    return ERROR_SUCCESS;
}

} // namespace

DWORD run(const Door &door, const std::wstring &command, const Request &request)
{
    if (command == L"GetConfigInfo")
        return describePort(door, request);
    if (!(door.access & SERVER_ACCESS_ADMINISTER))
        return ERROR_ACCESS_DENIED;
    if (command == L"AddPort")
        return savePort(request, false);
    if (command == L"ConfigPort")
        return savePort(request, true);
    if (command == L"DeletePort")
        return deletePort(request);
    return ERROR_INVALID_PARAMETER;
}

} // namespace XcvCommands
