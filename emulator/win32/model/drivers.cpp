#include "emulator/win32/model/drivers.h"

#include "emulator/win32/model/database.h"

#include <QFile>

#include <windows.h>

#include <algorithm>
#include <iterator>

#ifndef ERROR_PRINTER_DRIVER_PACKAGE_IN_USE
#define ERROR_PRINTER_DRIVER_PACKAGE_IN_USE 3015
#endif

namespace Win32Emulator {

namespace {

constexpr const char *environments[] = {ownEnvironment, "Windows NT x86", "Windows IA64"};

// Set-up copies the INF of each package into the driver store and registers the path of the copy.
constexpr const char *driverStoreInf =
    R"(C:\Windows\System32\DriverStore\FileRepository\orvoptr.inf_amd64_5c1f0d2b7a3e9846\OrvoPtr.INF)";

const std::string selectDrivers = "SELECT name, environment, version, inf_path FROM drivers ";

Driver readDriver(const Values &row)
{
    return {row[0], row[1], row[2], row[3]};
}

/// Queues use only the drivers of the machine's own environment; the others are kept for clients.
bool isInUse(const std::string &driver, const std::string &environment)
{
    return compareNames(environment, ownEnvironment) == 0 &&
           !query("SELECT 1 FROM printers WHERE driver = ?", {driver}).empty();
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
    run("INSERT INTO drivers (name, environment, version, inf_path) VALUES (?, ?, ?, ?) "
        "ON CONFLICT DO UPDATE SET version = excluded.version, inf_path = excluded.inf_path",
        {driver.name, driver.environment, driver.version, driver.infPath});
    run("INSERT OR IGNORE INTO driver_packages (inf_path, environment) VALUES (?, ?)",
        {driver.infPath, driver.environment});
    transaction.commit();
}

void addDriver(const std::string &name)
{
    addDriver(Driver{name});
}

std::vector<Driver> drivers()
{
    return records(readDriver, selectDrivers + "ORDER BY id");
}

std::optional<Driver> findDriver(const std::string &name, const std::string &environment)
{
    return record(readDriver, selectDrivers + "WHERE name = ? AND environment = ?", {name, environment});
}

void deleteDriver(const std::string &name, const std::string &environment)
{
    Transaction transaction;
    require(findDriver(name, environment).has_value(), ERROR_UNKNOWN_PRINTER_DRIVER,
            "there is no driver \"" + name + '"');
    require(!isInUse(name, environment), ERROR_PRINTER_DRIVER_IN_USE, "a printer uses the driver \"" + name + '"');
    run("DELETE FROM drivers WHERE name = ? AND environment = ?", {name, environment});
    transaction.commit();
}

std::vector<DriverPackage> driverPackages()
{
    const auto read = +[](const Values &row) { return DriverPackage{row[0], row[1]}; };
    return records(read, "SELECT inf_path, environment FROM driver_packages ORDER BY inf_path, environment");
}

void deleteDriverPackage(const DriverPackage &package)
{
    const Values key = {package.infPath, package.environment};
    Transaction transaction;
    require(query("SELECT 1 FROM drivers WHERE inf_path = ? AND environment = ?", key).empty(),
            ERROR_PRINTER_DRIVER_PACKAGE_IN_USE, "a driver comes from the package " + package.infPath);
    require(run("DELETE FROM driver_packages WHERE inf_path = ? AND environment = ?", key) != 0, ERROR_FILE_NOT_FOUND,
            "there is no package " + package.infPath);
    transaction.commit();
    QFile::remove(QString::fromStdString(package.infPath)); // if a test has put one there
}

} // namespace Win32Emulator
