#include "emulator/tools/printuicommand.h"

#include "emulator/tools/arguments.h"

#include <map>
#include <set>

namespace Tools {

namespace {

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

InstallPrinter installPrinter(const Switches &switches)
{
    InstallPrinter command;
    command.model = switches.value("/m");
    command.port = switches.value("/r");
    command.name = switches.value("/b");
    if (switches.has("/f"))
        command.inf = switches.value("/f");
    command.keepInstalledDriver = switches.has("/u");
    return command;
}

} // namespace

PrintUiCommand parsePrintUi(const std::vector<std::string> &words)
{
    const Switches switches(words);
    if (switches.has("/if"))
        return installPrinter(switches);
    if (switches.has("/k"))
        return PrintTestPage{switches.value("/n")};
    throw UsageError("neither /if nor /k is given");
}

} // namespace Tools
