#pragma once

#include "emulator/win32/model/basics.h"

#include <optional>
#include <string>
#include <vector>

namespace Win32Emulator {

/// The environment that the machine itself runs in.
constexpr const char *ownEnvironment = "Windows x64";

/// Throws ERROR_INVALID_ENVIRONMENT unless the spooler knows the environment.
void checkEnvironment(const std::string &name);

/// An installed printer driver.
struct Driver
{
    std::string name = defaultDriver;
    std::string environment = ownEnvironment;
    std::string version = "1.0.0.0";
    std::string infPath = {}; ///< Windows path; empty: a path of the driver store
};

/// A driver package in the driver store.
struct DriverPackage
{
    std::string infPath;
    std::string environment;
};

/// Installs a driver and its package; replaces one of the same name and environment.
void addDriver(Driver driver = {});
void addDriver(const std::string &name);

/// The installed drivers in the order of their installation.
std::vector<Driver> drivers();

std::optional<Driver> findDriver(const std::string &name, const std::string &environment = ownEnvironment);

/// Deletes a driver; its package stays. Throws ERROR_UNKNOWN_PRINTER_DRIVER, and ERROR_PRINTER_DRIVER_IN_USE while a
/// queue uses it.
void deleteDriver(const std::string &name, const std::string &environment);

/// The packages in the order of their paths.
std::vector<DriverPackage> driverPackages();

/// Deletes a package. Throws ERROR_FILE_NOT_FOUND if there is none, ERROR_PRINTER_DRIVER_PACKAGE_IN_USE while a driver
/// comes from it.
void deleteDriverPackage(const DriverPackage &package);

} // namespace Win32Emulator
