#pragma once

#include <QtGlobal>

/// What a process holds at one moment, as /proc tells it. All zero for a process that is gone.
struct ProcessFigures
{
    double privateMemory = 0; ///< MiB that it has written to; pages read from files are the system's to drop
    int descriptors = 0;
    int threads = 0;

    static ProcessFigures of(qint64 pid);
};
