#pragma once

#include <QByteArray>
#include <QString>

/// What the kernel counts of a running process, this one or another. 0 when the process has gone.
namespace ProcessFigures {

/// A line "Name: N kB" of /proc/PID/status, in MiB: "VmRSS" is the resident memory, "VmHWM" its peak.
double memory(qint64 pid, const QByteArray &name);

/// Makes the process's peak count from now on.
void resetPeak(qint64 pid);

/// Memory that no other process has a share in, in MiB.
double privateMemory(qint64 pid);

/// That part of it that was written to: without the program and the libraries themselves.
double privateDirtyMemory(qint64 pid);

/// Processor time so far, in seconds; counted in steps of 10 ms.
double processorTime(qint64 pid);

/// Open files and sockets.
int descriptors(qint64 pid);
int threads(qint64 pid);

/// How often its threads gave the processor up, or had to, and were woken again.
qint64 wakeUps(qint64 pid);

} // namespace ProcessFigures
