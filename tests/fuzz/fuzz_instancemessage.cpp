// What arrives on the socket of the single instance, in chunks of any size.

#include "tests/fuzz/support.h"

#include "src/app/instancemessage.h"

#include <QBuffer>

namespace {

using namespace InstanceMessage;

QString outcome(State state, qint64 bytesTaken, const QString &text)
{
    return QStringLiteral("%1;%2;").arg(int(state)).arg(bytesTaken) + text;
}

QString outcomeOf(QByteArray bytes)
{
    QBuffer device(&bytes);
    device.open(QIODevice::ReadOnly);
    const Reading reading = read(device);
    return outcome(reading.state, device.pos(), reading.text);
}

} // namespace

void checkInput(const QByteArray &bytes)
{
    const QString incomplete = outcome(State::Incomplete, 0, QString());
    const QString tooLong = outcome(State::TooLong, 0, QString());
    const QString whole = outcomeOf(bytes);
    for (int arrived = 0; arrived < bytes.size(); arrived += 1 + arrived / 4) {
        const QString part = outcomeOf(bytes.left(arrived));
        require(part == incomplete || part == whole, "what arrives later does not change a message");
    }
    const QString text = QString::fromUtf8(bytes);
    const QByteArray frame = framed(text);
    const bool isShort = text.toUtf8().size() <= int(sizeLimit);
    require(outcomeOf(frame + bytes) == (isShort ? outcome(State::Complete, frame.size(), text) : tooLong),
            "what is sent arrives unless it is too long, and what follows it stays");
    require(outcomeOf(frame.left(frame.size() - 1)) == (isShort ? incomplete : tooLong), "a part is not the message");
}
