#include "quaylink/exports.h"
#include "quaylink/widetext.h"

#include <windows.h>
#include <winspool.h>

using namespace Quaylink;

namespace {

/// Longest name of a driver or an environment that Windows accepts, with the terminating zero.
constexpr std::size_t nameCapacity = MAX_PATH;

DWORD deleteDriver(LPCWSTR driver, LPCWSTR environment)
{
    if (!fits(driver, nameCapacity) || !fits(environment, nameCapacity))
        return ERROR_INVALID_PARAMETER;
    WideString driverName = driver;
    WideString environmentName = environment;
    // With this flag, files that another driver shares stay and are not an error.
    if (DeletePrinterDriverExW(nullptr, environmentName.data(), driverName.data(), DPD_DELETE_UNUSED_FILES, 0))
        return ERROR_SUCCESS;
    return GetLastError();
}

} // namespace

int QDeletePrinterDriver(LPCWSTR driver, LPCWSTR environment, DWORD *error)
{
    const DWORD result = deleteDriver(driver, environment);
    if (error && result != ERROR_SUCCESS)
        *error = result;
    return result == ERROR_SUCCESS ? TRUE : FALSE;
}
