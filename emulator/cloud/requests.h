#pragma once

#include <QByteArray>
#include <QString>

/// What a request says; of a malformed one `fault` tells the reason and the rest is undefined.
struct SubmissionRequest
{
    QString fault;
    QString dsNumber;
    QByteArray bytes;
};

struct DeviceStatusRequest
{
    QString fault;
    QString dsNumber;
};

/// Strict readers: a client that relies on leniency is to fail here rather than at the real service.
SubmissionRequest readSubmission(const QByteArray &contentType, const QByteArray &body);
DeviceStatusRequest readDeviceStatus(const QByteArray &contentType, const QByteArray &body);
