#pragma once

#include <QStringList>

/// What the kernel counts of a running process, this one or another. 0 when the process has gone.
struct ProcessFigures
{
    /// Memory that was written to and that no other process has a share in, in MiB.
    static double privateDirtyMemory(qint64 pid) { return mebibytes(pid, "smaps_rollup", "Private_Dirty"); }

    /// Open files and sockets.
    static int descriptors(qint64 pid) { return entries(pid, "fd").size(); }
    static int threads(qint64 pid) { return entries(pid, "task").size(); }

    // For further figures: what lies in /proc/PID.
    static QByteArray content(qint64 pid, const QString &file);
    static QStringList entries(qint64 pid, const QString &folder);
    /// The sum of the numbers after the names that match, in a file of lines "Name: N", or of lines "Name: N kB".
    static qint64 sum(qint64 pid, const QString &file, const QString &names);
    static double mebibytes(qint64 pid, const QString &file, const QString &names)
    {
        return sum(pid, file, names) / 1024.0;
    }
};
