#include "tests/soak/ledger.h"

#include "src/cloud/protocol.h"
#include "src/store/journal.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace {

constexpr int resultTime = 5000; // ms after the submission within which an invalid result has been asked for

const QString unknownJob = QStringLiteral("任务不存在");
const QString invalidResult = QStringLiteral("result-invalid");
const QString invalidException = QStringLiteral("\"Invalid receive json\": no record");

/// What the journal says of a job with that fault; empty for the fault that leaves no record.
QString expectedStatus(const QString &fault)
{
    using namespace CloudProtocol::StatusText;
    static const QHash<QString, QString> expected = {
        {QStringLiteral("offline"), deviceOffline},
        {QStringLiteral("out-of-paper"), failedPrefix + QStringLiteral("缺纸")},
        {QStringLiteral("bare-text"), QStringLiteral("任务已取消")},
        {QStringLiteral("too-large"), fileTooLarge},
        {QStringLiteral("server-error"), networkFailure},
        {QStringLiteral("silent"), networkFailure},
        {QStringLiteral("cut"), networkFailure},
        {QStringLiteral("result-error"), networkFailure},
        {QStringLiteral("result-cut"), networkFailure},
        {invalidResult, QString()},
    };
    return expected.value(fault, printed);
}

QString named(const PrintedJob &job)
{
    return QStringLiteral("job of %1 bytes on %2 (%3)")
        .arg(QString::number(job.size), job.serial, job.printed.toString(QStringLiteral("HH:mm:ss")));
}

} // namespace

Ledger::Ledger(const QString &programFolder, const QString &cloudFolder)
    : m_programFolder(programFolder)
    , m_cloudFolder(cloudFolder)
{
}

void Ledger::add(const PrintedJob &job)
{
    m_jobs.insert(job.size, job);
}

void Ledger::setCircumstance(qint64 size, Circumstance circumstance)
{
    m_jobs[size].circumstance = circumstance;
}

void Ledger::addCloudOutage(const QDateTime &from, const QDateTime &to)
{
    m_outages.append({from, to});
}

/// What was appended to a file since the last time, up to the last whole piece.
QByteArray Ledger::newPart(const QString &fileName, const QByteArray &end)
{
    QFile file(fileName);
    qint64 &readUntil = m_readUntil[fileName];
    if (file.size() <= readUntil || !file.open(QIODevice::ReadOnly) || !file.seek(readUntil))
        return QByteArray();
    QByteArray part = file.readAll();
    const int last = part.lastIndexOf(end);
    part.truncate(last < 0 ? 0 : last + end.size());
    readUntil += part.size();
    return part;
}

void Ledger::update()
{
    const QList<QByteArray> lines =
        newPart(QDir(m_cloudFolder).filePath(QStringLiteral("jobs.jsonl")), "\n").split('\n');
    for (const QByteArray &line : lines)
        if (!line.isEmpty())
            readSubmission(line);
    const QDir details(QDir(m_programFolder).filePath(QStringLiteral("details")));
    const QStringList names = details.entryList({QStringLiteral("*.txt")});
    for (const QString &name : names) {
        const QString text = QString::fromLocal8Bit(newPart(details.filePath(name), "!+!"));
        const QStringList records = Journal::split(text);
        for (const QString &record : records)
            readRecord(record);
    }
}

void Ledger::readSubmission(const QByteArray &line)
{
    const QJsonObject object = QJsonDocument::fromJson(line).object();
    if (object.isEmpty()) {
        ++m_unreadable;
        return;
    }
    m_submissions.insert(qint64(object.value(QLatin1String("size")).toDouble()),
                         {object.value(QLatin1String("dsNumber")).toString(),
                          object.value(QLatin1String("sha256")).toString().toLatin1(),
                          object.value(QLatin1String("fate")).toString(), QDateTime::currentDateTime()});
}

/// Read from its end: the label, which may be empty, holds the document and the submission time.
void Ledger::readRecord(const QString &record)
{
    const QStringList fields = record.split(QLatin1Char(';'));
    bool hasSize = false;
    const qint64 size = fields.value(fields.size() - 2).toLongLong(&hasSize);
    if (fields.size() < 4 || !hasSize) {
        ++m_unreadable;
        return;
    }
    m_records.insert(size, {fields.first(), fields.at(fields.size() - 3), QDateTime::currentDateTime()});
}

