#include "emulator/win32/utf16.h"

#include "emulator/win32/model/names.h"

namespace Win32Emulator {

namespace {

constexpr char32_t replacement = 0xFFFD;

bool isHighSurrogate(char32_t unit)
{
    return unit >= 0xD800 && unit < 0xDC00;
}

bool isLowSurrogate(char32_t unit)
{
    return unit >= 0xDC00 && unit < 0xE000;
}

char32_t takeCharacter(LPCWSTR &text)
{
    const char32_t first = *text++;
    if (isHighSurrogate(first) && isLowSurrogate(*text))
        return 0x10000 + ((first - 0xD800) << 10) + (static_cast<char32_t>(*text++) - 0xDC00);
    return isHighSurrogate(first) || isLowSurrogate(first) ? replacement : first;
}

void append(std::string &text, char32_t character)
{
    const auto tail = [&](int shift) { text += static_cast<char>(0x80 | (character >> shift & 0x3F)); };
    if (character < 0x80) {
        text += static_cast<char>(character);
    } else if (character < 0x800) {
        text += static_cast<char>(0xC0 | character >> 6);
        tail(0);
    } else if (character < 0x10000) {
        text += static_cast<char>(0xE0 | character >> 12);
        tail(6);
        tail(0);
    } else {
        text += static_cast<char>(0xF0 | character >> 18);
        tail(12);
        tail(6);
        tail(0);
    }
}

} // namespace

std::string fromUtf16(LPCWSTR text)
{
    std::string result;
    while (text && *text)
        append(result, takeCharacter(text));
    return result;
}

std::u16string toUtf16(const std::string &text)
{
    std::u16string result;
    std::string_view rest = text;
    while (!rest.empty()) {
        const char32_t character = Model::takeCharacter(rest);
        if (character < 0x10000) {
            result += static_cast<char16_t>(character);
        } else {
            result += static_cast<char16_t>(0xD800 + ((character - 0x10000) >> 10));
            result += static_cast<char16_t>(0xDC00 + ((character - 0x10000) & 0x3FF));
        }
    }
    return result;
}

} // namespace Win32Emulator
