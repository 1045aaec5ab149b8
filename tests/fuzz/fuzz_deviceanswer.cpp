// What the cloud service answers to the question for a device's state.

#include "tests/fuzz/json.h"

#include "src/cloud/protocol.h"

#include <algorithm>
#include <iterator>

namespace {

using namespace CloudProtocol;

void checkAnswer(const QJsonObject &answer)
{
    constexpr int knownCodes[] = {0, 1001, 4002};
    const DeviceState state = deviceState(answer);
    const QJsonValue code = answer.value(Key::code);
    const bool known = std::find(std::begin(knownCodes), std::end(knownCodes), code.toInt()) != std::end(knownCodes);
    require((state == DeviceState::Unchanged) == !known, "a code that is not known, and no other, changes nothing");
    require(code.isDouble() || state != DeviceState::Unchanged, "a code that is no number reads as 0");

    QJsonObject reduced;
    for (const QLatin1String &key : {Key::code, Key::data}) {
        if (answer.contains(key))
            reduced.insert(key, answer.value(key));
    }
    require(deviceState(reduced) == state, "nothing else in the answer counts");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray bytes = bytesOf(data, size);
    checkAnswer(jsonOf(bytes).object());
    checkAnswer(JsonMaker(bytes).document().object());
    return 0;
}
