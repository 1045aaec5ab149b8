#include "win32/driverdeletion.h"

#include "win32/call.h"
#include "win32/model/drivers.h"
#include "win32/model/error.h"
#include "win32/utf16.h"

using namespace Win32Emulator;

namespace {

constexpr DWORD knownFlags = DPD_DELETE_UNUSED_FILES | DPD_DELETE_SPECIFIC_VERSION | DPD_DELETE_ALL_FILES;
constexpr DWORD installedVersion = 3; // of every driver there is

std::string environmentOf(LPCWSTR name)
{
    std::string environment = name ? fromUtf16(name) : Model::ownEnvironment;
    Model::checkEnvironment(environment);
    return environment;
}

} // namespace

BOOL WINAPI DeletePrinterDriverExW(LPWSTR, LPWSTR environment, LPWSTR name, DWORD flags, DWORD version)
{
    const std::string driver = fromUtf16(name);
    const std::string arguments = driver + " environment=" + fromUtf16(environment) + " flags=" + std::to_string(flags);
    return boolCall("DeletePrinterDriverExW", arguments, [&] {
        if (!name || (flags & ~knownFlags) != 0)
            throw Model::Error(ERROR_INVALID_PARAMETER, "no name, or a flag that is not known");
        if ((flags & DPD_DELETE_SPECIFIC_VERSION) && version != installedVersion)
            throw Model::Error(ERROR_UNKNOWN_PRINTER_DRIVER, "there is no such version of the driver");
        Model::deleteDriver(driver, environmentOf(environment));
    });
}

HRESULT WINAPI DeletePrinterDriverPackageW(LPCWSTR, LPCWSTR infPath, LPCWSTR environment)
{
    const std::string path = fromUtf16(infPath);
    const DWORD error = codeCall("DeletePrinterDriverPackageW", path + " environment=" + fromUtf16(environment), [&] {
        Model::deleteDriverPackage({path, environmentOf(environment)});
    });
    return HRESULT_FROM_WIN32(error);
}
