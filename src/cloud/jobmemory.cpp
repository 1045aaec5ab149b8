#include "cloud/jobmemory.h"

#include <QMutex>

namespace {
constexpr int smallJob = 4 * 1024 * 1024; // bytes; may take of the reserve
constexpr int reserve = 64 * 1024 * 1024; // bytes; for a dozen printers' threads, buffers and small jobs
QMutex growth;
} // namespace

void reserveJobMemory(QByteArray &bytes, qint64 size)
{
    // One at a time: two jobs must not count the same free memory as their reserve.
    const QMutexLocker locker(&growth);
    bytes.reserve(static_cast<int>(size));
    if (size > smallJob)
        QByteArray().reserve(reserve);
}
