// Preloaded into the program under test. While the file exists that FULL_DISK_SWITCH names, the disk is full for the
// program's log, journals and store, which lie in FULL_DISK_FOLDER: of each text there is room for half.

#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <string>
#include <utility>

namespace {

bool startsWith(const std::string &text, const std::string &start)
{
    return text.compare(0, start.size(), start) == 0;
}

bool isWithoutRoom(int file)
{
    const char *switchFile = std::getenv("FULL_DISK_SWITCH");
    const char *folder = std::getenv("FULL_DISK_FOLDER");
    if (!switchFile || !folder || access(switchFile, F_OK) != 0)
        return false;
    char name[4096];
    const ssize_t length = readlink(("/proc/self/fd/" + std::to_string(file)).c_str(), name, sizeof name);
    const std::string path(name, std::size_t(std::max<ssize_t>(length, 0)));
    const std::string inside = std::string(folder) + '/';
    return startsWith(path, inside + "logs/") || startsWith(path, inside + "details/") ||
           startsWith(path, inside + "task.db");
}

/// How much of a text is written: a half of it, and nothing at the next attempt, which is for the other half.
std::size_t roomFor(std::size_t size)
{
    static thread_local bool isSecondAttempt = false;
    return std::exchange(isSecondAttempt, !isSecondAttempt) ? 0 : size / 2;
}

template <typename... Offset>
ssize_t writeWhatFits(const char *function, int file, const void *text, std::size_t size, Offset... offset)
{
    using Write = ssize_t (*)(int, const void *, std::size_t, Offset...);
    const auto next = reinterpret_cast<Write>(dlsym(RTLD_NEXT, function));
    if (!isWithoutRoom(file))
        return next(file, text, size, offset...);
    const std::size_t room = roomFor(size);
    if (room > 0)
        return next(file, text, room, offset...);
    errno = ENOSPC;
    return -1;
}

} // namespace

extern "C" {

[[gnu::visibility("default")]] ssize_t write(int file, const void *text, std::size_t size)
{
    return writeWhatFits("write", file, text, size);
}

[[gnu::visibility("default")]] ssize_t pwrite64(int file, const void *text, std::size_t size, off64_t offset)
{
    return writeWhatFits("pwrite64", file, text, size, offset);
}
}
