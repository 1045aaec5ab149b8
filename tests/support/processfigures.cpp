#include "tests/support/processfigures.h"

#include <QDir>
#include <QFile>
#include <QList>
#include <QStringList>

#include <unistd.h>

namespace {

QString processFolder(qint64 pid)
{
    return QStringLiteral("/proc/%1/").arg(pid);
}

/// The number after "Name:" in a file of such lines.
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

QStringList entries(const QString &folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot);
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

void resetPeak(qint64 pid)
{
    QFile references(processFolder(pid) + "clear_refs");
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
    // Counted from the end of the name, which may hold blanks.
    const QByteArray line = file.readAll();
    const QList<QByteArray> fields = line.mid(line.lastIndexOf(')') + 2).split(' ');
    constexpr int userTime = 11;
    constexpr int systemTime = 12;
    return double(fields.value(userTime).toLongLong() + fields.value(systemTime).toLongLong()) /
           double(sysconf(_SC_CLK_TCK));
}

int descriptors(qint64 pid)
{
    return entries(processFolder(pid) + "fd").size();
}

int threads(qint64 pid)
{
    return entries(processFolder(pid) + "task").size();
}

qint64 wakeUps(qint64 pid)
{
    const QString tasks = processFolder(pid) + "task/";
    qint64 sum = 0;
    const QStringList all = entries(tasks);
    for (const QString &thread : all)
        for (const char *kind : {"voluntary_ctxt_switches", "nonvoluntary_ctxt_switches"})
            sum += number(tasks + thread + "/status", kind);
    return sum;
}

} // namespace ProcessFigures
