#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QHash>
#include <QMap>
#include <QMultiHash>
#include <QString>
#include <QStringList>
#include <QVector>

/// Under which a job was printed, and what may therefore become of it.
enum class Circumstance {
    Alone,      ///< on a free printer
    InSlot,     ///< behind another job: relayed later, under the label of whichever job the spooler has then
    InCrowd,    ///< with several others: the single slot keeps the latest and may lose the others
    OnRemoved,  ///< its printer was removed before the outcome
    BusyForGood ///< its printer waits for the next start: an earlier connection stayed open for too long
};

/// A document that was printed. Its size is its identity: no two of a run have the same.
struct PrintedJob
{
    qint64 size = 0; ///< bytes
    QByteArray sha256;
    QString serial; ///< of the cloud printer
    QString document;
    QDateTime printed;
    Circumstance circumstance = Circumstance::Alone;
};

/// How often the program's log tells of something.
struct LogCounts
{
    int connections = 0;
    int relays = 0;
    int relaysEnded = 0;
    int refusedDescriptors = 0;
    int posts = 0;
    int timeouts = 0;
    int invalidAnswers = 0;

    static LogCounts of(const QString &logFolder);
};

/// What the books say in the end.
struct Balance
{
    int jobs = 0;
    qint64 bytes = 0;
    int submissions = 0;
    int records = 0;
    LogCounts log;
    QMap<QString, int> outcomes;   ///< by the status that was journalled
    QMap<QString, int> exceptions; ///< what intended behaviour leaves without a submission, a record or its own label
    QStringList faults;            ///< what must not be
};

/// Double-entry books of a run: what was printed, against what the cloud received, what the journal records and what
/// the log counts. Each job is to be submitted once, to come to one outcome and to leave one record.
class Books
{
public:
    /// The program's folder, with logs/ and details/, and the folder that the cloud service stores its jobs in.
    Books(const QString &programFolder, const QString &cloudFolder);

    void enter(const PrintedJob &job);
    void setCircumstance(qint64 size, Circumstance circumstance);
    /// While it was, any job of the time may have failed on the network, or be unknown to the cloud afterwards.
    void enterCloudOutage(const QDateTime &from, const QDateTime &to);
    /// A connection that carried no job and was kept open until its relay gave up.
    void enterLongConnection() { ++m_longConnections; }

    /// Takes over what the cloud and the journal have written since the last time.
    void update();

    /// Whether the job has a record, or has come to the one end that leaves none.
    bool hasEnded(qint64 size) const;

    Balance balance() const;

private:
    struct Submission
    {
        QString serial;
        QByteArray sha256;
        QString fate;
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
    void compareWithLog(Balance &balance) const;
    bool cloudWasDown(const PrintedJob &job, const QDateTime &ended) const;

    QString m_programFolder;
    QString m_cloudFolder;
    QHash<QString, qint64> m_readUntil; ///< by file name
    QHash<qint64, PrintedJob> m_jobs;
    QMultiHash<qint64, Submission> m_submissions;
    QMultiHash<qint64, Record> m_records;
    QVector<QPair<QDateTime, QDateTime>> m_outages;
    int m_longConnections = 0;
    int m_unreadable = 0;
};
