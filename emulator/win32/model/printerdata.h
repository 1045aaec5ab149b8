#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace Win32Emulator::Model {

/// Stores a value of a queue's printer data, any type, exactly these bytes.
void setPrinterData(std::int64_t printer, const std::string &value, unsigned type, const std::string &bytes);

/// Type and bytes of a value, when there is such a value.
std::optional<std::pair<unsigned, std::string>> printerData(std::int64_t printer, const std::string &value);

} // namespace Win32Emulator::Model
