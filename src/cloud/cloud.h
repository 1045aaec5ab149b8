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

    /// Sends the job, which is best moved here: its memory becomes the body's. `jobSize` (bytes) and `jobLabel` come
    /// back in the result. False when the address is no URL: nothing is sent then and no signal follows.
    bool post(QByteArray job, int jobSize, const QString &jobLabel);

    /// The reply of the post, null before it. It goes together with this object soon after it finished: a caller that
    /// runs an event loop in between holds it in a QPointer. Aborting it gives OperationCanceledError as the result.
    QNetworkReply *currentReply() const { return m_reply; }

signals:
    /// The answer's JSON object, or an empty one when there is none, with "jobneed" (the job's label) and "jobSize"
    /// (its length in bytes) put into it.
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
    int m_jobSize = 0;
};
