#include "cloud/boundedmanager.h"

#include <QNetworkReply>

namespace {
constexpr qint64 largestAnswer = 1024 * 1024; // bytes
/// Qt's network thread stops reading here, however late the abort comes. It stops a little earlier in a chunked answer,
/// which must still be beyond largestAnswer.
constexpr qint64 readBufferSize = 2 * largestAnswer;
} // namespace

QNetworkReply *BoundedManager::createRequest(Operation operation, const QNetworkRequest &request, QIODevice *body)
{
    // Without this header Qt requests gzip and decompresses up to a thousandfold before the size can be checked.
    QNetworkRequest bounded(request);
    bounded.setRawHeader("Accept-Encoding", "identity");
    QNetworkReply *reply = QNetworkAccessManager::createRequest(operation, bounded, body);
    // Queued: Qt discards a size that is set before a request with a body has started.
    QMetaObject::invokeMethod(
        reply, [reply] { reply->setReadBufferSize(readBufferSize); }, Qt::QueuedConnection);
    // A compressed answer is aborted at once: its few bytes could decompress to any size.
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
