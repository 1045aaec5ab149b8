#include "emulator/win32/call.h"
#include "emulator/win32/model/jobs.h"
#include "emulator/win32/printerhandle.h"
#include "emulator/win32/printerinfo.h"

using namespace Win32Emulator;

namespace {

std::string levelText(DWORD level)
{
    return " level=" + std::to_string(level);
}

/// Sets a member of the queue; a null pointer leaves it as it is.
void take(std::string &member, LPCWSTR text)
{
    if (text)
        member = fromUtf16(text);
}

void changeQueue(HANDLE handle, const PRINTER_INFO_2W *info)
{
    Model::Printer queue = administeredQueue(handle);
    if (!info)
        throw Model::Error(ERROR_INVALID_PARAMETER, "no information to set");
    take(queue.name, info->pPrinterName);
    take(queue.share, info->pShareName);
    take(queue.port, info->pPortName);
    take(queue.driver, info->pDriverName);
    Model::changePrinter(queue);
}

void controlQueue(HANDLE handle, DWORD command)
{
    const Model::Printer queue = administeredQueue(handle);
    if (command != PRINTER_CONTROL_PURGE)
        throw Model::Error(ERROR_INVALID_PRINTER_COMMAND, "the only command known is to purge");
    Model::purgeJobs(queue.id);
}

} // namespace

void Win32Emulator::fillPrinter(PRINTER_INFO_2W &info, const Model::Printer &printer, TextArea &texts)
{
    info.pPrinterName = texts.put(printer.name);
    info.pShareName = texts.put(printer.share);
    info.pPortName = texts.put(printer.port);
    info.pDriverName = texts.put(printer.driver);
    info.pComment = texts.put({});
    info.pLocation = texts.put({});
    info.pSepFile = texts.put({});
    info.pPrintProcessor = texts.put("winprint");
    info.pDatatype = texts.put("RAW");
    info.pParameters = texts.put({});
    info.Attributes = PRINTER_ATTRIBUTE_LOCAL;
    info.Priority = 1;
    info.Status = printer.pendingDeletion ? PRINTER_STATUS_PENDING_DELETION : 0;
    info.cJobs = printer.jobCount;
}

BOOL WINAPI GetPrinterW(HANDLE handle, DWORD level, LPBYTE buffer, DWORD size, LPDWORD needed)
{
    return boolCall("GetPrinterW", describe(handle) + levelText(level) + " size=" + std::to_string(size), [&] {
        const Model::Printer queue = readableQueue(handle);
        requireLevel(level, 2);
        packInfo(std::vector{queue}, fillPrinter, {buffer, size, needed});
    });
}

BOOL WINAPI SetPrinterW(HANDLE handle, DWORD level, LPBYTE buffer, DWORD command)
{
    const auto *info = reinterpret_cast<const PRINTER_INFO_2W *>(buffer);
    std::string arguments = describe(handle) + levelText(level) + " command=" + std::to_string(command);
    if (level == 2 && info)
        arguments += " name=" + fromUtf16(info->pPrinterName);
    return boolCall("SetPrinterW", arguments, [&] {
        if (level == 0)
            return controlQueue(handle, command);
        requireLevel(level, 2);
        // A command goes with level 0 only.
        if (command != 0)
            throw Model::Error(ERROR_INVALID_PRINTER_COMMAND, "a command beside information to set");
        changeQueue(handle, info);
    });
}

BOOL WINAPI DeletePrinter(HANDLE handle)
{
    return boolCall("DeletePrinter", describe(handle), [&] { Model::deletePrinter(administeredQueue(handle).id); });
}

BOOL WINAPI DeletePrinterConnectionW(LPWSTR name)
{
    return boolCall("DeletePrinterConnectionW", fromUtf16(name), [] {
        // A connection leads to another machine's printer; the emulated machine has none.
        throw Model::Error(ERROR_INVALID_PRINTER_NAME, "there is no such connection");
    });
}
