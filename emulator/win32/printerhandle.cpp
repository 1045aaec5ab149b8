#include "emulator/win32/printerhandle.h"

#include "emulator/win32/model/error.h"

namespace Win32Emulator {

namespace {

Model::Printer queueWithAnyRightOf(HANDLE handle, ACCESS_MASK rights)
{
    const std::shared_ptr<PrinterHandle> opened = printerHandles().find(handle);
    if (!opened || opened->printer == 0)
        throw Model::Error(ERROR_INVALID_HANDLE, "no handle of a printer");
    if ((opened->access & rights) == 0)
        throw Model::Error(ERROR_ACCESS_DENIED, "the handle was opened without the right to do that");
    return Model::findPrinter(opened->printer);
}

} // namespace

HandleTable<PrinterHandle> &printerHandles()
{
    static HandleTable<PrinterHandle> handles;
    return handles;
}

std::string describe(HANDLE handle)
{
    const std::shared_ptr<PrinterHandle> opened = printerHandles().find(handle);
    return opened ? opened->name : "(invalid handle)";
}

Model::Printer readableQueue(HANDLE handle)
{
    return queueWithAnyRightOf(handle, PRINTER_ACCESS_USE | PRINTER_ACCESS_ADMINISTER);
}

Model::Printer administeredQueue(HANDLE handle)
{
    return queueWithAnyRightOf(handle, PRINTER_ACCESS_ADMINISTER);
}

} // namespace Win32Emulator
