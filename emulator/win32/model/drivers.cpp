#include "win32/model/drivers.h"

#include "win32/model/database.h"

namespace Win32Emulator::Model {

namespace {

// Set-up copies every package's INF into the driver store and enters that copy's path.
constexpr const char *driverStoreInf =
    R"(C:\Windows\System32\DriverStore\FileRepository\orvoptr.inf_amd64_5c1f0d2b7a3e9846\OrvoPtr.INF)";

} // namespace

void addDriver(Driver driver)
{
    if (driver.infPath.empty())
        driver.infPath = driverStoreInf;
    Database::current().run("INSERT INTO drivers (name, environment, version, inf_path) VALUES (?, ?, ?, ?) "
                            "ON CONFLICT DO UPDATE SET version = excluded.version, inf_path = excluded.inf_path",
                            driver.name, driver.environment, driver.version, driver.infPath);
}

bool hasDriver(const std::string &name)
{
    return Database::current().query("SELECT 1 FROM drivers WHERE name = ?", name).next();
}

std::vector<Driver> drivers()
{
    std::vector<Driver> result;
    Statement row = Database::current().query("SELECT name, environment, version, inf_path FROM drivers ORDER BY id");
    while (row.next())
        result.push_back({row.text(0), row.text(1), row.text(2), row.text(3)});
    return result;
}

} // namespace Win32Emulator::Model
