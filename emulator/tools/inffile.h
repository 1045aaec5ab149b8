#pragma once

#include <iosfwd>
#include <string>

namespace Tools {

/// What the text of an INF declares that set-up asks for.
struct InfDriver
{
    bool namesModel = false;
    std::string version; ///< what follows the comma of its "DriverVer" line, without blanks around it; may be empty
};

/// Reads an INF line by line, for one model.
InfDriver readInf(std::istream &inf, const std::string &model);

/// The driver's version of an INF file. Throws std::runtime_error when it cannot be read, has no version or does not
/// name the model. The path may be written as Windows does.
std::string driverVersion(const std::string &infPath, const std::string &model);

} // namespace Tools
