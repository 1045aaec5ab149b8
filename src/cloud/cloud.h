#pragma once

#include "store/driverinfo.h"

#include <QByteArray>
#include <QJsonDocument>
#include <QNetworkReply>
#include <QObject>

class QNetworkAccessManager;

/// Submits one print job to the cloud service and reports the answer. Lives on the thread that creates it, which has to
/// run an event loop; serves exactly one job and deletes itself after its one signal.
class Cloud : public QObject
{
    Q_OBJECT
public:
    /// `address` is the full submission address, `record` the printer's record.
    Cloud(const QString &address, const DriverInfo &record, QObject *parent = nullptr);
    ~Cloud() override;

    /// Sends the job; pass it with std::move(), the buffer is reused for the body. `jobSize` (bytes) and `jobLabel`
    /// come back in the result. A job whose body does not fit into memory is refused. False when the address is not a
    /// URL: nothing is sent then and no signal follows.
    bool post(QByteArray job, qint64 jobSize, const QString &jobLabel);

    /// Instead of post(): reports UnknownContentError at once, as if the service had found the job too large. `reason`
    /// is for the log.
    void refuse(qint64 jobSize, const QString &jobLabel, const char *reason);

    /// The reply to the post; null before it and after a refusal. It is deleted with this object soon after it has
    /// finished: hold it in a QPointer while an event loop runs. Aborting it gives OperationCanceledError as the
    /// result.
    QNetworkReply *currentReply() const { return m_reply; }

signals:
    /// The answer's JSON object, or an empty one when there is none, with "jobneed" (the job's label) and "jobSize"
    /// (its length in bytes) added.
    void cloudResule(QNetworkReply::NetworkError error, const QJsonDocument &jd);

public slots:
    void cloudReceive(QNetworkReply *reply);

private:
    QNetworkRequest submission(const QUrl &url, qint64 bodySize) const;
    QJsonDocument answer(QNetworkReply *reply) const;
    void report(QNetworkReply::NetworkError error, const QJsonDocument &answer);

    QNetworkAccessManager *m_manager;
    QNetworkReply *m_reply = nullptr;
    DriverInfo m_record;
    QString m_address;
    QString m_jobLabel;
    qint64 m_jobSize = 0;
};
