#pragma once

#include <string>

namespace Win32Emulator::Model {

/// An exclusive lock between processes, on a file made for it. Held while the object lives; freed at process death.
class FileLock
{
public:
    enum Patience { Wait, DoNotWait };

    /// Throws std::runtime_error when the lock cannot be had.
    FileLock(const std::string &path, Patience patience);
    ~FileLock();
    FileLock(const FileLock &) = delete;
    FileLock &operator=(const FileLock &) = delete;

private:
    int m_file;
};

} // namespace Win32Emulator::Model
