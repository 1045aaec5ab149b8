#pragma once

#include <QStringList>

#include <cstdio>
#include <limits>
#include <stdexcept>

namespace Tools {

/// The command line without the program's name. It is UTF-8 in every locale.
inline QStringList arguments(int argc, char **argv)
{
    QStringList words;
    for (int i = 1; i < argc; ++i)
        words.append(QString::fromUtf8(argv[i]));
    return words;
}

/// A whole decimal number within limits; throws std::runtime_error that names `what`.
inline int number(const QString &what, const QString &text, int least, int most = std::numeric_limits<int>::max())
{
    bool isNumber = false;
    const int value = text.toInt(&isNumber);
    if (isNumber && value >= least && value <= most)
        return value;
    const QString reason = QStringLiteral("%1 must be a number from %2 to %3, not \"%4\"");
    throw std::runtime_error(reason.arg(what, QString::number(least), QString::number(most), text).toStdString());
}

/// Runs a tool's work and returns its exit status: 0, or 1 with the reason on stderr.
template <typename Work>
int run(const char *tool, Work work)
{
    try {
        work();
        return 0;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s: %s\n", tool, error.what());
        return 1;
    }
}

} // namespace Tools
