#pragma once

#include <QByteArray>

/// The head of an HTTP message: all up to the empty line, that included.
namespace HttpHead {

inline constexpr char end[] = "\r\n\r\n";

/// 0 while the head is not complete.
inline int size(const QByteArray &message)
{
    const int at = message.indexOf(end);
    return at < 0 ? 0 : at + int(sizeof end) - 1;
}

/// What a complete head says of the length of the body; 0 when it says nothing.
inline int contentLength(const QByteArray &message)
{
    const QByteArray key = "\r\ncontent-length:";
    const QByteArray head = message.left(size(message)).toLower();
    const int at = head.indexOf(key);
    return at < 0 ? 0 : head.mid(at + key.size()).split('\r').first().trimmed().toInt();
}

} // namespace HttpHead
