#pragma once

#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace Tools {

/// A wrong command line.
class UsageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// A command's arguments taken apart: "--name value" options, and the rest in its order. Throws UsageError on an option
/// that is not among the known ones or has no value.
class Arguments
{
public:
    Arguments(const std::vector<std::string> &words, const std::set<std::string> &knownOptions);

    std::size_t count() const { return m_words.size(); }
    const std::string &word(std::size_t index) const { return m_words.at(index); }

    bool has(const std::string &option) const { return m_options.count(option) > 0; }
    std::string option(const std::string &option, const std::string &otherwise) const;
    long long number(const std::string &option, long long otherwise, long long least, long long most) const;

private:
    std::vector<std::string> m_words;
    std::map<std::string, std::string> m_options;
};

/// A whole decimal number within limits; throws UsageError that names `what`.
long long parseNumber(const std::string &what, const std::string &text, long long least, long long most);

} // namespace Tools
