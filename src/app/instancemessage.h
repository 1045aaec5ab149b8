#pragma once

#include <QByteArray>
#include <QString>

class QIODevice;

/// The format of a message from a later instance to the first: the length as 32 bits in network byte order, then the
/// UTF-8 text. Pure functions, any thread.
namespace InstanceMessage {

/// A longer text is rejected.
inline constexpr quint32 sizeLimit = 65536; // bytes

enum class State { Incomplete, TooLong, Complete };

struct Reading
{
    State state = State::Incomplete;
    QString text; ///< of a complete message
};

QByteArray framed(const QString &text);

/// Reads one message; what follows it stays in the device. An incomplete or too long message is not consumed: repeat
/// the call when more data has arrived.
Reading read(QIODevice &device);

} // namespace InstanceMessage
