#include "emulator/tools/inffile.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace Tools {

namespace {

std::string trimmed(const std::string &text)
{
    const char *blanks = " \t\r";
    const std::size_t first = text.find_first_not_of(blanks);
    return first == std::string::npos ? std::string() : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

bool startsWith(const std::string &text, const std::string &start)
{
    return text.rfind(start, 0) == 0;
}

} // namespace

InfDriver readInf(std::istream &inf, const std::string &model)
{
    InfDriver driver;
    for (std::string line; std::getline(inf, line);) {
        line = trimmed(line);
        if (startsWith(line, "DriverVer") && line.find(',') != std::string::npos)
            driver.version = trimmed(line.substr(line.find(',') + 1));
        driver.namesModel = driver.namesModel || startsWith(line, '"' + model + '"');
    }
    return driver;
}

std::string driverVersion(const std::string &infPath, const std::string &model)
{
    std::string path = infPath;
    std::replace(path.begin(), path.end(), '\\', '/');
    std::ifstream file(path);
    if (!file || std::filesystem::is_directory(path))
        throw std::runtime_error("cannot read the INF file " + path);
    const InfDriver driver = readInf(file, model);
    if (!driver.namesModel)
        throw std::runtime_error("the INF file " + path + " does not name the model \"" + model + '"');
    if (driver.version.empty())
        throw std::runtime_error("the INF file " + path + " has no driver version");
    return driver.version;
}

} // namespace Tools
