#pragma once

#include <cstdio>
#include <exception>

namespace Tools {

/// Runs a tool's work and tells its exit status: 0, or 1 and the reason on stderr.
template <typename Work>
int runTool(const char *tool, Work work)
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
