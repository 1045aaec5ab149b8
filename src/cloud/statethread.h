#pragma once

#include <QJsonDocument>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QObject>

#include <chrono>

class QNetworkAccessManager;

/// Asks the cloud service for the result of one submitted job. Despite its name it is not a thread: it lives on the
/// main thread and belongs to the printer's card, which asks again until the answer is final and then deletes it.
class StateThread : public QObject
{
    Q_OBJECT
public:
    /// `baseAddress` is the service's, `veltraId` the job identifier from the submission's answer. A request fails with
    /// OperationCanceledError when nothing arrives for `answerTimeout`: a connection that a sleeping computer has lost
    /// would otherwise keep the printer busy for hours.
    StateThread(const QString &baseAddress, const QString &veltraId, QObject *parent = nullptr,
                std::chrono::milliseconds answerTimeout = std::chrono::minutes(5));
    ~StateThread() override;

    /// Asks once; stateResule follows. The caller waits for it before it asks again.
    void request();

signals:
    /// The answer. The document is empty after a network error, and when the answer is not JSON.
    void stateResule(QNetworkReply::NetworkError error, const QJsonDocument &jd);

public slots:
    void cloudReceive(QNetworkReply *reply);

private:
    QJsonDocument answer(QNetworkReply *reply) const;

    QNetworkAccessManager *m_manager;
    QNetworkReply *m_reply = nullptr;
    QNetworkRequest m_request;
};
