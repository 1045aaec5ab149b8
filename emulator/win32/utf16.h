#pragma once

#include "emulator/win32/api.h"

#include <string>

namespace Win32Emulator {

/// Zero-terminated UTF-16 as UTF-8; a lone surrogate becomes U+FFFD, a null pointer an empty text.
std::string fromUtf16(LPCWSTR text);

/// UTF-8 as UTF-16; a malformed byte becomes U+FFFD.
std::u16string toUtf16(const std::string &text);

} // namespace Win32Emulator
