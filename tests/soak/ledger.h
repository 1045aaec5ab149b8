#pragma once

#include "src/cloud/protocol.h"
#include "src/store/journal.h"
#include "tests/support/world.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QDeadlineTimer>
#include <QDir>
#include <QHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QRandomGenerator>
#include <QRegularExpression>

#include <cstdio>

/// What the cloud does with a job: how often, and the status that the journal records.
inline const QMap<QString, std::pair<int, QString>> cloudFaults{
    {"printed", {78, CloudProtocol::StatusText::printed}},
    {"long-printing", {2, CloudProtocol::StatusText::printed}},
    {"offline", {3, CloudProtocol::StatusText::deviceOffline}},
    {"bare-text", {2, "任务已取消"}},
    {"too-large", {2, CloudProtocol::StatusText::fileTooLarge}},
    {"server-error", {2, CloudProtocol::StatusText::networkFailure}},
    {"slow", {2, CloudProtocol::StatusText::printed}},
    {"silent", {1, CloudProtocol::StatusText::networkFailure}},
    {"cut", {2, CloudProtocol::StatusText::networkFailure}},
    {"result-cut", {1, CloudProtocol::StatusText::networkFailure}},
    {"result-invalid", {2, "no record"}},
};

/// Prints, and reconciles what was printed with what the cloud received and what the journals record: each job is
/// submitted once, byte for byte, has one outcome and leaves one record, or has an excuse. The size of a job is its
/// identity.
class Ledger
{
public:
    World world;

    void seed(quint32 seed) { m_random.seed(seed); }
    int random(int below) { return int(m_random.bounded(below)); }
    void count(const QString &row, double more = 1) { m_table[row] += more; }
    bool isGood() const { return m_errors.isEmpty(); }
    int jobs() const { return m_jobs.size(); }
    /// The cloud does not run at this moment: jobs until now may fail for that.
    void cloudIsDown() { m_cloudDown = QDateTime::currentDateTime(); }

    /// Whether the job has a record, or the one outcome that leaves none and is asked for within seconds.
    bool hasEnded(int size) const { return m_jobs[size].records > 0 || m_jobs[size].answered.hasExpired(); }

    void expect(bool condition, const QString &otherwise)
    {
        if (!condition)
            m_errors << otherwise;
    }

    /// Hands a document to the spooler. Returns its size. The excuse for having no record is empty when there must be
    /// one.
    int print(const QString &queue, const QString &serial, const QString &excuse = QString())
    {
        int size = 0;
        while (size == 0 || m_jobs.contains(size))
            size = (random(100) > 0 ? 10 + random(290) : 20 * 1024) * 1024 + random(1024);
        QByteArray bytes(size, '\0');
        m_random.fillRange(reinterpret_cast<quint32 *>(bytes.data()), size / int(sizeof(quint32)));
        m_jobs.insert(size, {serial, excuse, QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex()});
        expect(world.print(queue, QString("文档 %1").arg(size), bytes), "cannot print on " + queue);
        count("bytes, MiB", size / 1024.0 / 1024.0);
        return size;
    }

    /// Reads and judges what was written since the last time.
    void update()
    {
        // None begins inside another one, so that a torn line or record is noticed with the next one.
        static const QString start = R"(\[\d{4}-\d\d-\d\d \d\d:\d\d:\d\d \d{3}\] (Debug|Warning|Critical|Info): )";
        static const QRegularExpression logLine('^' + start + "((?!" + start + ").)*$",
                                                QRegularExpression::DotMatchesEverythingOption);
        for (const QString &line : newPieces("logs", "*.log", "\r\n")) {
            count("log lines");
            expect(logLine.match(line).hasMatch(), "not a line of the log: " + line);
        }
        // Before the submissions: what a record tells of has been received by then.
        const QStringList records = newPieces("details", "*.txt", Journal::recordEnd.toLatin1());
        for (const QString &submission : newPieces("cloud", "jobs.jsonl", "\n"))
            readSubmission(submission);
        for (const QString &record : records)
            readRecord(record);
    }

