#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QVector>

#include <memory>

/// An outcome that a submission may draw, and its weight among the others.
struct FaultChance
{
    QString fault; ///< one of faultNames()
    int weight = 1;
};

/// Their names in a fixed order: "printed", "offline", "silent", "cut" and so on, for jobs, their submissions and the
/// answers to result requests.
QStringList faultNames();

/// How the service behaves; can be changed while it runs.
struct CloudServiceOptions
{
    int pollsBeforeFinal = 1;    ///< result requests per job that are answered "正在打印" before "打印成功"
    int delayMs = 0;             ///< wait before each answer, after the request was read
    QVector<FaultChance> faults; ///< each submission draws one, which overrides pollsBeforeFinal; empty: none does
    quint32 seed = 1;            ///< of the draws
    QString storeFolder;         ///< where received jobs are kept; empty: nowhere
    bool keepBytes = true;       ///< keep the decoded bytes of each job in memory
    bool keepRawBodies = false;  ///< keep the JSON text of each submission in memory, too
};

/// A well-formed submission as it arrived.
struct ReceivedJob
{
    int number = 0;     ///< counts from 1
    QString veltraId;   ///< empty if the job was refused by its HTTP status
    QString fault;      ///< empty if it drew none
    QString dsNumber;   ///< the printer's cloud serial
    int size = 0;       ///< of the decoded bytes
    QByteArray bytes;   ///< empty without keepBytes
    QByteArray rawBody; ///< empty without keepRawBodies
    QDateTime received; ///< local time
};

/// Requests that arrived complete, including malformed ones.
struct CloudServiceCounts
{
    int submissions = 0;
    int results = 0;
};

/// The cloud print service as the program sees it: job submission, job result and device status over plain HTTP on
/// 127.0.0.1. A result request for an unknown job is answered with a bare text in "data", which is final for the
/// client. Serves on its own threads; every member can be called from any thread.
class CloudService
{
public:
    explicit CloudService(const CloudServiceOptions &options = CloudServiceOptions());
    ~CloudService();
    CloudService(const CloudService &) = delete;
    CloudService &operator=(const CloudService &) = delete;

    /// Starts serving; call it once. Port 0 takes a free one. False if the port is taken.
    bool listen(quint16 port = 0);
    /// "http://127.0.0.1:PORT"
    QString baseAddress() const;

    CloudServiceOptions options() const;
    void setOptions(const CloudServiceOptions &options);

    QVector<ReceivedJob> jobs() const;
    CloudServiceCounts counts() const;

private:
    class Private;
    const std::unique_ptr<Private> d;
};
