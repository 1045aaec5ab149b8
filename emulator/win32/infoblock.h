#pragma once

#include "emulator/win32/call.h"
#include "emulator/win32/model/basics.h"

#include <cstring>
#include <utility>
#include <vector>

namespace Win32Emulator {

/// The buffer that a caller of a two-call function offers.
struct CallerBuffer
{
    LPBYTE bytes;
    DWORD size;
    LPDWORD needed;
};

/// The part of a caller's buffer that takes the texts. Without memory it only counts.
class TextArea
{
public:
    explicit TextArea(LPBYTE memory = nullptr)
        : m_memory(memory)
    {
    }

    /// Where the zero-terminated text lies.
    LPWSTR put(const std::string &text)
    {
        const std::u16string wide = toUtf16(text);
        const std::size_t bytes = (wide.size() + 1) * sizeof(WCHAR);
        const LPBYTE place = m_memory ? m_memory + m_used : nullptr;
        if (place)
            std::memcpy(place, wide.c_str(), bytes);
        m_used += bytes;
        return reinterpret_cast<LPWSTR>(place);
    }

    std::size_t used() const { return m_used; }

private:
    LPBYTE m_memory;
    std::size_t m_used = 0;
};

/// Writes one structure per record, then all their texts, into the caller's buffer, and reports the size they need and
/// the number of structures. Throws ERROR_INSUFFICIENT_BUFFER if the buffer is smaller. `fill` sets the members of a
/// zeroed structure.
template <typename Info, typename Record>
void packList(const std::vector<Record> &records, void (*fill)(Info &, const Record &, TextArea &),
              const CallerBuffer &buffer, LPDWORD returned)
{
    require(buffer.needed && returned, ERROR_INVALID_PARAMETER);
    *returned = 0;
    const auto pack = [&](LPBYTE place, TextArea texts) {
        for (const Record &record : records) {
            Info info = {};
            fill(info, record, texts);
            if (place)
                std::memcpy(std::exchange(place, place + sizeof info), &info, sizeof info);
        }
        return texts.used();
    };
    const std::size_t structures = records.size() * sizeof(Info);
    *buffer.needed = static_cast<DWORD>(structures + pack(nullptr, TextArea()));
    require(buffer.size >= *buffer.needed, ERROR_INSUFFICIENT_BUFFER);
    require(buffer.bytes || records.empty(), ERROR_INVALID_USER_BUFFER);
    if (buffer.bytes)
        pack(buffer.bytes, TextArea(buffer.bytes + structures));
    *returned = static_cast<DWORD>(records.size());
}

} // namespace Win32Emulator
