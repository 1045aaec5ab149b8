#include "tests/support/processfigures.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>

QByteArray ProcessFigures::content(qint64 pid, const QString &file)
{
    QFile opened(QStringLiteral("/proc/%1/%2").arg(pid).arg(file));
    return opened.open(QIODevice::ReadOnly) ? opened.readAll() : QByteArray();
}

QStringList ProcessFigures::entries(qint64 pid, const QString &folder)
{
    const QDir dir(QStringLiteral("/proc/%1/%2").arg(pid).arg(folder));
    return dir.entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot);
}

qint64 ProcessFigures::sum(qint64 pid, const QString &file, const QString &names)
{
    const QRegularExpression line('^' + names + ":\\s*(?<n>\\d+)", QRegularExpression::MultilineOption);
    qint64 sum = 0;
    for (auto match = line.globalMatch(content(pid, file)); match.hasNext();)
        sum += match.next().captured("n").toLongLong();
    return sum;
}
