#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QVector>

#include <memory>

/// One of the fates that a submission may draw, and how likely it is beside the others.
struct FateChance
{
    QString fate; ///< one of fateNames()
    int weight = 1;
};

/// The fates in a fixed order: "printed", "offline", "silent", "cut" and so on, for jobs, their submissions and the
/// answers to the questions for their results.
QStringList fateNames();

/// How the service behaves; may be changed while it runs.
struct CloudServiceOptions
{
    int pollsBeforeFinal = 1; ///< result requests answered "正在打印" before the final status
    QString finalStatus = QStringLiteral("打印成功"); ///< status of a job that is done
    int deviceCode = 0;                               ///< "code" of every device status answer
    QString deviceData = QStringLiteral("16");        ///< "data" of every device status answer
    int submissionStatus = 200;                       ///< HTTP status of submissions; from 300 on none is accepted
    int delayMs = 0;                                  ///< wait before each answer, once the request was read
    QVector<FateChance> fates;  ///< each submission draws one, which overrides the options above; empty: none does
    quint32 seed = 1;           ///< of the draws
    QString storeFolder;        ///< where received jobs are kept; empty: nowhere
    bool keepBytes = true;      ///< keep the decoded bytes of each job in memory
    bool keepRawBodies = false; ///< keep the JSON text of each submission in memory too
};

/// A well-formed submission as it arrived.
struct ReceivedJob
{
    int number = 0;     ///< counts from 1
    QString veltraId;   ///< empty when the job was refused by its HTTP status
    QString fate;       ///< empty when it drew none
    QString dsNumber;   ///< the printer's cloud serial
    int size = 0;       ///< of the decoded bytes
    QByteArray bytes;   ///< empty without keepBytes
    QByteArray rawBody; ///< empty without keepRawBodies
    QDateTime received; ///< local time
};

/// Requests that arrived complete, the malformed ones included.
struct CloudServiceCounts
{
    int submissions = 0;
    int results = 0;
    int deviceStatuses = 0;
    int malformed = 0; ///< those answered with 400
};

/// The cloud print service as the program sees it: job submission, job result and device status over plain HTTP on
/// 127.0.0.1. A result request for an unknown job is answered with a bare text in "data", which is final for the
/// client. Serves on threads of its own; every member may be called from any thread.
class CloudService
{
public:
    explicit CloudService(const CloudServiceOptions &options = CloudServiceOptions());
    ~CloudService();
    CloudService(const CloudService &) = delete;
    CloudService &operator=(const CloudService &) = delete;

    /// Starts to serve; once in its life. Port 0 takes a free one. False when the port is taken.
    bool listen(quint16 port = 0);
    /// Ends the service; a delayed answer is given at once.
    void stop();

    quint16 port() const;
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
