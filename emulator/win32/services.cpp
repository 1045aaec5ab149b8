#include "emulator/win32/model/services.h"

#include "emulator/win32/call.h"
#include "emulator/win32/infoblock.h"
#include "emulator/win32/servicehandle.h"

using namespace Win32Emulator;

namespace {

template <typename Status>
void fillStatus(Status &target, const Model::ServiceStatus &status)
{
    target.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
    target.dwCurrentState = status.state;
    target.dwControlsAccepted = status.state == SERVICE_RUNNING ? SERVICE_ACCEPT_STOP : 0;
    target.dwCheckPoint = status.checkPoint;
    target.dwWaitHint = status.waitHint;
}

void fillDependent(ENUM_SERVICE_STATUSW &info, const Model::Service &service, TextArea &texts)
{
    info.lpServiceName = texts.put(service.name);
    info.lpDisplayName = texts.put(service.name);
    fillStatus(info.ServiceStatus, service.status);
}

void requireManager(SC_HANDLE handle)
{
    const std::shared_ptr<ServiceHandle> opened = serviceHandles().find(handle);
    if (!opened || !opened->service.empty())
        throw Model::Error(ERROR_INVALID_HANDLE, "no handle of the service manager");
}

/// The name of the service behind a handle that was opened with the right.
std::string serviceWithRight(SC_HANDLE handle, DWORD right)
{
    const std::shared_ptr<ServiceHandle> opened = serviceHandles().find(handle);
    if (!opened || opened->service.empty())
        throw Model::Error(ERROR_INVALID_HANDLE, "no handle of a service");
    if ((opened->access & right) == 0)
        throw Model::Error(ERROR_ACCESS_DENIED, "the handle was opened without the right to do that");
    return opened->service;
}

std::string describeService(SC_HANDLE handle)
{
    const std::shared_ptr<ServiceHandle> opened = serviceHandles().find(handle);
    return opened ? opened->service : "(invalid handle)";
}

std::string accessText(DWORD access)
{
    return " access=" + hexadecimal(access);
}

SC_HANDLE addHandle(ServiceHandle handle)
{
    return static_cast<SC_HANDLE>(serviceHandles().add(std::make_shared<ServiceHandle>(std::move(handle))));
}

} // namespace

HandleTable<ServiceHandle> &Win32Emulator::serviceHandles()
{
    static HandleTable<ServiceHandle> handles;
    return handles;
}

SC_HANDLE WINAPI OpenSCManagerW(LPCWSTR, LPCWSTR, DWORD access)
{
    SC_HANDLE handle = nullptr;
    boolCall("OpenSCManagerW", accessText(access).substr(1), [&] { handle = addHandle({{}, access}); });
    return handle;
}

SC_HANDLE WINAPI OpenServiceW(SC_HANDLE manager, LPCWSTR name, DWORD access)
{
    SC_HANDLE handle = nullptr;
    const std::string service = fromUtf16(name);
    boolCall("OpenServiceW", service + accessText(access), [&] {
        requireManager(manager);
        Model::serviceState(service);
        handle = addHandle({service, access});
    });
    return handle;
}

BOOL WINAPI CloseServiceHandle(SC_HANDLE handle)
{
    return boolCall("CloseServiceHandle", describeService(handle), [&] {
        if (!serviceHandles().remove(handle))
            throw Model::Error(ERROR_INVALID_HANDLE, "the handle is not open");
    });
}

BOOL WINAPI QueryServiceStatus(SC_HANDLE handle, LPSERVICE_STATUS status)
{
    return boolCall("QueryServiceStatus", describeService(handle), [&] {
        const std::string service = serviceWithRight(handle, SERVICE_QUERY_STATUS);
        requirePlace(status);
        *status = {};
        fillStatus(*status, Model::queryService(service));
    });
}

BOOL WINAPI QueryServiceStatusEx(SC_HANDLE handle, SC_STATUS_TYPE level, LPBYTE buffer, DWORD size, LPDWORD needed)
{
    return boolCall("QueryServiceStatusEx", describeService(handle), [&] {
        const std::string service = serviceWithRight(handle, SERVICE_QUERY_STATUS);
        requireLevel(level, SC_STATUS_PROCESS_INFO);
        requirePlace(needed);
        *needed = sizeof(SERVICE_STATUS_PROCESS);
        if (!buffer || size < *needed)
            throw Model::Error(ERROR_INSUFFICIENT_BUFFER, "the buffer is too small");
        SERVICE_STATUS_PROCESS status = {};
        fillStatus(status, Model::queryService(service));
        std::memcpy(buffer, &status, sizeof status);
    });
}

BOOL WINAPI ControlService(SC_HANDLE handle, DWORD control, LPSERVICE_STATUS status)
{
    return boolCall("ControlService", describeService(handle) + " control=" + std::to_string(control), [&] {
        const std::string service = serviceWithRight(handle, SERVICE_STOP);
        requirePlace(status);
        if (control != SERVICE_CONTROL_STOP)
            throw Model::Error(ERROR_INVALID_SERVICE_CONTROL, "the only control known is to stop");
        const Model::ServiceStatus reported = Model::stopService(service);
        *status = {};
        fillStatus(*status, reported);
    });
}

BOOL WINAPI StartServiceW(SC_HANDLE handle, DWORD, LPCWSTR *)
{
    return boolCall("StartServiceW", describeService(handle),
                    [&] { Model::startService(serviceWithRight(handle, SERVICE_START)); });
}

BOOL WINAPI EnumDependentServicesW(SC_HANDLE handle, DWORD state, LPENUM_SERVICE_STATUSW buffer, DWORD size,
                                   LPDWORD needed, LPDWORD returned)
{
    return boolCall("EnumDependentServicesW", describeService(handle), [&] {
        const std::string service = serviceWithRight(handle, SERVICE_ENUMERATE_DEPENDENTS);
        if (state != SERVICE_ACTIVE)
            throw Model::Error(ERROR_INVALID_PARAMETER, "the only state known is active");
        try {
            packList(Model::dependentServices(service), fillDependent, {reinterpret_cast<LPBYTE>(buffer), size, needed},
                     returned);
        } catch (const Model::Error &error) {
            // The one enumeration that tells a short buffer in the words of the registry.
            throw Model::Error(error.code == ERROR_INSUFFICIENT_BUFFER ? ERROR_MORE_DATA : error.code, error.what());
        }
    });
}
