#include "cloud/jobbody.h"

#include <QMutex>

#include <algorithm>
#include <cstring>
#include <utility>

namespace {
constexpr int smallJob = 4 * 1024 * 1024; // bytes; may use the reserve
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

JobBody::JobBody(QByteArray body, QObject *parent)
    : QIODevice(parent)
    , m_body(std::move(body))
{
    open(QIODevice::ReadOnly | QIODevice::Unbuffered);
}

qint64 JobBody::bytesAvailable() const
{
    return m_body.size() - m_position + QIODevice::bytesAvailable();
}

qint64 JobBody::readData(char *data, qint64 maxSize)
{
    if (atEnd())
        return -1;
    const qint64 size = std::min<qint64>(maxSize, m_body.size() - m_position);
    std::memcpy(data, m_body.constData() + m_position, size_t(size));
    m_position += size;
    if (atEnd()) {
        m_body.clear();
        m_position = 0;
    }
    return size;
}

qint64 JobBody::writeData(const char *, qint64)
{
    return -1;
}
