#include "emulator/tools/arguments.h"

#include <charconv>

namespace Tools {

Arguments::Arguments(const std::vector<std::string> &words, const std::set<std::string> &knownOptions)
{
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (words[i].rfind("--", 0) != 0) {
            m_words.push_back(words[i]);
            continue;
        }
        if (knownOptions.count(words[i]) == 0)
            throw UsageError("unknown option " + words[i]);
        if (i + 1 == words.size())
            throw UsageError("option " + words[i] + " has no value");
        m_options[words[i]] = words[i + 1];
        ++i;
    }
}

std::string Arguments::option(const std::string &option, const std::string &otherwise) const
{
    const auto entry = m_options.find(option);
    return entry == m_options.end() ? otherwise : entry->second;
}

long long Arguments::number(const std::string &option, long long otherwise, long long least, long long most) const
{
    return has(option) ? parseNumber(option, m_options.at(option), least, most) : otherwise;
}

long long parseNumber(const std::string &what, const std::string &text, long long least, long long most)
{
    long long number = 0;
    const char *end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, number);
    if (result.ec != std::errc() || result.ptr != end || number < least || number > most)
        throw UsageError(what + " must be a number from " + std::to_string(least) + " to " + std::to_string(most) +
                         ", not \"" + text + '"');
    return number;
}

} // namespace Tools
