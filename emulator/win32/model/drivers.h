#pragma once

#include <string>
#include <vector>

namespace Win32Emulator::Model {

/// An installed printer driver.
struct Driver
{
    std::string name;
    std::string environment = "Windows x64";
    std::string version = "1.0.0.0";
    std::string infPath = {}; ///< Windows path; empty: a path of the driver store
};

/// Installs a driver; one of that name and environment is replaced.
void addDriver(Driver driver);

bool hasDriver(const std::string &name);

/// The installed drivers in the order of their installation.
std::vector<Driver> drivers();

} // namespace Win32Emulator::Model