    /// Prints the table and the errors. False when there are errors.
    bool report()
    {
        for (auto job = m_jobs.cbegin(); job != m_jobs.cend(); ++job) {
            const bool isExcused =
                !job->excuse.isEmpty() && (job->submissions == 0 || !job->excuse.contains("relayed"));
            expect(job->records > 0 || isExcused, QString("no record of %1 bytes").arg(job.key()));
            count(job->records > 0 ? "journal records" : "- " + job->excuse);
        }
        count("jobs", jobs());
        for (auto row = m_table.cbegin(); row != m_table.cend(); ++row)
            std::printf("%-60s %.7g\n", qUtf8Printable(row.key()), row.value());
        for (const QString &error : qAsConst(m_errors))
            std::fprintf(stderr, "ERROR: %s\n", qUtf8Printable(error));
        std::puts(isGood() ? "The ledger balances" : "The ledger does not balance, or something was left behind");
        return isGood();
    }

private:
    struct Job
    {
        QString serial;
        QString excuse;
        QByteArray sha256;
        QDeadlineTimer answered{QDeadlineTimer::Forever}; ///< by then its result has been asked for in vain
        QDateTime printed = QDateTime::currentDateTime();
        QString fault = {}; ///< that the cloud chose for it
        int submissions = 0;
        int records = 0;
    };

    /// What was appended to the files since the last call, piece by piece. There is one per day, and per printer in the
    /// case of journals.
    QStringList newPieces(const QString &folder, const QString &pattern, const QByteArray &pieceEnd)
    {
        QStringList pieces;
        for (const QFileInfo &found : QDir(world.path(folder)).entryInfoList({pattern})) {
            QFile file(found.filePath());
            file.open(QIODevice::ReadOnly);
            file.seek(m_readUntil[file.fileName()]);
            const QByteArray bytes = file.readAll();
            const int end = bytes.lastIndexOf(pieceEnd);
            if (end < 0)
                continue;
            m_readUntil[file.fileName()] += end + pieceEnd.size();
            pieces += QString::fromLocal8Bit(bytes.left(end)).split(pieceEnd);
        }
        return pieces;
    }

    void readSubmission(const QString &line)
    {
        count("submissions received by the cloud");
        const QJsonObject object = QJsonDocument::fromJson(line.toUtf8()).object();
        const auto job = m_jobs.find(object["size"].toInt());
        if (job == m_jobs.end())
            return expect(false, "the cloud received what nobody printed: " + line);
        job->fault = object["fault"].toString();
        if (job->fault == "result-invalid") {
            job->excuse = "\"Invalid receive json\": no record";
            job->answered.setRemainingTime(5000);
        }
        expect(++job->submissions == 1, "submitted twice: " + line);
        expect(object["sha256"] == QLatin1String(job->sha256) && object["dsNumber"] == job->serial,
               "the cloud received other bytes, or for another printer: " + line);
    }

    void readRecord(const QString &text)
    {
        // Document and submission time are both missing when the spooler had ended the job before the relay began.
        static const QRegularExpression form("^([^;]+;\\d\\d+:\\d\\d:\\d\\d)?;([^;]+);(\\d+);\\d\\d:\\d\\d:\\d\\d$");
        const QRegularExpressionMatch record = form.match(text);
        const auto job = m_jobs.find(record.captured(3).toInt());
        if (job == m_jobs.end())
            return expect(false, "not a record, or of what nobody printed: " + text);
        expect(++job->records == 1, "recorded twice: " + text);
        using namespace CloudProtocol::StatusText;
        const QString status = record.captured(2);
        const bool isReceived = job->submissions > 0;
        const bool isExpected = isReceived && status == cloudFaults.value(job->fault, {0, printed}).second;
        const bool isLost = status == networkFailure || (isReceived && status == "任务不存在");
        count(status == printed ? "journal records \"打印成功\"" : "journal records of failures");
        if (!isExpected && isLost && job->printed <= m_cloudDown)
            count("- the cloud was killed: recorded as a failure");
        else
            expect(isExpected, "the cloud's fault was \"" + job->fault + "\": " + text);
    }

    QRandomGenerator m_random;
    QHash<QString, qint64> m_readUntil; ///< by file
    QHash<int, Job> m_jobs;             ///< by size
    QDateTime m_cloudDown = QDateTime::fromSecsSinceEpoch(0);
    QMap<QString, double> m_table;
    QStringList m_errors;
};
