#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QHash>
#include <QMap>
#include <QMultiHash>
#include <QString>
#include <QStringList>
#include <QVector>

/// How a job was printed, which decides what may become of it.
enum class Circumstance {
    Alone,      ///< on a free printer
    InSlot,     ///< after another job: relayed later, under the label of whichever job the spooler has then
    InCrowd,    ///< with several others: the single slot keeps the latest and may lose the others
    OnRemoved,  ///< its printer was removed before the outcome
    BusyForGood ///< its printer waits for the next start: an earlier connection stayed open for too long
};

/// A document that was printed. Its size is its identity: no two of a run have the same size.
struct PrintedJob
{
    qint64 size = 0; ///< bytes
    QByteArray sha256;
    QString serial; ///< of the cloud printer
    QString document;
    QDateTime printed;
    Circumstance circumstance = Circumstance::Alone;
};

/// The result of a run.
struct Balance
{
    int jobs = 0;
    qint64 bytes = 0;
    int submissions = 0;
    int records = 0;
    QMap<QString, int> outcomes; ///< by the status that was journalled
    QMap<QString, int>
        exceptions;     ///< jobs that intended behaviour leaves without a submission, a record or their label
    QStringList errors; ///< what must not happen
};

/// Reconciles what was printed with what the cloud received and what the journal records. Each job must be submitted
/// once, have one outcome and leave one record.
class Ledger
{
public:
    /// The program's folder, with logs/ and details/, and the folder that the cloud service stores its jobs in.
    Ledger(const QString &programFolder, const QString &cloudFolder);

    void add(const PrintedJob &job);
    void setCircumstance(qint64 size, Circumstance circumstance);
    /// Jobs of that time may have failed on the network, or be unknown to the cloud afterwards.
    void addCloudOutage(const QDateTime &from, const QDateTime &to);
    /// Reads what the cloud and the journal have written since the last time.
    void update();

    /// Whether the job has a record, or the one outcome that leaves none.
    bool hasEnded(qint64 size) const;

    Balance balance() const;

private:
    struct Submission
    {
        QString serial;
        QByteArray sha256;
        QString fault; ///< that the cloud service was asked for
        QDateTime read;
    };
    struct Record
    {
        QString document;
        QString status;
        QDateTime read;
    };

    QByteArray newPart(const QString &fileName, const QByteArray &end);
    void readSubmission(const QByteArray &line);
    void readRecord(const QString &record);
    void judge(const PrintedJob &job, Balance &balance) const;
    void judgeRecord(const PrintedJob &job, const Record &record, Balance &balance) const;
    void judgeMissing(const PrintedJob &job, Balance &balance) const;
    void judgeStrangers(Balance &balance) const;
    bool cloudWasDown(const PrintedJob &job, const QDateTime &ended) const;

    QString m_programFolder;
    QString m_cloudFolder;
    QHash<QString, qint64> m_readUntil; ///< by file name
    QHash<qint64, PrintedJob> m_jobs;
    QMultiHash<qint64, Submission> m_submissions;
    QMultiHash<qint64, Record> m_records;
    QVector<QPair<QDateTime, QDateTime>> m_outages;
    int m_unreadable = 0;
};
