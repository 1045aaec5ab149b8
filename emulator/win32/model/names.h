#pragma once

#include <string_view>

namespace Win32Emulator::Model {

/// The character at the front of a UTF-8 text, which it is taken from. A malformed byte counts as a U+FFFD.
char32_t takeCharacter(std::string_view &text);

/// Orders two UTF-8 names as Windows compares queue, port, driver and value names: without regard to case, in any
/// script. Negative, 0 or positive.
int compareNames(std::string_view left, std::string_view right);

} // namespace Win32Emulator::Model
