#include "cloud/cloud.h"

#include "cloud/boundedmanager.h"
#include "cloud/jobbody.h"
#include "cloud/protocol.h"

#include <QDebug>
#include <QNetworkRequest>
#include <QUrl>

#include <new>
#include <utility>

Cloud::Cloud(const QString &address, const DriverInfo &record, QObject *parent)
    : QObject(parent)
    , m_manager(new BoundedManager(this))
    , m_record(record)
    , m_address(address)
{
    connect(m_manager, &QNetworkAccessManager::finished, this, &Cloud::cloudReceive);
}

Cloud::~Cloud()
{
    qDebug() << "17_Cloud destruct";
}

bool Cloud::post(QByteArray job, qint64 jobSize, const QString &jobLabel)
{
    m_jobLabel = jobLabel;
    m_jobSize = jobSize;
    const QUrl url = QUrl::fromUserInput(m_address);
    if (!url.isValid()) {
        qDebug() << tr("28_Cloud Invalid URL: %1: %2").arg(m_address, url.errorString());
        return false;
    }
    try {
        job = CloudProtocol::submissionBody(m_record.cloudSn, std::move(job));
    } catch (const std::bad_alloc &) {
        refuse(jobSize, jobLabel, "no memory for the request body");
        return true;
    }
    auto *body = new JobBody(std::move(job));
    m_reply = m_manager->post(submission(url, body->bytesAvailable()), body);
    body->setParent(m_reply);
    qDebug() << "45_Cloud request post to:" << url << ",and m_reply=" << m_reply;
    return true;
}

void Cloud::refuse(qint64 jobSize, const QString &jobLabel, const char *reason)
{
    qWarning() << "Cloud: not posted:" << jobLabel << "of" << jobSize << "bytes:" << reason;
    m_jobLabel = jobLabel;
    m_jobSize = jobSize;
    report(QNetworkReply::UnknownContentError, QJsonDocument());
    deleteLater();
}

QNetworkRequest Cloud::submission(const QUrl &url, qint64 bodySize) const
{
    QNetworkRequest request(url);
    request.setHeader(QNetworkRequest::ContentTypeHeader, CloudProtocol::contentType);
    // Both keep Qt from copying the whole body before it sends the first byte.
    request.setHeader(QNetworkRequest::ContentLengthHeader, bodySize);
    request.setAttribute(QNetworkRequest::DoNotBufferUploadDataAttribute, true);
    return request;
}

void Cloud::cloudReceive(QNetworkReply *reply)
{
    if (reply->error() != QNetworkReply::NoError) {
        qDebug() << QStringLiteral("69_Cloud receive err: %1, code: %2")
                        .arg(reply->errorString(), QString::number(m_reply->error()));
        report(reply->error(), QJsonDocument());
    } else {
        report(reply->error(), answer(reply));
    }
    reply->deleteLater();
    deleteLater();
}

QJsonDocument Cloud::answer(QNetworkReply *reply) const
{
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    qDebug() << QStringLiteral("56_Cloud %1 %2 reply no error,status code is %3")
                    .arg(m_record.printerName, m_record.cloudSn, QString::number(status));
    QJsonDocument jd = QJsonDocument::fromJson(reply->readAll());
    qDebug() << "56_Cloud get" << jd;
    return jd;
}

void Cloud::report(QNetworkReply::NetworkError error, const QJsonDocument &answer)
{
    emit cloudResule(error, CloudProtocol::submissionResult(answer, m_jobLabel, m_jobSize));
}
