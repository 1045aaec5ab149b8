#pragma once

#include <string>
#include <vector>

namespace Win32Emulator {

/// What a service reports about itself.
struct ServiceStatus
{
    unsigned state = 0; ///< a SERVICE_... value
    unsigned checkPoint = 0;
    unsigned waitHint = 0; ///< ms
};

struct Service
{
    std::string name;
    ServiceStatus status;
};

/// Adds a running service that needs another one.
void addService(const std::string &name, const std::string &dependsOn);

/// State of a service, a SERVICE_... value. This and all below throw ERROR_SERVICE_DOES_NOT_EXIST.
unsigned serviceState(const std::string &name);

/// Sets it, without regard to what the service was doing.
void setServiceState(const std::string &name, unsigned state);

/// Sets what the service reports from now on: one status per start, control and query, and the last one for good.
void scriptService(const std::string &name, const std::vector<ServiceStatus> &statuses);

/// What the service reports to a query: the next status of its script.
ServiceStatus queryService(const std::string &name);

/// Starts a stopped service: it runs at once unless its script says otherwise. Throws ERROR_SERVICE_ALREADY_RUNNING.
void startService(const std::string &name);

/// Stops a service: at once unless its script says otherwise. Throws ERROR_SERVICE_NOT_ACTIVE,
/// ERROR_SERVICE_CANNOT_ACCEPT_CTRL while it starts or stops, ERROR_DEPENDENT_SERVICES_RUNNING.
ServiceStatus stopService(const std::string &name);

/// The services that need this one, directly or indirectly, and are not stopped. Those added last come first.
std::vector<Service> dependentServices(const std::string &name);

} // namespace Win32Emulator
