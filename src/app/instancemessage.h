#pragma once

#include <QByteArray>
#include <QString>

class QIODevice;

/// How a text goes from a later instance to the first: its length as 32 bits in network order, then its UTF-8 bytes.
/// Pure functions, any thread.
namespace InstanceMessage {

/// The longest text that is taken.
inline constexpr quint32 sizeLimit = 65536; // bytes

enum class State { Incomplete, TooLong, Complete };

struct Reading
{
    State state = State::Incomplete;
    QString text; ///< of a complete message
};

QByteArray framed(const QString &text);

/// Takes one message from the device; what follows it stays there. While it is incomplete, or when it is too long,
/// nothing is taken, so the call is repeated when more has arrived.
Reading read(QIODevice &device);

} // namespace InstanceMessage
