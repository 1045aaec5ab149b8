#pragma once

#ifdef _WIN32
#include <QTest>

#define LIMIT_FILE_SIZE(bytes) QSKIP("Windows has no limit for the size of a process's files")
#else
#include <sys/resource.h>

#include <csignal>

/// While it exists, this process cannot make a file larger than `bytes`: writing fails as on a full disk, after as much
/// as fits.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t bytes)
    {
        signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit{bytes, m_before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &m_before); }
    FileSizeLimit(const FileSizeLimit &) = delete;
    FileSizeLimit &operator=(const FileSizeLimit &) = delete;

private:
    rlimit m_before = {};
};

/// A FileSizeLimit for the rest of the block; skips the test on Windows.
#define LIMIT_FILE_SIZE(bytes) const FileSizeLimit fileSizeLimit(bytes)
#endif
