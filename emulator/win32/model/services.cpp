#include "emulator/win32/model/services.h"

#include "emulator/win32/model/database.h"
#include "emulator/win32/model/error.h"

#include <windows.h>

namespace Win32Emulator::Model {

namespace {

Error noSuchService(const std::string &name)
{
    return Error(ERROR_SERVICE_DOES_NOT_EXIST, "there is no service \"" + name + '"');
}

ServiceStatus readStatus(const Statement &row)
{
    return {static_cast<unsigned>(row.number(0)), static_cast<unsigned>(row.number(1)),
            static_cast<unsigned>(row.number(2))};
}

ServiceStatus currentStatus(const std::string &name)
{
    Statement row =
        Database::current().query("SELECT state, check_point, wait_hint FROM services WHERE name = ?", name);
    if (!row.next())
        throw noSuchService(name);
    return readStatus(row);
}

void setStatus(const std::string &name, const ServiceStatus &status)
{
    Database::current().run("UPDATE services SET state = ?, check_point = ?, wait_hint = ? WHERE name = ?",
                            status.state, status.checkPoint, status.waitHint, name);
}

/// Moves the service to the next status of its script, if there is one left; else to the given one.
ServiceStatus advance(const std::string &name, const ServiceStatus &unscripted)
{
    Database &database = Database::current();
    ServiceStatus status = unscripted;
    {
        Statement row = database.query("SELECT state, check_point, wait_hint, id FROM service_scripts "
                                       "WHERE service = ? ORDER BY id LIMIT 1",
                                       name);
        if (row.next()) {
            status = readStatus(row);
            database.run("DELETE FROM service_scripts WHERE id = ?", row.number(3));
        }
    }
    setStatus(name, status);
    return status;
}

void checkStoppable(const std::string &name)
{
    const unsigned state = serviceState(name);
    if (state == SERVICE_STOPPED)
        throw Error(ERROR_SERVICE_NOT_ACTIVE, "the service is not running");
    if (state == SERVICE_START_PENDING || state == SERVICE_STOP_PENDING)
        throw Error(ERROR_SERVICE_CANNOT_ACCEPT_CTRL, "the service is busy starting or stopping");
    if (!dependentServices(name).empty())
        throw Error(ERROR_DEPENDENT_SERVICES_RUNNING, "other services need this one");
}

} // namespace

void addService(const std::string &name, const std::string &dependsOn)
{
    Database::current().run("INSERT INTO services (name, depends_on, state) VALUES (?, ?, ?)", name, dependsOn,
                            SERVICE_RUNNING);
}

unsigned serviceState(const std::string &name)
{
    return currentStatus(name).state;
}

void setServiceState(const std::string &name, unsigned state)
{
    scriptService(name, {});
    setStatus(name, {state});
}

void scriptService(const std::string &name, const std::vector<ServiceStatus> &statuses)
{
    Transaction transaction;
    currentStatus(name);
    Database &database = Database::current();
    database.run("DELETE FROM service_scripts WHERE service = ?", name);
    for (const ServiceStatus &status : statuses)
        database.run("INSERT INTO service_scripts (service, state, check_point, wait_hint) VALUES (?, ?, ?, ?)", name,
                     status.state, status.checkPoint, status.waitHint);
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
    if (serviceState(name) != SERVICE_STOPPED)
        throw Error(ERROR_SERVICE_ALREADY_RUNNING, "the service is running already");
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
    constexpr const char *query = R"(
        WITH RECURSIVE dependents(name) AS (
            SELECT name FROM services WHERE depends_on = ?1
            UNION SELECT services.name FROM services JOIN dependents ON services.depends_on = dependents.name)
        SELECT state, check_point, wait_hint, name FROM services
        WHERE name IN (SELECT name FROM dependents) AND state <> ?2 ORDER BY rowid DESC)";
    std::vector<Service> result;
    Statement row = Database::current().query(query, name, SERVICE_STOPPED);
    while (row.next())
        result.push_back({row.text(3), readStatus(row)});
    return result;
}

} // namespace Win32Emulator::Model
