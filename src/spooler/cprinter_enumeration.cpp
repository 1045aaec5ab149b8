#include "spooler/cprinter.h"

#include "spooler/win32text.h"

#include <QDebug>

namespace {

/// The texts of the critical log lines of one enumeration; each names its place in the code.
struct EnumerationTexts
{
    const char *sizeFailed;
    const char *readFailed;
};

/// Asks for the size, reads the entries and appends them. `enumerate` calls the platform with (buffer, size, &needed,
/// &returned); `log` writes a line for an entry.
template <typename Entry, typename Enumerate, typename Log>
bool appendEntries(QList<Entry> &entries, SpoolerBuffer &buffer, const EnumerationTexts &texts, Enumerate enumerate,
                   Log log)
{
    DWORD needed = 0;
    DWORD returned = 0;
    enumerate(nullptr, 0, &needed, &returned);
    DWORD error = GetLastError();
    if (error != ERROR_INSUFFICIENT_BUFFER || needed == 0) {
        qCritical(texts.sizeFailed, ulong(error), ulong(needed));
        return false;
    }
    SpoolerBuffer block(new BYTE[needed]);
    if (!enumerate(block.get(), needed, &needed, &returned)) {
        error = GetLastError();
        qCritical(texts.readFailed, ulong(error));
        return false;
    }
    const auto *first = reinterpret_cast<const Entry *>(block.get());
    for (const Entry *entry = first; entry != first + returned; ++entry) {
        entries.append(*entry);
        log(*entry);
    }
    buffer = std::move(block);
    return true;
}

} // namespace

bool CPrinter::EnumLocalPrinters(QList<PRINTER_INFO_2W> &printers, SpoolerBuffer &buffer)
{
    return appendEntries(
        printers, buffer,
        {"115_CPrinter EnumPrinters GetLastError() == %lu || pcbNeeded == %lu",
         "126_CPrinter EnumPrinters GetLastError() == %lu"},
        [](LPBYTE block, DWORD size, LPDWORD needed, LPDWORD returned) {
            return EnumPrintersW(PRINTER_ENUM_LOCAL, nullptr, 2, block, size, needed, returned);
        },
        [](const PRINTER_INFO_2W &entry) {
            qInfo("134_CPrinter printer name: %ls, port: %ls", printable(entry.pPrinterName),
                  printable(entry.pPortName));
        });
}

bool CPrinter::EnumLocalPorts(QList<PORT_INFO_2W> &ports, SpoolerBuffer &buffer)
{
    return appendEntries(
        ports, buffer,
        {"152_CPrinter EnumPorts GetLastError() == %lu || pcbNeeded == %lu",
         "163_CPrinter EnumPorts GetLastError() == %lu"},
        [](LPBYTE block, DWORD size, LPDWORD needed, LPDWORD returned) {
            return EnumPortsW(nullptr, 2, block, size, needed, returned);
        },
        [](const PORT_INFO_2W &entry) { qInfo("171_CPrinter port name: %ls", printable(entry.pPortName)); });
}

bool CPrinter::EnumLocalDrivers(QList<DRIVER_INFO_3W> &drivers, SpoolerBuffer &buffer)
{
    return appendEntries(
        drivers, buffer,
        {"479_CPrinter EnumPrinterDrivers GetLastError() == %lu || pcbNeeded == %lu",
         "490_CPrinter EnumPrinterDrivers GetLastError() == %lu"},
        [](LPBYTE block, DWORD size, LPDWORD needed, LPDWORD returned) {
            return EnumPrinterDriversW(nullptr, nullptr, 3, block, size, needed, returned);
        },
        [](const DRIVER_INFO_3W &entry) { qInfo("498_CPrinter driver name: %ls", printable(entry.pName)); });
}