bool Ledger::hasEnded(qint64 size) const
{
    if (m_records.contains(size))
        return true;
    const auto submission = m_submissions.constFind(size);
    return submission != m_submissions.constEnd() && submission->fault == invalidResult &&
           submission->read.msecsTo(QDateTime::currentDateTime()) > resultTime;
}

Balance Ledger::balance() const
{
    Balance balance;
    balance.submissions = m_submissions.size();
    balance.records = m_records.size();
    for (const PrintedJob &job : m_jobs) {
        ++balance.jobs;
        balance.bytes += job.size;
        judge(job, balance);
    }
    judgeStrangers(balance);
    return balance;
}

void Ledger::judge(const PrintedJob &job, Balance &balance) const
{
    const QList<Submission> submissions = m_submissions.values(job.size);
    const QList<Record> records = m_records.values(job.size);
    for (const Submission &submission : submissions)
        if (submission.sha256 != job.sha256 || submission.serial != job.serial)
            balance.errors << named(job) + QStringLiteral(": the cloud received other bytes, or for another printer");
    if (submissions.size() > 1)
        balance.errors << named(job) + QStringLiteral(": submitted %1 times").arg(submissions.size());
    if (records.size() > 1)
        balance.errors << named(job) + QStringLiteral(": journalled %1 times").arg(records.size());
    for (const Record &record : records)
        judgeRecord(job, record, balance);
    if (records.isEmpty())
        judgeMissing(job, balance);
}

void Ledger::judgeRecord(const PrintedJob &job, const Record &record, Balance &balance) const
{
    ++balance.outcomes[record.status];
    if (record.document != job.document) {
        const QString label = QStringLiteral("waited in the slot: under another job's label or none");
        if (job.circumstance == Circumstance::Alone)
            balance.errors << named(job) + QStringLiteral(": journalled as \"%1\"").arg(record.document);
        else
            ++balance.exceptions[label];
    }
    const auto submission = m_submissions.constFind(job.size);
    const bool isSubmitted = submission != m_submissions.constEnd();
    if (isSubmitted && record.status == expectedStatus(submission->fault) && !record.status.isEmpty())
        return;
    const bool isExplained =
        record.status == CloudProtocol::StatusText::networkFailure || (isSubmitted && record.status == unknownJob);
    if (isExplained && cloudWasDown(job, record.read))
        ++balance.exceptions[isSubmitted ? QStringLiteral("cloud killed while the job ran: outcome lost")
                                         : QStringLiteral("cloud killed: job not received")];
    else
        balance.errors << named(job) +
                              QStringLiteral(": journalled \"%1\", fault \"%2\"")
                                  .arg(record.status, isSubmitted ? submission->fault : QStringLiteral("none"));
}

/// A job without a record.
void Ledger::judgeMissing(const PrintedJob &job, Balance &balance) const
{
    const auto submission = m_submissions.constFind(job.size);
    const bool isSubmitted = submission != m_submissions.constEnd();
    if (isSubmitted && submission->fault == invalidResult)
        ++balance.exceptions[invalidException];
    else if (job.circumstance == Circumstance::OnRemoved)
        ++balance.exceptions[QStringLiteral("printer removed while the job ran: no record")];
    else if (!isSubmitted && job.circumstance == Circumstance::InCrowd)
        ++balance.exceptions[QStringLiteral("superseded in the single slot: not relayed")];
    else if (!isSubmitted && job.circumstance == Circumstance::BusyForGood)
        ++balance.exceptions[QStringLiteral("printer busy since a connection stayed open over 30 s: not relayed")];
    else
        balance.errors << named(job) + (isSubmitted ? QStringLiteral(": submitted, but has no record")
                                                    : QStringLiteral(": neither submitted nor journalled"));
}

/// What belongs to no printed job.
void Ledger::judgeStrangers(Balance &balance) const
{
    if (m_unreadable > 0)
        balance.errors << QStringLiteral("%1 records or submissions cannot be read").arg(m_unreadable);
    for (const qint64 size : m_submissions.uniqueKeys() + m_records.uniqueKeys())
        if (!m_jobs.contains(size))
            balance.errors << QStringLiteral("a job of %1 bytes that nobody printed").arg(size);
}

bool Ledger::cloudWasDown(const PrintedJob &job, const QDateTime &ended) const
{
    return std::any_of(m_outages.begin(), m_outages.end(), [&](const QPair<QDateTime, QDateTime> &outage) {
        return outage.first <= ended && outage.second >= job.printed;
    });
}
