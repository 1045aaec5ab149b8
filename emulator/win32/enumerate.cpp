#include "emulator/win32/call.h"
#include "emulator/win32/model/drivers.h"
#include "emulator/win32/model/names.h"
#include "emulator/win32/model/ports.h"
#include "emulator/win32/printerinfo.h"

#include <algorithm>

using namespace Win32Emulator;

namespace {

constexpr const char *driverFolder = R"(C:\Windows\System32\spool\DRIVERS\x64\3\)";

std::string sizeText(DWORD level, DWORD size)
{
    return "level=" + std::to_string(level) + " size=" + std::to_string(size);
}

void fillPort(PORT_INFO_2W &info, const Model::Port &port, TextArea &texts)
{
    info.pPortName = texts.put(port.name);
    info.pMonitorName = texts.put("TCPMON.DLL");
    info.pDescription = texts.put("Standard TCP/IP Port");
    info.fPortType = PORT_TYPE_WRITE | PORT_TYPE_READ;
}

void fillDriver(DRIVER_INFO_3W &info, const Model::Driver &driver, TextArea &texts)
{
    const std::string folder = driverFolder;
    info.cVersion = 3;
    info.pName = texts.put(driver.name);
    info.pEnvironment = texts.put(driver.environment);
    info.pDriverPath = texts.put(folder + "UNIDRV.DLL");
    info.pDataFile = texts.put(folder + "ORVOPTR.GPD");
    info.pConfigFile = texts.put(folder + "UNIDRVUI.DLL");
    info.pHelpFile = texts.put(folder + "UNIDRV.HLP");
    info.pDefaultDataType = texts.put("RAW");
}

std::vector<Model::Driver> driversOf(const std::string &environment)
{
    std::vector<Model::Driver> result = Model::drivers();
    const auto isForeign = [&](const Model::Driver &driver) {
        return Model::compareNames(driver.environment, environment) != 0;
    };
    result.erase(std::remove_if(result.begin(), result.end(), isForeign), result.end());
    return result;
}

/// The drivers of an environment; a null pointer stands for the system's own, "all" for every one.
std::vector<Model::Driver> chosenDrivers(LPCWSTR environment)
{
    if (!environment)
        return driversOf(Model::ownEnvironment);
    const std::string name = fromUtf16(environment);
    if (Model::compareNames(name, "all") == 0)
        return Model::drivers();
    Model::checkEnvironment(name);
    return driversOf(name);
}

} // namespace

BOOL WINAPI EnumPrintersW(DWORD flags, LPWSTR, DWORD level, LPBYTE buffer, DWORD size, LPDWORD needed, LPDWORD returned)
{
    return boolCall("EnumPrintersW", "flags=" + std::to_string(flags) + ' ' + sizeText(level, size), [&] {
        requireLevel(level, 2);
        // The machine has local queues only.
        const bool local = flags & PRINTER_ENUM_LOCAL;
        packList(local ? Model::printers() : std::vector<Model::Printer>(), fillPrinter, {buffer, size, needed},
                 returned);
    });
}

BOOL WINAPI EnumPortsW(LPWSTR, DWORD level, LPBYTE buffer, DWORD size, LPDWORD needed, LPDWORD returned)
{
    return boolCall("EnumPortsW", sizeText(level, size), [&] {
        requireLevel(level, 2);
        packList(Model::ports(), fillPort, {buffer, size, needed}, returned);
    });
}

BOOL WINAPI EnumPrinterDriversW(LPWSTR, LPWSTR environment, DWORD level, LPBYTE buffer, DWORD size, LPDWORD needed,
                                LPDWORD returned)
{
    return boolCall("EnumPrinterDriversW", fromUtf16(environment) + ' ' + sizeText(level, size), [&] {
        requireLevel(level, 3);
        packList(chosenDrivers(environment), fillDriver, {buffer, size, needed}, returned);
    });
}
