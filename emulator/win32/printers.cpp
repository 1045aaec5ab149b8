#include "emulator/win32/infoblock.h"
#include "emulator/win32/model/jobs.h"
#include "emulator/win32/queue.h"

using namespace Win32Emulator;

namespace {

// What the machine lists beside its own queues: a printer of another machine.
const Printer connection = {0, R"(\\FILESERVER\Office)", "FILESERVER:", defaultDriver};

void fillPrinter(PRINTER_INFO_2W &info, const Printer &printer, TextArea &texts)
{
    info.pPrinterName = texts.put(printer.name);
    info.pPortName = texts.put(printer.port);
    info.pDriverName = texts.put(printer.driver);
    info.pShareName = info.pComment = info.pLocation = info.pSepFile = info.pParameters = texts.put({});
    info.pPrintProcessor = texts.put("winprint");
    info.pDatatype = texts.put("RAW");
    info.Attributes = printer.id ? PRINTER_ATTRIBUTE_LOCAL : PRINTER_ATTRIBUTE_NETWORK;
    info.Priority = 1;
    info.Status = printer.pendingDeletion ? PRINTER_STATUS_PENDING_DELETION : 0;
    info.cJobs = printer.jobCount;
}

/// The rights that the desired access grants; 0 grants the right to use the printer.
ACCESS_MASK grantedAccess(ACCESS_MASK desired)
{
    if (desired & (GENERIC_ALL | MAXIMUM_ALLOWED))
        return PRINTER_ALL_ACCESS;
    return desired ? desired : PRINTER_READ;
}

std::shared_ptr<PrinterHandle> queueHandle(const std::string &name)
{
    const auto handle = std::make_shared<QueueHandle>();
    handle->printer = findPrinter(name).id;
    return handle;
}

/// Sets a member of the queue; a null pointer leaves it unchanged.
void take(std::string &member, LPCWSTR text)
{
    if (text)
        member = fromUtf16(text);
}

void changeQueue(Printer queue, const PRINTER_INFO_2W *info)
{
    require(info, ERROR_INVALID_PARAMETER);
    take(queue.name, info->pPrinterName);
    take(queue.port, info->pPortName);
    take(queue.driver, info->pDriverName);
    changePrinter(queue);
}

} // namespace

Printer Win32Emulator::readableQueue(HANDLE handle)
{
    return findPrinter(opened<QueueHandle>(handle, PRINTER_ACCESS_USE | PRINTER_ACCESS_ADMINISTER)->printer);
}

Printer Win32Emulator::administeredQueue(HANDLE handle)
{
    return findPrinter(opened<QueueHandle>(handle, PRINTER_ACCESS_ADMINISTER)->printer);
}

BOOL WINAPI OpenPrinterW(LPWSTR name, HANDLE *handle, LPPRINTER_DEFAULTSW defaults)
{
    const ACCESS_MASK desired = defaults ? defaults->DesiredAccess : 0;
    const std::string printer = fromUtf16(name);
    if (handle)
        *handle = nullptr;
    return boolCall({"OpenPrinterW", printer + accessText(desired)}, [&] {
        require(handle, ERROR_INVALID_PARAMETER);
        std::shared_ptr<PrinterHandle> object = monitorHandle(printer);
        if (!object)
            object = queueHandle(printer);
        object->name = printer;
        object->access = grantedAccess(desired);
        *handle = addHandle(object);
    });
}

BOOL WINAPI ClosePrinter(HANDLE handle)
{
    const BOOL isClosed = boolCall({"ClosePrinter"}, [&] { closeHandle<PrinterHandle>(handle); });
    if (isClosed)
        SetLastError(ERROR_SUCCESS); // a successful call may change it
    return isClosed;
}

BOOL WINAPI GetPrinterW(HANDLE handle, DWORD level, LPBYTE buffer, DWORD size, LPDWORD needed)
{
    return boolCall({"GetPrinterW"}, [&] {
        const Printer queue = readableQueue(handle);
        require(level == 2, ERROR_INVALID_LEVEL);
        DWORD returned = 0;
        packList(std::vector{queue}, fillPrinter, {buffer, size, needed}, &returned);
    });
}

BOOL WINAPI SetPrinterW(HANDLE handle, DWORD level, LPBYTE buffer, DWORD command)
{
    return boolCall({"SetPrinterW", nameOf(handle) + " command=" + std::to_string(command)}, [&] {
        const Printer queue = administeredQueue(handle);
        require(level == 0 || level == 2, ERROR_INVALID_LEVEL);
        // A command requires level 0.
        require(command == (level == 0 ? PRINTER_CONTROL_PURGE : 0), ERROR_INVALID_PRINTER_COMMAND);
        if (level == 0)
            purgeJobs(queue.id);
        else
            changeQueue(queue, reinterpret_cast<const PRINTER_INFO_2W *>(buffer));
    });
}

BOOL WINAPI DeletePrinter(HANDLE handle)
{
    return boolCall({"DeletePrinter"}, [&] { deletePrinter(administeredQueue(handle).id); });
}

BOOL WINAPI DeletePrinterConnectionW(LPWSTR)
{
    return boolCall({"DeletePrinterConnectionW"}, [] {
        // It takes the names of connections, never those of queues.
        throw Error(ERROR_INVALID_PRINTER_NAME);
    });
}

BOOL WINAPI EnumPrintersW(DWORD flags, LPWSTR, DWORD level, LPBYTE buffer, DWORD size, LPDWORD needed, LPDWORD returned)
{
    return boolCall({"EnumPrintersW"}, [&] {
        require(level == 2, ERROR_INVALID_LEVEL);
        std::vector<Printer> listed;
        if (flags & PRINTER_ENUM_LOCAL)
            listed = printers();
        if (flags & PRINTER_ENUM_CONNECTIONS)
            listed.push_back(connection);
        packList(listed, fillPrinter, {buffer, size, needed}, returned);
    });
}
