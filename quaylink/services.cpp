#include "quaylink/exports.h"
#include "quaylink/servicehandle.h"

#include <vector>

using namespace Quaylink;
using namespace std::chrono_literals;

namespace {

constexpr auto stopTimeout = 30s; // for all dependents together
constexpr auto pollInterval = 250ms;
constexpr std::size_t spareEntries = 16; // for services that start while they are listed

bool waitUntilStopped(SC_HANDLE service, DWORD start)
{
    for (;;) {
        SERVICE_STATUS status = {};
        if (!QueryServiceStatus(service, &status))
            return false;
        if (status.dwCurrentState == SERVICE_STOPPED)
            return true;
        if (elapsedSince(start) > stopTimeout)
            return false;
        pause(pollInterval);
    }
}

bool stopService(SC_HANDLE manager, LPCWSTR name, DWORD start)
{
    const ServiceHandle service(OpenServiceW(manager, name, SERVICE_STOP | SERVICE_QUERY_STATUS));
    if (!service)
        return false;
    SERVICE_STATUS status = {};
    if (ControlService(service.get(), SERVICE_CONTROL_STOP, &status))
        return waitUntilStopped(service.get(), start);
    const DWORD error = GetLastError();
    // Someone else may be stopping it or may have stopped it.
    if (error != ERROR_SERVICE_CANNOT_ACCEPT_CTRL && error != ERROR_SERVICE_NOT_ACTIVE)
        return false;
    return waitUntilStopped(service.get(), start);
}

} // namespace

int StopDependentServices(SC_HANDLE manager, SC_HANDLE service)
{
    if (!manager || !service)
        return FALSE;
    DWORD needed = 0;
    DWORD count = 0;
    // The size query succeeds only when there is nothing to list.
    if (EnumDependentServicesW(service, SERVICE_ACTIVE, nullptr, 0, &needed, &count))
        return TRUE;
    if (GetLastError() != ERROR_MORE_DATA)
        return FALSE;
    std::vector<ENUM_SERVICE_STATUSW> dependents(needed / sizeof(ENUM_SERVICE_STATUSW) + spareEntries);
    const auto size = static_cast<DWORD>(dependents.size() * sizeof(ENUM_SERVICE_STATUSW));
    if (!EnumDependentServicesW(service, SERVICE_ACTIVE, dependents.data(), size, &needed, &count))
        return FALSE;
    // Windows lists them in reverse start order, so each is stopped before the services it depends on.
    const DWORD start = GetTickCount();
    for (DWORD i = 0; i < count; ++i) {
        if (!stopService(manager, dependents[i].lpServiceName, start))
            return FALSE;
    }
    return TRUE;
}
