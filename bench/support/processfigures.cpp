#include "support/processfigures.h"

#include <QDir>
#include <QFile>
#include <QList>

#include <unistd.h>

namespace {

QString processFolder(qint64 pid)
{
    return QStringLiteral("/proc/%1/").arg(pid);
}

/// The number behind "Name:" in a file of such lines.
qint64 number(const QString &fileName, const QByteArray &name)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    for (QByteArray line = file.readLine(); !line.isEmpty(); line = file.readLine())
        if (line.startsWith(name + ':'))
            return line.mid(name.size() + 1).trimmed().split(' ').first().toLongLong();
    return 0;
}

double mebibytes(qint64 kilobytes)
{
    return double(kilobytes) / 1024;
}

} // namespace

namespace ProcessFigures {

double memory(qint64 pid, const QByteArray &name)
{
    return mebibytes(number(processFolder(pid) + "status", name));
}

void resetPeak()
{
    QFile references(QStringLiteral("/proc/self/clear_refs"));
    if (references.open(QIODevice::WriteOnly))
        references.write("5");
}

double privateMemory(qint64 pid)
{
    return mebibytes(number(processFolder(pid) + "smaps_rollup", "Private_Clean")) + privateDirtyMemory(pid);
}

double privateDirtyMemory(qint64 pid)
{
    return mebibytes(number(processFolder(pid) + "smaps_rollup", "Private_Dirty"));
}

double processorTime(qint64 pid)
{
    QFile file(processFolder(pid) + "stat");
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    // Counted from behind the name, which may hold blanks.
    const QByteArray line = file.readAll();
    const QList<QByteArray> fields = line.mid(line.lastIndexOf(')') + 2).split(' ');
    constexpr int userTime = 11;
    constexpr int systemTime = 12;
    return double(fields.value(userTime).toLongLong() + fields.value(systemTime).toLongLong()) /
           double(sysconf(_SC_CLK_TCK));
}

qint64 wakeUps(qint64 pid)
{
    const QString tasks = processFolder(pid) + "task/";
    qint64 sum = 0;
    const QStringList threads = QDir(tasks).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString &thread : threads)
        for (const char *kind : {"voluntary_ctxt_switches", "nonvoluntary_ctxt_switches"})
            sum += number(tasks + thread + "/status", kind);
    return sum;
}

} // namespace ProcessFigures
