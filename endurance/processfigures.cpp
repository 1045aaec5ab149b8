#include "processfigures.h"

#include <QDir>
#include <QFile>

ProcessFigures ProcessFigures::of(qint64 pid)
{
    const QDir proc(QStringLiteral("/proc/%1").arg(pid));
    ProcessFigures figures;
    QFile rollup(proc.filePath(QStringLiteral("smaps_rollup")));
    if (rollup.open(QIODevice::ReadOnly)) {
        const QList<QByteArray> lines = rollup.readAll().split('\n');
        for (const QByteArray &line : lines)
            if (line.startsWith("Private_Dirty:")) // "Private_Dirty:  1234 kB"
                figures.privateMemory += line.mid(line.indexOf(':') + 1).trimmed().split(' ').first().toDouble() / 1024;
    }
    const auto filter = QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot;
    figures.descriptors = int(QDir(proc.filePath(QStringLiteral("fd"))).entryList(filter).size());
    figures.threads = int(QDir(proc.filePath(QStringLiteral("task"))).entryList(filter).size());
    return figures;
}
