#pragma once

#include "tests/support/processfigures.h"

/// Further figures of a running process that only measurements need.
struct ProcessCost : ProcessFigures
{
    /// A line "Name: N kB" of /proc/PID/status, in MiB: "VmRSS" is the resident memory, "VmHWM" its peak.
    static double memory(qint64 pid, const QString &name) { return mebibytes(pid, "status", name); }

    /// Makes the process's peak count from now on.
    static void resetPeak(qint64 pid);

    /// Memory that no other process has a share in, in MiB.
    static double privateMemory(qint64 pid) { return mebibytes(pid, "smaps_rollup", "Private_(Clean|Dirty)"); }

    /// Processor time so far, in seconds; counted in steps of 10 ms.
    static double processorTime(qint64 pid);

    /// How often its threads gave the processor up, or had to, and were woken again.
    static qint64 wakeUps(qint64 pid);
};
