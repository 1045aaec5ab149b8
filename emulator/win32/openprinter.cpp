#include "emulator/win32/api.h"
#include "emulator/win32/call.h"
#include "emulator/win32/model/error.h"
#include "emulator/win32/printerhandle.h"
#include "emulator/win32/utf16.h"
#include "emulator/win32/xcv.h"

using namespace Win32Emulator;

namespace {

/// The rights that a wish for access gives. No wish at all gives the right to use the printer.
ACCESS_MASK grantedAccess(ACCESS_MASK desired)
{
    if (desired & (GENERIC_ALL | MAXIMUM_ALLOWED))
        return PRINTER_ALL_ACCESS;
    return desired ? desired : PRINTER_READ;
}

} // namespace

BOOL WINAPI OpenPrinterW(LPWSTR name, HANDLE *handle, LPPRINTER_DEFAULTSW defaults)
{
    const ACCESS_MASK desired = defaults ? defaults->DesiredAccess : 0;
    const std::string printer = fromUtf16(name);
    if (handle)
        *handle = nullptr;
    return boolCall("OpenPrinterW", printer + " access=" + hexadecimal(desired), [&] {
        if (!handle)
            throw Model::Error(ERROR_INVALID_PARAMETER, "no place for the handle");
        PrinterHandle opened{0, printer, grantedAccess(desired), monitorTarget(printer)};
        // A null name opens the print server itself.
        if (name && !opened.monitorPort)
            opened.printer = Model::findPrinter(printer).id;
        *handle = printerHandles().add(std::make_shared<PrinterHandle>(std::move(opened)));
    });
}

BOOL WINAPI ClosePrinter(HANDLE handle)
{
    return boolCall("ClosePrinter", describe(handle), [&] {
        if (!printerHandles().remove(handle))
            throw Model::Error(ERROR_INVALID_HANDLE, "the handle is not open");
    });
}
