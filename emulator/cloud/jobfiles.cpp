#include "emulator/cloud/jobfiles.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

namespace {

QString fileName(int number)
{
    return QStringLiteral("%1.bin").arg(number, 4, 10, QLatin1Char('0'));
}

bool writeBytes(const QString &path, const QByteArray &bytes)
{
    QSaveFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.commit();
}

bool appendLine(const QString &path, const QByteArray &line)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Append) && file.write(line) == line.size() && file.flush();
}

QByteArray describe(const ReceivedJob &job, const QByteArray &bytes)
{
    const QByteArray sha256 = QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex();
    QJsonObject object{
        {QStringLiteral("number"), job.number},
        {QStringLiteral("veltraId"), job.veltraId},
        {QStringLiteral("dsNumber"), job.dsNumber},
        {QStringLiteral("size"), job.size},
        {QStringLiteral("file"), fileName(job.number)},
        {QStringLiteral("received"), job.received.toString(Qt::ISODateWithMs)},
        {QStringLiteral("sha256"), QString::fromLatin1(sha256)},
    };
    if (!job.fault.isEmpty())
        object.insert(QStringLiteral("fault"), job.fault);
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

} // namespace

namespace JobFiles {

int freeNumber(const QString &folder, int number)
{
    while (QFile::exists(QDir(folder).filePath(fileName(number))))
        ++number;
    return number;
}

bool store(const QString &folder, const ReceivedJob &job, const QByteArray &bytes)
{
    const QDir dir(folder);
    return dir.mkpath(QStringLiteral(".")) && writeBytes(dir.filePath(fileName(job.number)), bytes) &&
           appendLine(dir.filePath(QStringLiteral("jobs.jsonl")), describe(job, bytes));
}

} // namespace JobFiles
