#include "packaging/trial/portstore.h"

namespace {

const std::wstring folder = L"System\\CurrentControlSet\\Control\\Print\\Monitors\\Standard TCP/IP Port\\Ports";
constexpr auto hostValue = L"HostName";
constexpr auto numberValue = L"PortNumber";
constexpr DWORD textCapacity = 256;

std::wstring keyOf(const std::wstring &name)
{
    return folder + L'\\' + name;
}

} // namespace

std::vector<std::wstring> PortStore::names()
{
    std::vector<std::wstring> result;
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, folder.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS)
        return result;
    WCHAR name[textCapacity];
    for (DWORD i = 0; RegEnumKeyW(key, i, name, textCapacity) == ERROR_SUCCESS; ++i)
        result.emplace_back(name);
    RegCloseKey(key);
    return result;
}

std::optional<PortStore::Port> PortStore::find(const std::wstring &name)
{
    const std::wstring key = keyOf(name);
    WCHAR host[textCapacity] = {};
    DWORD hostSize = sizeof host;
    DWORD number = 0;
    DWORD numberSize = sizeof number;
    if (RegGetValueW(HKEY_LOCAL_MACHINE, key.c_str(), hostValue, RRF_RT_REG_SZ, nullptr, host, &hostSize) ||
        RegGetValueW(HKEY_LOCAL_MACHINE, key.c_str(), numberValue, RRF_RT_REG_DWORD, nullptr, &number, &numberSize))
        return std::nullopt;
    return Port{host, number};
}

DWORD PortStore::save(const std::wstring &name, const Port &port)
{
    const std::wstring key = keyOf(name);
    const auto hostSize = static_cast<DWORD>((port.host.size() + 1) * sizeof(WCHAR));
    LSTATUS result = RegSetKeyValueW(HKEY_LOCAL_MACHINE, key.c_str(), hostValue, REG_SZ, port.host.c_str(), hostSize);
    if (result == ERROR_SUCCESS)
        result =
            RegSetKeyValueW(HKEY_LOCAL_MACHINE, key.c_str(), numberValue, REG_DWORD, &port.number, sizeof port.number);
    return static_cast<DWORD>(result);
}

DWORD PortStore::remove(const std::wstring &name)
{
    return RegDeleteKeyW(HKEY_LOCAL_MACHINE, keyOf(name).c_str()) == ERROR_SUCCESS ? ERROR_SUCCESS : ERROR_UNKNOWN_PORT;
}
