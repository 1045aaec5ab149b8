#include "emulator/win32/model/drivers.h"

#include "emulator/win32/handles.h"
#include "emulator/win32/infoblock.h"

#include <algorithm>

using namespace Win32Emulator;

namespace {

constexpr const char *driverFolder = R"(C:\Windows\System32\spool\DRIVERS\x64\3\)";
constexpr DWORD installedVersion = 3; // of every driver there is
constexpr DWORD knownFlags = DPD_DELETE_UNUSED_FILES | DPD_DELETE_SPECIFIC_VERSION | DPD_DELETE_ALL_FILES;

struct RegistryKey : OpenObject
{
    Driver driver; ///< the only keys are those of installed drivers
};

std::string keyOf(const Driver &driver)
{
    return R"(SYSTEM\CurrentControlSet\Control\Print\Environments\)" + driver.environment + R"(\Drivers\Version-3\)" +
           driver.name;
}

std::optional<Driver> driverOfKey(const std::string &path)
{
    for (const Driver &driver : drivers()) {
        if (compareNames(keyOf(driver), path) == 0)
            return driver;
    }
    return std::nullopt;
}

std::string valueOf(const Driver &driver, const std::string &name)
{
    const bool isVersion = compareNames(name, "DriverVersion") == 0;
    require(isVersion || compareNames(name, "InfPath") == 0, ERROR_FILE_NOT_FOUND);
    return isVersion ? driver.version : driver.infPath;
}

/// The protocol of registry values: without a buffer only the size is reported, and one too small is left alone.
void readText(const std::string &text, LPBYTE buffer, LPDWORD size)
{
    const std::u16string wide = toUtf16(text);
    const auto bytes = static_cast<DWORD>((wide.size() + 1) * sizeof(WCHAR));
    const DWORD room = size ? std::exchange(*size, bytes) : 0;
    if (!buffer)
        return;
    require(size, ERROR_INVALID_PARAMETER);
    require(room >= bytes, ERROR_MORE_DATA);
    std::memcpy(buffer, wide.c_str(), bytes);
}

void fillDriver(DRIVER_INFO_3W &info, const Driver &driver, TextArea &texts)
{
    const std::string folder = driverFolder;
    info.cVersion = installedVersion;
    info.pName = texts.put(driver.name);
    info.pEnvironment = texts.put(driver.environment);
    info.pDriverPath = texts.put(folder + "UNIDRV.DLL");
    info.pDataFile = texts.put(folder + "ORVOPTR.GPD");
    info.pConfigFile = texts.put(folder + "UNIDRVUI.DLL");
    info.pHelpFile = texts.put(folder + "UNIDRV.HLP");
    info.pDefaultDataType = texts.put("RAW");
}

/// A known environment; a null pointer stands for the machine's own.
std::string environmentOf(LPCWSTR name)
{
    std::string environment = name ? fromUtf16(name) : ownEnvironment;
    checkEnvironment(environment);
    return environment;
}

/// The drivers of an environment, or of each for "all".
std::vector<Driver> driversOf(LPCWSTR environment)
{
    std::vector<Driver> result = drivers();
    if (compareNames(fromUtf16(environment), "all") == 0)
        return result;
    const auto isForeign = [name = environmentOf(environment)](const Driver &driver) {
        return compareNames(driver.environment, name) != 0;
    };
    result.erase(std::remove_if(result.begin(), result.end(), isForeign), result.end());
    return result;
}

/// Not every Windows has it, so callers look it up at run time.
HRESULT WINAPI deletePackage(LPCWSTR, LPCWSTR infPath, LPCWSTR environment)
{
    const std::string path = fromUtf16(infPath);
    const Call call = {"DeletePrinterDriverPackageW", path + " environment=" + fromUtf16(environment)};
    const DWORD error = codeCall(call, [&] { deleteDriverPackage({path, environmentOf(environment)}); });
    return HRESULT_FROM_WIN32(error);
}

/// Stands for the loaded Winspool.drv.
HMODULE spoolerModule()
{
    static int module = 0;
    return reinterpret_cast<HMODULE>(&module);
}

} // namespace

BOOL WINAPI EnumPrinterDriversW(LPWSTR, LPWSTR environment, DWORD level, LPBYTE buffer, DWORD size, LPDWORD needed,
                                LPDWORD returned)
{
    return boolCall({"EnumPrinterDriversW"}, [&] {
        require(level == 3, ERROR_INVALID_LEVEL);
        packList(driversOf(environment), fillDriver, {buffer, size, needed}, returned);
    });
}

BOOL WINAPI DeletePrinterDriverExW(LPWSTR, LPWSTR environment, LPWSTR name, DWORD flags, DWORD version)
{
    return boolCall({"DeletePrinterDriverExW", "flags=" + std::to_string(flags)}, [&] {
        require(name && (flags & ~knownFlags) == 0, ERROR_INVALID_PARAMETER);
        require(!(flags & DPD_DELETE_SPECIFIC_VERSION) || version == installedVersion, ERROR_UNKNOWN_PRINTER_DRIVER);
        deleteDriver(fromUtf16(name), environmentOf(environment));
    });
}

HMODULE WINAPI GetModuleHandleW(LPCWSTR name)
{
    const BOOL found = boolCall({"GetModuleHandleW"}, [&] {
        require(compareNames(fromUtf16(name), "Winspool.drv") == 0, ERROR_MOD_NOT_FOUND);
    });
    return found ? spoolerModule() : nullptr;
}

FARPROC WINAPI GetProcAddress(HMODULE module, LPCSTR name)
{
    const BOOL found = boolCall({"GetProcAddress"}, [&] {
        const bool isKnown = module == spoolerModule() && std::string("DeletePrinterDriverPackageW") == name;
        require(isKnown, ERROR_PROC_NOT_FOUND);
    });
    return found ? reinterpret_cast<FARPROC>(reinterpret_cast<void *>(deletePackage)) : nullptr;
}

LSTATUS WINAPI RegOpenKeyExW(HKEY root, LPCWSTR path, DWORD, REGSAM access, PHKEY key)
{
    const DWORD error = codeCall({"RegOpenKeyExW"}, [&] {
        require(key, ERROR_INVALID_PARAMETER);
        const std::optional<Driver> driver = driverOfKey(fromUtf16(path));
        require(root == HKEY_LOCAL_MACHINE && driver, ERROR_FILE_NOT_FOUND);
        const auto object = std::make_shared<RegistryKey>();
        object->driver = *driver;
        object->access = access;
        *key = static_cast<HKEY>(addHandle(object));
    });
    return static_cast<LSTATUS>(error);
}

LSTATUS WINAPI RegQueryValueExW(HKEY key, LPCWSTR name, LPDWORD, LPDWORD type, LPBYTE buffer, LPDWORD size)
{
    const DWORD error = codeCall({"RegQueryValueExW"}, [&] {
        const std::string text = valueOf(opened<RegistryKey>(key, KEY_QUERY_VALUE)->driver, fromUtf16(name));
        if (type)
            *type = REG_SZ;
        readText(text, buffer, size);
    });
    return static_cast<LSTATUS>(error);
}

LSTATUS WINAPI RegCloseKey(HKEY key)
{
    return static_cast<LSTATUS>(codeCall({"RegCloseKey"}, [&] { closeHandle<RegistryKey>(key); }));
}
