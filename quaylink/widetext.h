#pragma once

#include <windows.h>

#include <cstddef>
#include <string>

namespace Quaylink {

using WideString = std::basic_string<WCHAR>;

/// An ASCII text as UTF-16. WCHAR is char16_t or wchar_t, so no literal fits both.
inline WideString wide(const char *text)
{
    const std::string ascii(text);
    return {ascii.begin(), ascii.end()};
}

/// True when the text is neither null nor empty and fits into `capacity` units with its terminating zero. Reads no
/// further than that.
inline bool fits(LPCWSTR text, std::size_t capacity)
{
    if (!text || text[0] == 0)
        return false;
    for (std::size_t i = 0; i < capacity; ++i) {
        if (text[i] == 0)
            return true;
    }
    return false;
}

/// Copies a text that fits; the rest of the destination keeps its zeros.
template <std::size_t capacity>
void copyText(WCHAR (&destination)[capacity], LPCWSTR text)
{
    for (std::size_t i = 0; text[i] != 0; ++i)
        destination[i] = text[i];
}

} // namespace Quaylink
