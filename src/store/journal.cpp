#include "store/journal.h"

#include "base/textfile.h"

#include <QCoreApplication>
#include <QDate>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QMutex>
#include <QTextStream>

namespace {

const auto dateFormat = QStringLiteral("yyyy-MM-dd");
const auto suffix = QStringLiteral(".txt");
constexpr int keyLength = 16; // digits of the cloud serial at the start of a file name

QMutex journalMutex;

QString detailFolder()
{
    return QCoreApplication::applicationDirPath() + QStringLiteral("/details");
}

void logFileError(const QFile &file)
{
    qDebug() << file.error();
    qDebug() << file.errorString();
}

} // namespace

namespace Journal {

QString detailFileName(const QString &key)
{
    return detailFolder() + QLatin1Char('/') + key + QDate::currentDate().toString(dateFormat) + suffix;
}

void appendDetail(const QString &key, const QString &record)
{
    QMutexLocker locker(&journalMutex);
    QFile file(detailFileName(key));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append)) {
        logFileError(file);
        return;
    }
    appendAtomically(file, record + recordEnd);
}

QString readDetails(const QString &key, qint64 from)
{
    QMutexLocker locker(&journalMutex);
    QFile file(detailFileName(key));
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        logFileError(file);
        return QString();
    }
    file.seek(from);
    return QTextStream(&file).readAll();
}

QStringList split(const QString &details)
{
    return details.split(recordEnd, Qt::SkipEmptyParts);
}

quint32 detailSize(const QString &key)
{
    QMutexLocker locker(&journalMutex);
    QFile file(detailFileName(key));
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return 0;
    return static_cast<quint32>(file.size());
}

void clearOldDetails()
{
    QDir folder(detailFolder());
    const QDate threshold = QDate::currentDate().addDays(-1);
    const QStringList names = folder.entryList({QLatin1Char('*') + suffix});
    for (const QString &name : names) {
        const QString day = QString(name).remove(suffix).mid(keyLength);
        // daysTo() of an invalid date is 0, so other files are kept.
        if (threshold.daysTo(QDate::fromString(day, dateFormat)) < 0)
            folder.remove(name);
    }
}

} // namespace Journal
