#pragma once

#include "emulator/win32/api.h"
#include "emulator/win32/model/error.h"
#include "emulator/win32/utf16.h"

#include <cstring>
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

    /// Where the text stands, zero-terminated.
    LPWSTR put(const std::string &text)
    {
        const std::u16string wide = toUtf16(text);
        const std::size_t bytes = (wide.size() + 1) * sizeof(WCHAR);
        LPBYTE place = nullptr;
        if (m_memory) {
            place = m_memory + m_used;
            std::memcpy(place, wide.c_str(), bytes);
        }
        m_used += bytes;
        return reinterpret_cast<LPWSTR>(place);
    }

    std::size_t used() const { return m_used; }

private:
    LPBYTE m_memory;
    std::size_t m_used = 0;
};

/// Throws ERROR_INVALID_LEVEL unless the level asked for is the one the emulator knows.
inline void requireLevel(DWORD level, DWORD known)
{
    if (level != known)
        throw Model::Error(ERROR_INVALID_LEVEL, "no such level of information");
}

inline void requirePlace(const void *place)
{
    if (!place)
        throw Model::Error(ERROR_INVALID_PARAMETER, "no place for a result");
}

/// Lays one structure for each record, then all their texts, into the caller's buffer, and tells the size they need;
/// throws ERROR_INSUFFICIENT_BUFFER when the buffer is smaller. `fill` sets the members of a zeroed structure.
template <typename Info, typename Record>
void packInfo(const std::vector<Record> &records, void (*fill)(Info &, const Record &, TextArea &),
              const CallerBuffer &buffer)
{
    requirePlace(buffer.needed);
    TextArea count;
    for (const Record &record : records) {
        Info info = {};
        fill(info, record, count);
    }
    const std::size_t structures = records.size() * sizeof(Info);
    *buffer.needed = static_cast<DWORD>(structures + count.used());
    if (buffer.size < *buffer.needed)
        throw Model::Error(ERROR_INSUFFICIENT_BUFFER, "the buffer is too small");
    if (!buffer.bytes && *buffer.needed > 0)
        throw Model::Error(ERROR_INVALID_USER_BUFFER, "no buffer of the size that was told");
    TextArea texts(buffer.bytes + structures);
    LPBYTE place = buffer.bytes;
    for (const Record &record : records) {
        Info info = {};
        fill(info, record, texts);
        std::memcpy(place, &info, sizeof info);
        place += sizeof info;
    }
}

/// The same for a function that enumerates: it also tells the number of structures, 0 on failure.
template <typename Info, typename Record>
void packList(const std::vector<Record> &records, void (*fill)(Info &, const Record &, TextArea &),
              const CallerBuffer &buffer, LPDWORD returned)
{
    requirePlace(returned);
    *returned = 0;
    packInfo(records, fill, buffer);
    *returned = static_cast<DWORD>(records.size());
}

} // namespace Win32Emulator
