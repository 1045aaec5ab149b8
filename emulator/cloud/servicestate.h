#pragma once

#include "emulator/cloud/cloudservice.h"

#include <QHash>
#include <QMutex>
#include <QRandomGenerator>

struct SubmissionRequest;

/// What the service answers.
struct ServiceAnswer
{
    int status = 200;
    QByteArray json;
    int delayMs = 0;    ///< added to the delay of all answers
    bool isCut = false; ///< the connection breaks in the middle of the body
};

/// The service without its network side: takes requests, records them and composes the answers. Thread-safe.
class ServiceState
{
public:
    explicit ServiceState(const CloudServiceOptions &options);

    ServiceAnswer submit(const QByteArray &contentType, const QByteArray &body);
    ServiceAnswer result(const QString &veltraId);
    ServiceAnswer deviceStatus(const QByteArray &contentType, const QByteArray &body);

    CloudServiceOptions options() const;
    void setOptions(const CloudServiceOptions &options);
    QVector<ReceivedJob> jobs() const;
    CloudServiceCounts counts() const;

private:
    struct Progress
    {
        QString dsNumber;
        QString fault;
        int polls = 0;
    };

    ServiceAnswer receive(const SubmissionRequest &request, const QByteArray &body);
    QString drawFault();

    mutable QMutex m_mutex;
    CloudServiceOptions m_options;
    CloudServiceCounts m_counts;
    QVector<ReceivedJob> m_jobs;
    QHash<QString, Progress> m_progress; ///< of the accepted jobs, by veltraId
    int m_lastNumber = 0;
    QRandomGenerator m_random;
};
