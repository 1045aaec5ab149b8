#include "emulator/win32/model/names.h"

#include <locale.h>
#include <wctype.h>

#include <string>

namespace Win32Emulator::Model {

namespace {

constexpr char32_t replacement = 0xFFFD;

/// Bytes of the character that a lead byte announces; 0 when it is none.
std::size_t lengthByLead(unsigned char lead)
{
    if (lead < 0x80)
        return 1;
    if (lead < 0xC2 || lead > 0xF4)
        return 0;
    return lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
}

wint_t upperCase(char32_t character)
{
    // The process's own locale may know ASCII only.
    static const locale_t unicode = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    const auto wide = static_cast<wint_t>(character);
    return unicode ? towupper_l(wide, unicode) : towupper(wide);
}

} // namespace

char32_t takeCharacter(std::string_view &text)
{
    const auto lead = static_cast<unsigned char>(text.front());
    const std::size_t length = lengthByLead(lead);
    text.remove_prefix(1);
    if (length == 1)
        return lead;
    if (length == 0 || length - 1 > text.size())
        return replacement;
    char32_t character = lead & (0x7FU >> length);
    for (std::size_t i = 0; i + 1 < length; ++i) {
        const auto tail = static_cast<unsigned char>(text[i]);
        if ((tail & 0xC0) != 0x80)
            return replacement;
        character = character << 6 | (tail & 0x3FU);
    }
    text.remove_prefix(length - 1);
    return character;
}

int compareNames(std::string_view left, std::string_view right)
{
    while (!left.empty() && !right.empty()) {
        const wint_t a = upperCase(takeCharacter(left));
        const wint_t b = upperCase(takeCharacter(right));
        if (a != b)
            return a < b ? -1 : 1;
    }
    return static_cast<int>(!left.empty()) - static_cast<int>(!right.empty());
}

} // namespace Win32Emulator::Model
