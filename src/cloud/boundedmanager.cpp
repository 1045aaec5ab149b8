#include "cloud/boundedmanager.h"

#include <QNetworkReply>

namespace {
constexpr qint64 largestAnswer = 1024 * 1024; // bytes
/// Where Qt's network thread stops reading, however late the abort comes. Of a chunked answer it stops somewhat
/// earlier, which must still be beyond largestAnswer.
constexpr qint64 readBufferSize = 2 * largestAnswer;
} // namespace

QNetworkReply *BoundedManager::createRequest(Operation operation, const QNetworkRequest &request, QIODevice *body)
{
    // Without this header Qt asks for gzip and unpacks whatever comes, a thousandfold, before anybody can look at it.
    QNetworkRequest bounded(request);
    bounded.setRawHeader("Accept-Encoding", "identity");
    QNetworkReply *reply = QNetworkAccessManager::createRequest(operation, bounded, body);
    // Queued: Qt forgets a size that is set before a request with a body has started.
    QMetaObject::invokeMethod(
        reply, [reply] { reply->setReadBufferSize(readBufferSize); }, Qt::QueuedConnection);
    // A service that compresses all the same is not understood; its few bytes could stand for any number.
    connect(reply, &QNetworkReply::metaDataChanged, reply, [reply] {
        if (reply->hasRawHeader("Content-Encoding"))
            reply->abort();
    });
    connect(reply, &QNetworkReply::readyRead, reply, [reply] {
        if (reply->bytesAvailable() > largestAnswer)
            reply->abort();
    });
    return reply;
}
