#include "emulator/win32/model/services.h"

#include "emulator/win32/handles.h"
#include "emulator/win32/infoblock.h"

using namespace Win32Emulator;

namespace {

/// What OpenSCManagerW and OpenServiceW open.
struct ControlHandle : OpenObject
{
};

struct ManagerHandle : ControlHandle
{
};

/// Its name is the service's.
struct ServiceHandle : ControlHandle
{
};

template <typename Status>
void fillStatus(Status &target, const ServiceStatus &status)
{
    target.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
    target.dwCurrentState = status.state;
    target.dwControlsAccepted = status.state == SERVICE_RUNNING ? SERVICE_ACCEPT_STOP : 0;
    target.dwCheckPoint = status.checkPoint;
    target.dwWaitHint = status.waitHint;
}

void fillDependent(ENUM_SERVICE_STATUSW &info, const Service &service, TextArea &texts)
{
    info.lpServiceName = texts.put(service.name);
    info.lpDisplayName = texts.put(service.name);
    fillStatus(info.ServiceStatus, service.status);
}

/// The name of the service of a handle that was opened with the right.
std::string serviceWithRight(SC_HANDLE handle, DWORD right)
{
    return opened<ServiceHandle>(handle, right)->name;
}

template <typename Handle>
SC_HANDLE open(const std::string &name, DWORD access)
{
    const auto object = std::make_shared<Handle>();
    object->name = name;
    object->access = access;
    return static_cast<SC_HANDLE>(addHandle(object));
}

} // namespace

SC_HANDLE WINAPI OpenSCManagerW(LPCWSTR, LPCWSTR, DWORD access)
{
    SC_HANDLE handle = nullptr;
    boolCall({"OpenSCManagerW"}, [&] { handle = open<ManagerHandle>({}, access); });
    return handle;
}

SC_HANDLE WINAPI OpenServiceW(SC_HANDLE manager, LPCWSTR name, DWORD access)
{
    SC_HANDLE handle = nullptr;
    const std::string service = fromUtf16(name);
    boolCall({"OpenServiceW", service + accessText(access)}, [&] {
        opened<ManagerHandle>(manager);
        serviceState(service);
        handle = open<ServiceHandle>(service, access);
    });
    return handle;
}

BOOL WINAPI CloseServiceHandle(SC_HANDLE handle)
{
    return boolCall({"CloseServiceHandle"}, [&] { closeHandle<ControlHandle>(handle); });
}

BOOL WINAPI QueryServiceStatus(SC_HANDLE handle, LPSERVICE_STATUS status)
{
    return boolCall({"QueryServiceStatus"}, [&] {
        const std::string service = serviceWithRight(handle, SERVICE_QUERY_STATUS);
        require(status, ERROR_INVALID_PARAMETER);
        *status = {};
        fillStatus(*status, queryService(service));
    });
}

BOOL WINAPI QueryServiceStatusEx(SC_HANDLE handle, SC_STATUS_TYPE level, LPBYTE buffer, DWORD size, LPDWORD needed)
{
    return boolCall({"QueryServiceStatusEx"}, [&] {
        const std::string service = serviceWithRight(handle, SERVICE_QUERY_STATUS);
        require(level == SC_STATUS_PROCESS_INFO, ERROR_INVALID_LEVEL);
        require(needed, ERROR_INVALID_PARAMETER);
        *needed = sizeof(SERVICE_STATUS_PROCESS);
        require(buffer && size >= *needed, ERROR_INSUFFICIENT_BUFFER);
        SERVICE_STATUS_PROCESS status = {};
        fillStatus(status, queryService(service));
        std::memcpy(buffer, &status, sizeof status);
    });
}

BOOL WINAPI ControlService(SC_HANDLE handle, DWORD control, LPSERVICE_STATUS status)
{
    return boolCall({"ControlService", nameOf(handle) + " control=" + std::to_string(control)}, [&] {
        const std::string service = serviceWithRight(handle, SERVICE_STOP);
        require(status, ERROR_INVALID_PARAMETER);
        require(control == SERVICE_CONTROL_STOP, ERROR_INVALID_SERVICE_CONTROL);
        const ServiceStatus reported = stopService(service);
        *status = {};
        fillStatus(*status, reported);
    });
}

BOOL WINAPI StartServiceW(SC_HANDLE handle, DWORD, LPCWSTR *)
{
    return boolCall({"StartServiceW"}, [&] { startService(serviceWithRight(handle, SERVICE_START)); });
}

BOOL WINAPI EnumDependentServicesW(SC_HANDLE handle, DWORD state, LPENUM_SERVICE_STATUSW buffer, DWORD size,
                                   LPDWORD needed, LPDWORD returned)
{
    return boolCall({"EnumDependentServicesW"}, [&] {
        const std::string service = serviceWithRight(handle, SERVICE_ENUMERATE_DEPENDENTS);
        require(state == SERVICE_ACTIVE, ERROR_INVALID_PARAMETER);
        try {
            packList(dependentServices(service), fillDependent, {reinterpret_cast<LPBYTE>(buffer), size, needed},
                     returned);
        } catch (const Error &error) {
            // The only enumeration that reports a short buffer as ERROR_MORE_DATA.
            throw Error(error.code == ERROR_INSUFFICIENT_BUFFER ? ERROR_MORE_DATA : error.code);
        }
    });
}
