#include "bench/support/processcost.h"

#include <QFile>

#include <unistd.h>

void ProcessCost::resetPeak(qint64 pid)
{
    QFile references(QStringLiteral("/proc/%1/clear_refs").arg(pid));
    if (references.open(QIODevice::WriteOnly))
        references.write("5");
}

double ProcessCost::processorTime(qint64 pid)
{
    // Counted from the end of the name, which may hold blanks.
    const QByteArray line = content(pid, "stat");
    const QList<QByteArray> fields = line.mid(line.lastIndexOf(')') + 2).split(' ');
    constexpr int userTime = 11;
    return double(fields.value(userTime).toLongLong() + fields.value(userTime + 1).toLongLong()) /
           double(sysconf(_SC_CLK_TCK));
}

qint64 ProcessCost::wakeUps(qint64 pid)
{
    qint64 all = 0;
    const QStringList threads = entries(pid, "task");
    for (const QString &thread : threads)
        all += sum(pid, "task/" + thread + "/status", "(non)?voluntary_ctxt_switches");
    return all;
}
