#include "base/diagnosticlog.h"

#include "base/textfile.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QMutex>

#include <cstdlib>

namespace {

QMutex logMutex;

QString logFolder()
{
    return QCoreApplication::applicationDirPath() + QStringLiteral("/logs");
}

QString levelWord(QtMsgType type)
{
    switch (type) {
    case QtDebugMsg:
        return QStringLiteral("Debug:");
    case QtWarningMsg:
        return QStringLiteral("Warning:");
    case QtCriticalMsg:
        return QStringLiteral("Critical:");
    case QtFatalMsg:
        // Aborts before anything is written: a fatal message is never in the log.
        std::abort();
    case QtInfoMsg:
        return QStringLiteral("Info:");
    }
    return QString();
}

} // namespace

void messageOutput(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    QMutexLocker locker(&logMutex);
    const QString level = levelWord(type);
    QFile file(logFileName(QDate::currentDate()));
    const QString time = QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd hh:mm:ss zzz"));
    // The message comes last, so that a "%1" inside it is not replaced.
    const QString line = QStringLiteral("[%1] %2 %3").arg(time).arg(level).arg(message);
    if (file.open(QIODevice::WriteOnly | QIODevice::Append))
        appendAtomically(file, line + QStringLiteral("\r\n"));
}

QString logFileName(const QDate &date)
{
    return logFolder() + QLatin1Char('/') + date.toString(QStringLiteral("yyyy-MM-dd")) + QStringLiteral(".log");
}

void LogFileManage(int days)
{
    QDir folder(logFolder());
    const QDate thresholdDate = QDate::currentDate().addDays(-days);
    const QStringList names = folder.entryList({QStringLiteral("*.log")});
    for (const QString &name : names) {
        const QString day = QString(name).remove(QStringLiteral(".log"));
        // daysTo() of an invalid date is 0, so other files are kept.
        const qint64 daysPast = thresholdDate.daysTo(QDate::fromString(day, QStringLiteral("yyyy-MM-dd")));
        qDebug() << "100_LogFileManage thresholdDate: " << daysPast;
        if (daysPast < 0)
            folder.remove(name);
    }
}
