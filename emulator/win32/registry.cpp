#include "emulator/win32/registry.h"

#include "emulator/win32/call.h"
#include "emulator/win32/infoblock.h"
#include "emulator/win32/model/drivers.h"
#include "emulator/win32/model/names.h"

#include <optional>
#include <utility>
#include <vector>

using namespace Win32Emulator;

namespace {

// The only keys there are: those of the installed drivers, ...\Environments\ENVIRONMENT\Drivers\Version-3\NAME.
constexpr const char *environmentsKey = R"(SYSTEM\CurrentControlSet\Control\Print\Environments)";
constexpr const char *driversKey = R"(\Drivers\Version-3)";

std::optional<Model::Driver> driverOfKey(const std::string &path)
{
    for (const Model::Driver &driver : Model::drivers()) {
        const std::string key = environmentsKey + ('\\' + driver.environment) + driversKey + '\\' + driver.name;
        if (Model::compareNames(key, path) == 0)
            return driver;
    }
    return std::nullopt;
}

const std::string &valueOf(const RegistryKey &key, const std::string &name)
{
    for (const auto &[known, value] : key.values) {
        if (Model::compareNames(known, name) == 0)
            return value;
    }
    throw Model::Error(ERROR_FILE_NOT_FOUND, "there is no such value");
}

/// The protocol of registry values: without a buffer only the size is told, and one too small is filled with nothing.
void readText(const std::string &text, LPBYTE buffer, LPDWORD size)
{
    const std::u16string wide = toUtf16(text);
    const auto bytes = static_cast<DWORD>((wide.size() + 1) * sizeof(WCHAR));
    const DWORD room = size ? std::exchange(*size, bytes) : 0;
    if (!buffer)
        return;
    requirePlace(size);
    if (room < bytes)
        throw Model::Error(ERROR_MORE_DATA, "the buffer is too small");
    std::memcpy(buffer, wide.c_str(), bytes);
}

} // namespace

HandleTable<RegistryKey> &Win32Emulator::registryKeys()
{
    static HandleTable<RegistryKey> keys;
    return keys;
}

LSTATUS WINAPI RegOpenKeyExW(HKEY root, LPCWSTR path, DWORD, REGSAM access, PHKEY key)
{
    const std::string name = fromUtf16(path);
    const DWORD error = codeCall("RegOpenKeyExW", name + " access=" + hexadecimal(access), [&] {
        requirePlace(key);
        const std::optional<Model::Driver> driver = root == HKEY_LOCAL_MACHINE ? driverOfKey(name) : std::nullopt;
        if (!driver)
            throw Model::Error(ERROR_FILE_NOT_FOUND, "there is no such key");
        RegistryKey opened{{{"DriverVersion", driver->version}, {"InfPath", driver->infPath}}, access};
        *key = static_cast<HKEY>(registryKeys().add(std::make_shared<RegistryKey>(std::move(opened))));
    });
    return static_cast<LSTATUS>(error);
}

LSTATUS WINAPI RegQueryValueExW(HKEY key, LPCWSTR name, LPDWORD, LPDWORD type, LPBYTE buffer, LPDWORD size)
{
    const std::string value = fromUtf16(name);
    const std::string room = size ? std::to_string(*size) : "none";
    const DWORD error = codeCall("RegQueryValueExW", value + " size=" + room, [&] {
        const std::shared_ptr<RegistryKey> opened = registryKeys().find(key);
        if (!opened)
            throw Model::Error(ERROR_INVALID_HANDLE, "the key is not open");
        if ((opened->access & KEY_QUERY_VALUE) == 0)
            throw Model::Error(ERROR_ACCESS_DENIED, "the key was opened without the right to do that");
        const std::string &text = valueOf(*opened, value);
        if (type)
            *type = REG_SZ;
        readText(text, buffer, size);
    });
    return static_cast<LSTATUS>(error);
}

LSTATUS WINAPI RegCloseKey(HKEY key)
{
    const DWORD error = codeCall("RegCloseKey", {}, [&] {
        if (!registryKeys().remove(key))
            throw Model::Error(ERROR_INVALID_HANDLE, "the key is not open");
    });
    return static_cast<LSTATUS>(error);
}
