#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace Tools {

/// /if: install a queue and, from an INF, its driver.
struct InstallPrinter
{
    std::string name;
    std::string port;
    std::string model;
    std::optional<std::string> inf;
    bool keepInstalledDriver = false; ///< /u
};

/// /k: queue the test page.
struct PrintTestPage
{
    std::string name;
};

using PrintUiCommand = std::variant<InstallPrinter, PrintTestPage>;

/// Takes a PrintUIEntry command line apart. A word after a switch that takes a value is that value, whatever it looks
/// like; the last of several counts. Throws UsageError.
PrintUiCommand parsePrintUi(const std::vector<std::string> &words);

} // namespace Tools
