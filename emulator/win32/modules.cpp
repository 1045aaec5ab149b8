#include "emulator/win32/call.h"
#include "emulator/win32/driverdeletion.h"
#include "emulator/win32/handletable.h"
#include "emulator/win32/model/error.h"
#include "emulator/win32/model/names.h"
#include "emulator/win32/utf16.h"

using namespace Win32Emulator;

namespace {

constexpr const char *spoolerModuleName = "Winspool.drv";

HMODULE spoolerModule()
{
    static const auto module = static_cast<HMODULE>(newHandle());
    return module;
}

} // namespace

HMODULE WINAPI GetModuleHandleW(LPCWSTR name)
{
    const std::string module = fromUtf16(name);
    const BOOL found = boolCall("GetModuleHandleW", module, [&] {
        if (Model::compareNames(module, spoolerModuleName) != 0)
            throw Model::Error(ERROR_MOD_NOT_FOUND, "the module is not loaded");
    });
    return found ? spoolerModule() : nullptr;
}

FARPROC WINAPI GetProcAddress(HMODULE module, LPCSTR name)
{
    const std::string function = name;
    const BOOL found = boolCall("GetProcAddress", function, [&] {
        if (module != spoolerModule() || function != "DeletePrinterDriverPackageW")
            throw Model::Error(ERROR_PROC_NOT_FOUND, "the module has no such function");
    });
    return found ? reinterpret_cast<FARPROC>(reinterpret_cast<void *>(DeletePrinterDriverPackageW)) : nullptr;
}
