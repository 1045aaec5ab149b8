#include "tools/printui.h"

#include "tools/arguments.h"
#include "tools/inffile.h"
#include "win32/model/drivers.h"
#include "win32/model/jobs.h"
#include "win32/model/ports.h"
#include "win32/model/printers.h"

#include <filesystem>
#include <fstream>
#include <map>
#include <set>

namespace Tools {

namespace {

using namespace Win32Emulator;

/// The switches of a PrintUIEntry command line. A word after one that takes a value is that value, whatever it looks
/// like.
class Switches
{
public:
    explicit Switches(const std::vector<std::string> &words)
    {
        static const std::set<std::string> plain = {"/if", "/k", "/u"};
        static const std::set<std::string> valued = {"/b", "/f", "/m", "/n", "/r"};
        for (std::size_t i = 0; i < words.size(); ++i) {
            if (valued.count(words[i]) > 0 && i + 1 < words.size()) {
                m_values[words[i]] = words[i + 1];
                ++i;
            } else if (plain.count(words[i]) > 0) {
                m_values[words[i]] = {};
            } else {
                throw UsageError("switch not understood: " + words[i]);
            }
        }
    }

    bool has(const std::string &name) const { return m_values.count(name) > 0; }

    const std::string &value(const std::string &name) const
    {
        const auto entry = m_values.find(name);
        if (entry == m_values.end())
            throw UsageError("switch " + name + " is missing");
        return entry->second;
    }

private:
    std::map<std::string, std::string> m_values;
};

void installPrinter(const Switches &switches)
{
    const std::string &model = switches.value("/m");
    const std::string &port = switches.value("/r");
    const std::string &name = switches.value("/b");
    Model::checkPrinterName(name);
    if (!Model::findPort(port))
        throw std::runtime_error("there is no port \"" + port + '"');
    if (switches.has("/f")) {
        const std::string version = driverVersion(switches.value("/f"), model);
        // With /u a driver that is there already stays as it is.
        if (!switches.has("/u") || !Model::hasDriver(model))
            Model::addDriver({model, "Windows x64", version});
    }
    Model::addPrinterUnderFreeName(name, port, model);
}

void printTestPage(const Switches &switches)
{
    const std::filesystem::path page = std::filesystem::read_symlink("/proc/self/exe").parent_path() / "testpage.prn";
    std::ifstream file(page, std::ios::binary);
    if (!file)
        throw std::runtime_error("cannot read the test page " + page.string());
    Model::addJob(switches.value("/n"), "测试页", file, SubmissionTime());
}

} // namespace

void printUiEntry(const std::vector<std::string> &words)
{
    const Switches switches(words);
    if (switches.has("/if"))
        installPrinter(switches);
    else if (switches.has("/k"))
        printTestPage(switches);
    else
        throw UsageError("neither /if nor /k is given");
}

} // namespace Tools
