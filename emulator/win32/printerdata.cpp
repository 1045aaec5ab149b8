#include "emulator/win32/model/printerdata.h"

#include "emulator/win32/call.h"
#include "emulator/win32/infoblock.h"
#include "emulator/win32/printerhandle.h"

using namespace Win32Emulator;

namespace {

/// Registry values have their own protocol: no buffer, or one too small, gives ERROR_MORE_DATA.
void readValue(const std::pair<unsigned, std::string> &value, LPDWORD type, const CallerBuffer &buffer)
{
    const std::string &bytes = value.second;
    if (type)
        *type = value.first;
    *buffer.needed = static_cast<DWORD>(bytes.size());
    if (bytes.empty())
        return;
    if (!buffer.bytes || buffer.size < bytes.size())
        throw Model::Error(ERROR_MORE_DATA, "the buffer is too small");
    std::memcpy(buffer.bytes, bytes.data(), bytes.size());
}

} // namespace

DWORD WINAPI GetPrinterDataW(HANDLE handle, LPWSTR name, LPDWORD type, LPBYTE buffer, DWORD size, LPDWORD needed)
{
    const std::string arguments = describe(handle) + " value=" + fromUtf16(name) + " size=" + std::to_string(size);
    return codeCall("GetPrinterDataW", arguments, [&] {
        const Model::Printer queue = readableQueue(handle);
        requirePlace(needed);
        *needed = 0;
        const auto value = Model::printerData(queue.id, fromUtf16(name));
        if (!value)
            throw Model::Error(ERROR_FILE_NOT_FOUND, "there is no such value");
        readValue(*value, type, {buffer, size, needed});
    });
}

DWORD WINAPI SetPrinterDataW(HANDLE handle, LPWSTR name, DWORD type, LPBYTE bytes, DWORD size)
{
    const std::string arguments = describe(handle) + " value=" + fromUtf16(name) + " type=" + std::to_string(type) +
                                  " size=" + std::to_string(size);
    return codeCall("SetPrinterDataW", arguments, [&] {
        const Model::Printer queue = administeredQueue(handle);
        if (!name || (!bytes && size > 0))
            throw Model::Error(ERROR_INVALID_PARAMETER, "no name or no bytes");
        const std::string value = size > 0 ? std::string(reinterpret_cast<const char *>(bytes), size) : std::string();
        Model::setPrinterData(queue.id, fromUtf16(name), type, value);
    });
}
