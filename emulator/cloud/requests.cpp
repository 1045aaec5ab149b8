#include "emulator/cloud/requests.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

namespace {

QString contentTypeFault(const QByteArray &contentType)
{
    const QByteArray compact = contentType.toLower().replace(' ', "");
    if (compact == "application/json" || compact == "application/json;charset=utf-8")
        return QString();
    return QStringLiteral("content type is not application/json;charset=UTF-8");
}

QString serialFault(const QJsonValue &serial)
{
    static const QRegularExpression pattern(QStringLiteral("\\A[0-9A-F]{16}\\z"));
    if (serial.isString() && pattern.match(serial.toString()).hasMatch())
        return QString();
    return QStringLiteral("a serial in dsNumber is 16 upper-case hexadecimal digits");
}

/// Reads the JSON object in `body`, or returns what is wrong with the request.
QString readObject(const QByteArray &contentType, const QByteArray &body, QJsonObject *object)
{
    QString fault = contentTypeFault(contentType);
    if (!fault.isEmpty())
        return fault;
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(body, &error);
    if (error.error != QJsonParseError::NoError)
        return error.errorString();
    if (!document.isObject())
        return QStringLiteral("the body is not a JSON object");
    *object = document.object();
    return QString();
}

QString submissionFault(const QJsonObject &object)
{
    const QJsonArray printers = object.value(QLatin1String("dsNumber")).toArray();
    if (printers.size() != 1)
        return QStringLiteral("dsNumber is not an array with one serial");
    if (object.value(QLatin1String("taskPersist")) != QJsonValue(false))
        return QStringLiteral("taskPersist is not false");
    if (object.value(QLatin1String("async")) != QJsonValue(true))
        return QStringLiteral("async is not true");
    if (object.value(QLatin1String("dataType")) != QJsonValue(QStringLiteral("base64")))
        return QStringLiteral("dataType is not base64");
    if (!object.value(QLatin1String("printData")).isString())
        return QStringLiteral("printData is not a string");
    return serialFault(printers.first());
}

} // namespace

SubmissionRequest readSubmission(const QByteArray &contentType, const QByteArray &body)
{
    SubmissionRequest request;
    QJsonObject object;
    request.fault = readObject(contentType, body, &object);
    if (request.fault.isEmpty())
        request.fault = submissionFault(object);
    if (!request.fault.isEmpty())
        return request;
    request.dsNumber = object.value(QLatin1String("dsNumber")).toArray().first().toString();

    const QByteArray text = object.take(QLatin1String("printData")).toString().toLatin1();
    const auto decoded = QByteArray::fromBase64Encoding(text, QByteArray::AbortOnBase64DecodingErrors);
    // The decoder alone accepts a text without its padding.
    if (!decoded || text.size() % 4 != 0)
        request.fault = QStringLiteral("printData is not base64 with padding");
    request.bytes = decoded.decoded;
    return request;
}

DeviceStatusRequest readDeviceStatus(const QByteArray &contentType, const QByteArray &body)
{
    DeviceStatusRequest request;
    QJsonObject object;
    request.fault = readObject(contentType, body, &object);
    if (request.fault.isEmpty())
        request.fault = serialFault(object.value(QLatin1String("dsNumber")));
    request.dsNumber = object.value(QLatin1String("dsNumber")).toString();
    return request;
}
