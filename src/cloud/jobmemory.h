#pragma once

#include <QByteArray>

/// Makes room for `size` bytes in a job's buffer. Jobs are the only large allocations of the program, so a large one
/// has to leave a reserve for the small ones: the process ends when Qt's own threads or the window run out of memory.
/// Throws std::bad_alloc if there is not enough memory for both. Callable on any thread.
void reserveJobMemory(QByteArray &bytes, qint64 size);
