#pragma once

#include <QByteArray>
#include <QString>

/// A request. `fault` gives the reason if it is malformed; the rest is undefined then.
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

/// Strict readers: a client that relies on leniency should fail here rather than at the real service.
SubmissionRequest readSubmission(const QByteArray &contentType, const QByteArray &body);
DeviceStatusRequest readDeviceStatus(const QByteArray &contentType, const QByteArray &body);
