#include "cloud/statethread.h"

#include "cloud/boundedmanager.h"
#include "cloud/protocol.h"

#include <QDebug>

StateThread::StateThread(const QString &baseAddress, const QString &veltraId, QObject *parent,
                         std::chrono::milliseconds answerTimeout)
    : QObject(parent)
    , m_manager(new BoundedManager(this))
    , m_request(CloudProtocol::resultUrl(baseAddress, veltraId))
{
    m_request.setTransferTimeout(static_cast<int>(answerTimeout.count()));
    connect(m_manager, &QNetworkAccessManager::finished, this, &StateThread::cloudReceive);
}

StateThread::~StateThread()
{
    qDebug() << "16_StateThread destruct";
}

void StateThread::request()
{
    m_reply = m_manager->get(m_request);
    qDebug() << "25_StateThread 查询打印状态" << m_request.url() << m_reply;
}

void StateThread::cloudReceive(QNetworkReply *reply)
{
    qDebug() << "30_StateThread reply=" << reply;
    const QNetworkReply::NetworkError error = reply->error();
    if (error == QNetworkReply::NoError) {
        emit stateResule(error, answer(reply));
    } else {
        qDebug() << QStringLiteral("43_StateThread receive err: %1, code: %2")
                        .arg(reply->errorString(), QString::number(error));
        emit stateResule(error, QJsonDocument());
    }
    reply->deleteLater();
}

QJsonDocument StateThread::answer(QNetworkReply *reply) const
{
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    qDebug() << QStringLiteral("36_StateThread status code is %3").arg(status);
    QJsonDocument jd = QJsonDocument::fromJson(reply->readAll());
    qDebug() << jd;
    return jd;
}
