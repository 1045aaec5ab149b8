#pragma once

#include <QByteArray>

#include <chrono>
#include <optional>

using SteadyClock = std::chrono::steady_clock;

/// Milliseconds from one moment to another.
inline double milliseconds(SteadyClock::time_point from, SteadyClock::time_point to)
{
    return std::chrono::duration<double, std::milli>(to - from).count();
}

/// When a job was sent.
struct SentJob
{
    SteadyClock::time_point begun;  ///< connected, nothing written yet
    SteadyClock::time_point closed; ///< all written, about to close the connection
};

/// Sends a job to a printer's port on 127.0.0.1 as the spooler does: connects, writes, closes. Empty when that fails.
std::optional<SentJob> sendJob(quint16 port, const QByteArray &bytes);

/// Bytes as of a compressed page: the same for the same size.
QByteArray jobBytes(int size);
