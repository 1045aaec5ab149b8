#include "emulator/win32/infoblock.h"
#include "emulator/win32/queue.h"

using namespace Win32Emulator;

namespace {

/// Whether Windows counts one more character of a registry text than its caller did: it looks for a zero one that the
/// caller may have forgotten, and with an odd size it looks half of it up past the end of the caller's bytes.
[[gnu::noinline, gnu::no_sanitize_address]] bool isLengthened(const BYTE *bytes, DWORD size)
{
    return size % 2 == 1 && size > 2 && (bytes[size - 2] || bytes[size - 3]) && !bytes[size - 1] && !bytes[size];
}

/// Registry values have a protocol of their own: no buffer, or one too small, gives ERROR_MORE_DATA.
void readValue(const std::pair<unsigned, std::string> &value, LPDWORD type, const CallerBuffer &buffer)
{
    const std::string &bytes = value.second;
    if (type)
        *type = value.first;
    *buffer.needed = static_cast<DWORD>(bytes.size());
    if (bytes.empty())
        return;
    require(buffer.bytes && buffer.size >= bytes.size(), ERROR_MORE_DATA);
    std::memcpy(buffer.bytes, bytes.data(), bytes.size());
}

} // namespace

DWORD WINAPI GetPrinterDataW(HANDLE handle, LPWSTR name, LPDWORD type, LPBYTE buffer, DWORD size, LPDWORD needed)
{
    return codeCall({"GetPrinterDataW"}, [&] {
        const Printer queue = readableQueue(handle);
        require(needed, ERROR_INVALID_PARAMETER);
        *needed = 0;
        const auto value = printerData(queue.name, fromUtf16(name));
        require(value.has_value(), ERROR_FILE_NOT_FOUND);
        readValue(*value, type, {buffer, size, needed});
    });
}

DWORD WINAPI SetPrinterDataW(HANDLE handle, LPWSTR name, DWORD type, LPBYTE bytes, DWORD size)
{
    return codeCall({"SetPrinterDataW"}, [&] {
        const Printer queue = administeredQueue(handle);
        require(name && (bytes || size == 0), ERROR_INVALID_PARAMETER);
        std::string value(reinterpret_cast<const char *>(bytes), size);
        if (type == REG_SZ && isLengthened(bytes, size))
            value.append(2, '\0');
        setPrinterData(queue.name, fromUtf16(name), type, value);
    });
}
