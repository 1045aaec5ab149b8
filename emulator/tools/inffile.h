#pragma once

#include <string>

namespace Tools {

/// The driver's version of an INF: what follows the comma of its "DriverVer" line. Throws std::runtime_error when the
/// file cannot be read, has no such line or does not name the model. The path may be written as Windows does.
std::string driverVersion(const std::string &infPath, const std::string &model);

} // namespace Tools
