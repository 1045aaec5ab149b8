#include "emulator/win32/model/drivers.h"

#include "emulator/win32/model/database.h"
#include "emulator/win32/model/error.h"
#include "emulator/win32/model/names.h"

#include <windows.h>

#include <algorithm>
#include <iterator>

#ifndef ERROR_PRINTER_DRIVER_PACKAGE_IN_USE
#define ERROR_PRINTER_DRIVER_PACKAGE_IN_USE 3015
#endif

namespace Win32Emulator::Model {

namespace {

constexpr const char *environments[] = {ownEnvironment, "Windows NT x86", "Windows IA64"};

// Set-up copies every package's INF into the driver store and enters that copy's path.
constexpr const char *driverStoreInf =
    R"(C:\Windows\System32\DriverStore\FileRepository\orvoptr.inf_amd64_5c1f0d2b7a3e9846\OrvoPtr.INF)";

const std::string selectDrivers = "SELECT name, environment, version, inf_path FROM drivers ";

Driver readDriver(const Statement &row)
{
    return {row.text(0), row.text(1), row.text(2), row.text(3)};
}

/// Queues use the drivers of the machine's own environment only; the others are kept for clients.
bool isInUse(const Driver &driver)
{
    return compareNames(driver.environment, ownEnvironment) == 0 &&
           Database::current().query("SELECT 1 FROM printers WHERE driver = ?", driver.name).next();
}

} // namespace

void checkEnvironment(const std::string &name)
{
    const auto isSame = [&](const char *known) { return compareNames(name, known) == 0; };
    if (std::none_of(std::begin(environments), std::end(environments), isSame))
        throw Error(ERROR_INVALID_ENVIRONMENT, "there is no environment \"" + name + '"');
}

void addDriver(Driver driver)
{
    if (driver.infPath.empty())
        driver.infPath = driverStoreInf;
    Transaction transaction;
    Database &database = Database::current();
    database.run("INSERT INTO drivers (name, environment, version, inf_path) VALUES (?, ?, ?, ?) "
                 "ON CONFLICT DO UPDATE SET version = excluded.version, inf_path = excluded.inf_path",
                 driver.name, driver.environment, driver.version, driver.infPath);
    database.run("INSERT OR IGNORE INTO driver_packages (inf_path, environment) VALUES (?, ?)", driver.infPath,
                 driver.environment);
    transaction.commit();
}

bool hasDriver(const std::string &name)
{
    return findDriver(name, ownEnvironment).has_value();
}

std::vector<Driver> drivers()
{
    std::vector<Driver> result;
    Statement row = Database::current().query(selectDrivers + "ORDER BY id");
    while (row.next())
        result.push_back(readDriver(row));
    return result;
}

std::optional<Driver> findDriver(const std::string &name, const std::string &environment)
{
    Statement row = Database::current().query(selectDrivers + "WHERE name = ? AND environment = ?", name, environment);
    return row.next() ? std::optional(readDriver(row)) : std::nullopt;
}

void deleteDriver(const std::string &name, const std::string &environment)
{
    Transaction transaction;
    const std::optional<Driver> driver = findDriver(name, environment);
    if (!driver)
        throw Error(ERROR_UNKNOWN_PRINTER_DRIVER, "there is no driver \"" + name + '"');
    if (isInUse(*driver))
        throw Error(ERROR_PRINTER_DRIVER_IN_USE, "a printer uses the driver \"" + name + '"');
    Database::current().run("DELETE FROM drivers WHERE name = ? AND environment = ?", name, environment);
    transaction.commit();
}

std::vector<DriverPackage> driverPackages()
{
    std::vector<DriverPackage> result;
    Statement row =
        Database::current().query("SELECT inf_path, environment FROM driver_packages ORDER BY inf_path, environment");
    while (row.next())
        result.push_back({row.text(0), row.text(1)});
    return result;
}

void deleteDriverPackage(const DriverPackage &package)
{
    Transaction transaction;
    Database &database = Database::current();
    if (database
            .query("SELECT 1 FROM drivers WHERE inf_path = ? AND environment = ?", package.infPath, package.environment)
            .next())
        throw Error(ERROR_PRINTER_DRIVER_PACKAGE_IN_USE, "a driver comes from the package " + package.infPath);
    if (database.run("DELETE FROM driver_packages WHERE inf_path = ? AND environment = ?", package.infPath,
                     package.environment) == 0)
        throw Error(ERROR_FILE_NOT_FOUND, "there is no package " + package.infPath);
    transaction.commit();
}

} // namespace Win32Emulator::Model
