#include "emulator/win32/model/services.h"

#include "emulator/win32/model/basics.h"
#include "emulator/win32/model/database.h"

#include <windows.h>

namespace Win32Emulator {

namespace {

ServiceStatus readStatus(const Values &row)
{
    return {row[0], row[1], row[2]};
}

ServiceStatus currentStatus(const std::string &name)
{
    const auto status = record(readStatus, "SELECT state, check_point, wait_hint FROM services WHERE name = ?", {name});
    require(status.has_value(), ERROR_SERVICE_DOES_NOT_EXIST, "there is no service \"" + name + '"');
    return *status;
}

/// Moves the service to the next status of its script, if there is one left; else to the given one.
ServiceStatus advance(const std::string &name, const ServiceStatus &unscripted)
{
    const auto scripted =
        record(readStatus,
               "DELETE FROM service_scripts WHERE id = (SELECT min(id) FROM service_scripts WHERE service = ?) "
               "RETURNING state, check_point, wait_hint",
               {name});
    const ServiceStatus status = scripted.value_or(unscripted);
    run("UPDATE services SET state = ?, check_point = ?, wait_hint = ? WHERE name = ?",
        {status.state, status.checkPoint, status.waitHint, name});
    return status;
}

void checkStoppable(const std::string &name)
{
    const unsigned state = serviceState(name);
    require(state != SERVICE_STOPPED, ERROR_SERVICE_NOT_ACTIVE, "the service is not running");
    if (state == SERVICE_START_PENDING || state == SERVICE_STOP_PENDING)
        throw Error(ERROR_SERVICE_CANNOT_ACCEPT_CTRL, "the service is busy starting or stopping");
    require(dependentServices(name).empty(), ERROR_DEPENDENT_SERVICES_RUNNING, "other services need this one");
}

} // namespace

void addService(const std::string &name, const std::string &dependsOn)
{
    run("INSERT INTO services (name, depends_on, state) VALUES (?, ?, ?)", {name, dependsOn, SERVICE_RUNNING});
}

unsigned serviceState(const std::string &name)
{
    return currentStatus(name).state;
}

void setServiceState(const std::string &name, unsigned state)
{
    scriptService(name, {});
    advance(name, {state});
}

void scriptService(const std::string &name, const std::vector<ServiceStatus> &statuses)
{
    Transaction transaction;
    currentStatus(name);
    run("DELETE FROM service_scripts WHERE service = ?", {name});
    for (const ServiceStatus &status : statuses)
        run("INSERT INTO service_scripts (service, state, check_point, wait_hint) VALUES (?, ?, ?, ?)",
            {name, status.state, status.checkPoint, status.waitHint});
    transaction.commit();
}

ServiceStatus queryService(const std::string &name)
{
    Transaction transaction;
    const ServiceStatus status = advance(name, currentStatus(name));
    transaction.commit();
    return status;
}

void startService(const std::string &name)
{
    Transaction transaction;
    require(serviceState(name) == SERVICE_STOPPED, ERROR_SERVICE_ALREADY_RUNNING, "the service is running already");
    advance(name, {SERVICE_RUNNING});
    transaction.commit();
}

ServiceStatus stopService(const std::string &name)
{
    Transaction transaction;
    checkStoppable(name);
    const ServiceStatus status = advance(name, {SERVICE_STOPPED});
    transaction.commit();
    return status;
}

std::vector<Service> dependentServices(const std::string &name)
{
    const auto read = +[](const Values &row) { return Service{row[3], readStatus(row)}; };
    return records(read,
                   "WITH RECURSIVE dependents(name) AS (SELECT name FROM services WHERE depends_on = ?1 UNION "
                   "SELECT services.name FROM services JOIN dependents ON services.depends_on = dependents.name) "
                   "SELECT state, check_point, wait_hint, name FROM services "
                   "WHERE name IN (SELECT name FROM dependents) AND state <> ?2 ORDER BY rowid DESC",
                   {name, SERVICE_STOPPED});
}

} // namespace Win32Emulator
