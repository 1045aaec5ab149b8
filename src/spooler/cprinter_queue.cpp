#include "spooler/cprinter.h"

#include "spooler/win32text.h"

#include <QDebug>

namespace {

/// The texts of the log lines of one reading of a queue; each names its place in the code.
struct ReadingTexts
{
    const char *sizeFailed;
    const char *readFailed;
};

/// Reads the PRINTER_INFO_2 of an open queue; null, and a log line, on failure.
SpoolerBuffer readInfo(const PrinterHandle &printer, const ReadingTexts &texts)
{
    DWORD needed = 0;
    GetPrinterW(printer.get(), 2, nullptr, 0, &needed);
    DWORD error = GetLastError();
    if (error != ERROR_INSUFFICIENT_BUFFER || needed == 0) {
        qDebug() << texts.sizeFailed << error << "cbNeeded is" << needed;
        return nullptr;
    }
    SpoolerBuffer buffer(new BYTE[needed]);
    if (GetPrinterW(printer.get(), 2, buffer.get(), needed, &needed))
        return buffer;
    error = GetLastError();
    qDebug() << texts.readFailed << error;
    return nullptr;
}

PRINTER_INFO_2W *printerInfo(const SpoolerBuffer &buffer)
{
    return reinterpret_cast<PRINTER_INFO_2W *>(buffer.get());
}

} // namespace

bool CPrinter::GetCloudPrinterInfo(const QString &name, SpoolerBuffer &info)
{
    qDebug() << "383_CPrinter GetCloudPrinterInfo" << name;
    const PrinterHandle printer(name, PRINTER_ALL_ACCESS);
    if (!printer) {
        qCritical("392_CPrinter OpenPrinter %ls, error is %lu", qUtf16Printable(name), ulong(printer.error()));
        return false;
    }
    SpoolerBuffer buffer =
        readInfo(printer, {"402_CPrinter GetPrinter lasterror is", "411_CPrinter GetPrinterlasterror is"});
    if (!buffer)
        return false;
    qInfo("419_CPrinter GetCloudPrinterInfo printer name: %ls, port: %ls", printable(printerInfo(buffer)->pPrinterName),
          printable(printerInfo(buffer)->pPortName));
    info = std::move(buffer);
    return true;
}

bool CPrinter::RenamePrinter(const QString &oldName, const QString &newName)
{
    qDebug() << "676_CPrinter RenamePrinter" << oldName << newName;
    const PrinterHandle printer(oldName, PRINTER_ALL_ACCESS);
    if (!printer) {
        qCritical("684_CPrinter OpenPrinter %ls, error is %lu", qUtf16Printable(oldName), ulong(printer.error()));
        return false;
    }
    const SpoolerBuffer buffer =
        readInfo(printer, {"694_CPrinter GetPrinter getlasterror is", "704_CPrinter GetPrinter getlasterror is"});
    if (!buffer)
        return false;
    WideText name(newName);
    printerInfo(buffer)->pPrinterName = name.data();
    if (!SetPrinterW(printer.get(), 2, buffer.get(), 0)) {
        const DWORD error = GetLastError();
        qDebug() << "715_CPrinter SetPrinter getlasterror is" << error;
        return false;
    }
    return true;
}

bool CPrinter::DeletePrintJob(HANDLE printer)
{
    qDebug() << "550_CPrinter DeletePrintJob" << printer;
    DWORD needed = 0;
    GetPrinterW(printer, 2, nullptr, 0, &needed);
    if (needed == 0) {
        qDebug() << "567_CPrinter GetPrinter failed:" << GetLastError();
        return false;
    }
    const SpoolerBuffer buffer(new BYTE[needed]);
    const DWORD size = needed;
    // Intended: no pause and no limit. Purging is asked for until the spooler tells of no more jobs.
    for (;;) {
        if (!GetPrinterW(printer, 2, buffer.get(), size, &needed)) {
            qDebug() << "576_CPrinter GetPrinter failed:" << GetLastError();
            return false;
        }
        if (printerInfo(buffer)->cJobs == 0)
            return true;
        SetPrinterW(printer, 0, nullptr, PRINTER_CONTROL_PURGE);
    }
}

bool CPrinter::RemovePrinter(const QString &name)
{
    if (name.isEmpty()) {
        qDebug() << "509_CPrinter Remove printer failed, printer name is empty";
        return false;
    }
    const PrinterHandle printer(name, PRINTER_ALL_ACCESS);
    if (!printer) {
        qDebug() << "524_CPrinter OpenPrinter LastError:" << printer.error();
        return false;
    }
    if (!DeletePrintJob(printer.get())) {
        qDebug() << "530_CPrinter DeletePrintJob failed";
        return false;
    }
    // A per-user connection of the same name, if there is one.
    DeletePrinterConnectionW(WideText(name).data());
    if (!DeletePrinter(printer.get())) {
        qDebug() << "539_CPrinter DeletePrinter failed GetLastError:" << GetLastError();
        return false;
    }
    return true;
}
