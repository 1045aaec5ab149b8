#pragma once

#include <QNetworkAccessManager>

/// The network access manager of all requests to the cloud service: an answer of more than 1 MiB, or a compressed one,
/// is aborted, which its receiver sees as OperationCanceledError, a network failure like any other.
class BoundedManager : public QNetworkAccessManager
{
    Q_OBJECT
public:
    using QNetworkAccessManager::QNetworkAccessManager;

protected:
    QNetworkReply *createRequest(Operation operation, const QNetworkRequest &request, QIODevice *body) override;
};
