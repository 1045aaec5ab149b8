#include "emulator/win32/model/filelock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>

namespace Win32Emulator::Model {

namespace {

bool lockFile(int file, int operation)
{
    int result = 0;
    do {
        result = flock(file, operation);
    } while (result != 0 && errno == EINTR);
    return result == 0;
}

} // namespace

FileLock::FileLock(const std::string &path, Patience patience)
    : m_file(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666))
{
    if (m_file < 0)
        throw std::runtime_error("cannot open " + path);
    if (lockFile(m_file, patience == Wait ? LOCK_EX : LOCK_EX | LOCK_NB))
        return;
    close(m_file);
    throw std::runtime_error("another process holds " + path);
}

FileLock::~FileLock()
{
    close(m_file);
}

} // namespace Win32Emulator::Model
