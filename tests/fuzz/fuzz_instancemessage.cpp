// What arrives on the socket of the single instance, in chunks of any size.

#include "tests/fuzz/support.h"

#include "src/app/instancemessage.h"

#include <QIODevice>

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

namespace {

using namespace InstanceMessage;

constexpr std::size_t longestChunk = 255; // bytes
constexpr qint64 headerSize = 4;          // bytes

/// A socket's reading side.
class Stream : public QIODevice
{
public:
    Stream() { open(QIODevice::ReadOnly); }
    void arrive(const std::string &chunk) { m_waiting.append(chunk.data(), int(chunk.size())); }
    bool isSequential() const override { return true; }
    qint64 bytesAvailable() const override { return m_waiting.size() + QIODevice::bytesAvailable(); }

protected:
    qint64 readData(char *out, qint64 most) override
    {
        const int size = int(std::min(most, qint64(m_waiting.size())));
        if (size == 0)
            return 0; // without a place for it
        std::memcpy(out, m_waiting.constData(), std::size_t(size));
        m_waiting.remove(0, size);
        return size;
    }
    qint64 writeData(const char *, qint64) override { return -1; }

private:
    QByteArray m_waiting;
};

/// Reads and checks what that has taken.
Reading readFrom(Stream &stream)
{
    const qint64 before = stream.bytesAvailable();
    const Reading reading = read(stream);
    const qint64 taken = before - stream.bytesAvailable();
    require(taken == 0 || reading.state == State::Complete, "only a complete message is taken");
    require(taken <= headerSize + qint64(sizeLimit), "no message exceeds the limit");
    require(reading.state != State::Complete || taken >= headerSize, "a message has a header");
    require(reading.state == State::Complete || reading.text.isEmpty(), "only a complete message has a text");
    return reading;
}

void checkChunks(const std::vector<std::string> &chunks)
{
    Stream whole, chunked;
    for (const std::string &chunk : chunks)
        whole.arrive(chunk);
    Reading inChunks = readFrom(chunked);
    std::size_t arrived = 0;
    while (inChunks.state == State::Incomplete && arrived < chunks.size()) {
        chunked.arrive(chunks[arrived++]);
        inChunks = readFrom(chunked);
    }
    for (; arrived < chunks.size(); ++arrived)
        chunked.arrive(chunks[arrived]);
    const Reading atOnce = readFrom(whole);
    require(atOnce.state == inChunks.state && atOnce.text == inChunks.text, "the chunks do not matter");
    require(whole.readAll() == chunked.readAll(), "what follows stays");
}

void checkRoundTrip(const QString &text)
{
    const QByteArray frame = framed(text);
    Stream stream;
    stream.arrive(frame.toStdString());
    const Reading reading = readFrom(stream);
    require(reading.state == State::Complete && reading.text == text && stream.atEnd(), "what is sent arrives");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FuzzedDataProvider input(data, size);
    std::vector<std::string> chunks;
    while (input.remaining_bytes() > 0) // the sizes stand at the input's end, the bytes in front
        chunks.push_back(input.ConsumeBytesAsString(input.ConsumeIntegralInRange<std::size_t>(1, longestChunk)));
    checkChunks(chunks);
    const QString text = QString::fromUtf8(bytesOf(data, size));
    if (text.toUtf8().size() <= int(sizeLimit))
        checkRoundTrip(text);
    return 0;
}
