#include "app/instancemessage.h"

#include <QIODevice>
#include <QtEndian>

namespace {

constexpr qint64 headerSize = sizeof(quint32);

} // namespace

namespace InstanceMessage {

QByteArray framed(const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    QByteArray frame(headerSize, '\0');
    qToBigEndian(static_cast<quint32>(bytes.size()), frame.data());
    return frame + bytes;
}

Reading read(QIODevice &device)
{
    if (device.bytesAvailable() < headerSize)
        return {State::Incomplete, QString()};
    const auto size = qFromBigEndian<quint32>(device.peek(headerSize).constData());
    if (size > sizeLimit)
        return {State::TooLong, QString()};
    if (device.bytesAvailable() < headerSize + size)
        return {State::Incomplete, QString()};
    return {State::Complete, QString::fromUtf8(device.read(headerSize + size).mid(headerSize))};
}

} // namespace InstanceMessage
