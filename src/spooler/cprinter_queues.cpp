#include "spooler/cprinter.h"

#include "spooler/win32.h"

#include <QByteArray>
#include <QDebug>
#include <QThread>

#include <cstring>

namespace {

// Two values of our own in the printer data of a queue bind it to a cloud printer.
const auto cloudIdValue = QStringLiteral("CloudId");
const auto cloudPortValue = QStringLiteral("CloudPort");

constexpr DWORD longestValue = 64 * 1024 * 1024; // bytes; more is not ours and would overflow QByteArray
constexpr int chinaStandardTime = 8;             // hours ahead of UTC

SpoolerBlock queryInfo(HANDLE printer)
{
    return readBlock(
        [&](LPBYTE bytes, DWORD size, LPDWORD needed) { return GetPrinterW(printer, 2, bytes, size, needed); });
}

/// Reads the PRINTER_INFO_2 of an open queue; no bytes, and a log line, on failure.
SpoolerBlock readInfo(const PrinterHandle &printer, const FailureTexts &texts)
{
    SpoolerBlock block = queryInfo(printer.get());
    if (block.sizeFailed)
        qDebug() << texts.sizeFailed << block.error << "cbNeeded is" << block.needed;
    else if (!block.bytes)
        qDebug() << texts.readFailed << block.error;
    return block;
}

Queue toQueue(const PRINTER_INFO_2W &info)
{
    return {fromWide(info.pPrinterName), fromWide(info.pPortName), fromWide(info.pDriverName),
            static_cast<int>(info.cJobs)};
}

/// Reads a value of any type. False, and a log line, when it is missing or cannot be read.
bool readValue(const QString &name, const QString &value, const char *openPlace, const FailureTexts &texts,
               QByteArray &bytes)
{
    const PrinterHandle printer(name, PRINTER_ACCESS_ADMINISTER, openPlace);
    if (!printer)
        return false;
    DWORD type = 0;
    DWORD needed = 0;
    DWORD result = GetPrinterDataW(printer.get(), WideText(value).data(), &type, nullptr, 0, &needed);
    if (result != ERROR_MORE_DATA || needed == 0 || needed > longestValue) {
        qCritical(texts.sizeFailed, ulong(GetLastError()), ulong(needed));
        SetLastError(result);
        return false;
    }
    bytes.fill('\0', static_cast<int>(needed));
    result = GetPrinterDataW(printer.get(), WideText(value).data(), &type, reinterpret_cast<LPBYTE>(bytes.data()),
                             needed, &needed);
    if (result != ERROR_SUCCESS) {
        qCritical(texts.readFailed, ulong(result));
        SetLastError(result);
        return false;
    }
    return true;
}

DWORD writeValue(const PrinterHandle &printer, const QString &value, DWORD type, const void *bytes, int size)
{
    return SetPrinterDataW(printer.get(), WideText(value).data(), type, static_cast<LPBYTE>(const_cast<void *>(bytes)),
                           static_cast<DWORD>(size));
}

QString submissionTime(const SYSTEMTIME &time)
{
    const QLatin1Char zero('0');
    return QStringLiteral("%1:%2:%3")
        .arg(time.wHour + chinaStandardTime, 2, 10, zero)
        .arg(time.wMinute, 2, 10, zero)
        .arg(time.wSecond, 2, 10, zero);
}

SpoolJob toSpoolJob(const JOB_INFO_2W &info)
{
    return {fromWide(info.pDocument), submissionTime(info.Submitted), (info.Status & JOB_STATUS_PRINTING) != 0};
}

/// Reads the PRINTER_INFO_2 of a queue, lets `change` change it and writes it back. False, and a log line, on failure.
/// If `check` then throws, what was read is written again.
template <typename Change>
bool changeInfo(const QString &name, const char *openPlace, Change change, const std::function<void()> &check)
{
    const PrinterHandle printer(name, PRINTER_ALL_ACCESS, openPlace);
    if (!printer)
        return false;
    const SpoolerBlock block =
        readInfo(printer, {"694_CPrinter GetPrinter getlasterror is", "704_CPrinter GetPrinter getlasterror is"});
    if (!block.bytes)
        return false;
    auto &info = *block.as<PRINTER_INFO_2W>();
    const PRINTER_INFO_2W before = info;
    change(info);
    if (!SetPrinterW(printer.get(), 2, block.bytes.get(), 0)) {
        const DWORD error = GetLastError();
        qDebug() << "715_CPrinter SetPrinter getlasterror is" << error;
        return false;
    }
    try {
        check();
    } catch (...) {
        info = before;
        SetPrinterW(printer.get(), 2, block.bytes.get(), 0);
        throw;
    }
    return true;
}

} // namespace

int CPrinter::SetCloudPrinterId(const QString &name, const QString &id)
{
    qDebug() << "224_CPrinter SetCloudPrinterId" << name << id;
    const PrinterHandle printer(name, PRINTER_ACCESS_ADMINISTER, "234_CPrinter");
    if (!printer)
        return printer.error() == ERROR_INVALID_PRINTER_NAME ? invalidPrinterName : printerNotOpened;
    // Intentionally single-byte text in a REG_SZ, read back in the same way. Its size follows the 8-bit code page.
    const int size = id.toLocal8Bit().size() + 1;
    QByteArray text = id.toUtf8();
    while (text.size() < size)
        text.append('\0');
    // Windows may lengthen a REG_SZ of an odd size when a zero byte follows it in memory.
    text.append('\xff');
    return static_cast<int>(writeValue(printer, cloudIdValue, REG_SZ, text.constData(), size));
}

bool CPrinter::GetCloudPrinterId(const QString &name, QString &id)
{
    qDebug() << "258_CPrinter GetCloudPrinterId" << name;
    QByteArray text;
    if (!readValue(
            name, cloudIdValue, "267_CPrinter",
            {"283_CPrinter GetPrinterData error is %lu, need is %lu", "292_CPrinter GetPrinterData error is %lu"},
            text))
        return false;
    // Windows may have returned more bytes than the text has, or no terminator.
    id = QString::fromUtf8(text.constData(), static_cast<int>(qstrnlen(text.constData(), uint(text.size()))));
    qDebug() << "299_CPrinter GetCloudPrinterId result:" << id;
    return true;
}

bool CPrinter::SetPrinterPortNum(const QString &name, unsigned short port)
{
    qDebug() << "305_CPrinter SetPrinterPortNum" << name << port;
    const PrinterHandle printer(name, PRINTER_ACCESS_ADMINISTER, "314_CPrinter");
    if (!printer)
        return false;
    const DWORD result = writeValue(printer, cloudPortValue, REG_BINARY, &port, sizeof port);
    qDebug() << "314_CPrinter SetPrinterPortNum result is :" << result;
    return result == ERROR_SUCCESS;
}

bool CPrinter::GetPrinterPortNum(const QString &name, unsigned short &port)
{
    qDebug() << "333_CPrinter GetPrinterPortNum" << name;
    QByteArray bytes;
    if (!readValue(
            name, cloudPortValue, "342_CPrinter",
            {"358_CPrinter GetPrinterData error is %lu, need is %lu", "367_CPrinter GetPrinterData error is %lu"},
            bytes))
        return false;
    // Another tool may have written more or fewer bytes; the first two count, a missing one is zero.
    port = 0;
    std::memcpy(&port, bytes.constData(), qMin(sizeof port, size_t(bytes.size())));
    qInfo("373_CPrinter %s port is %d", qUtf8Printable(name), port);
    return true;
}

bool CPrinter::EnumLocalPrinters(QList<Queue> &queues)
{
    return forEachEntry<PRINTER_INFO_2W>(
        {"115_CPrinter EnumPrinters GetLastError() == %lu || pcbNeeded == %lu",
         "126_CPrinter EnumPrinters GetLastError() == %lu"},
        [](LPBYTE bytes, DWORD size, LPDWORD needed, LPDWORD returned) {
            return EnumPrintersW(PRINTER_ENUM_LOCAL, nullptr, 2, bytes, size, needed, returned);
        },
        [&](const PRINTER_INFO_2W &info) {
            queues.append(toQueue(info));
            qInfo("134_CPrinter printer name: %ls, port: %ls", qUtf16Printable(queues.last().name),
                  qUtf16Printable(queues.last().port));
        });
}

bool CPrinter::nothingFound()
{
    return GetLastError() == ERROR_SUCCESS || GetLastError() == ERROR_FILE_NOT_FOUND;
}

bool CPrinter::GetCloudPrinterInfo(const QString &name, Queue &queue)
{
    qDebug() << "383_CPrinter GetCloudPrinterInfo" << name;
    const PrinterHandle printer(name, PRINTER_ALL_ACCESS, "392_CPrinter");
    if (!printer)
        return false;
    const SpoolerBlock block =
        readInfo(printer, {"402_CPrinter GetPrinter lasterror is", "411_CPrinter GetPrinterlasterror is"});
    if (!block.bytes)
        return false;
    queue = toQueue(*block.as<PRINTER_INFO_2W>());
    qInfo("419_CPrinter GetCloudPrinterInfo printer name: %ls, port: %ls", qUtf16Printable(queue.name),
          qUtf16Printable(queue.port));
    return true;
}

bool CPrinter::RenamePrinter(const QString &oldName, const QString &newName)
{
    qDebug() << "676_CPrinter RenamePrinter" << oldName << newName;
    WideText name(newName);
    const auto rename = [&name](PRINTER_INFO_2W &info) { info.pPrinterName = name.data(); };
    return changeInfo(oldName, "684_CPrinter", rename, [] {});
}

bool CPrinter::SetPrinterDriver(const QString &name, const QString &driver, const std::function<void()> &check)
{
    qDebug() << "CPrinter SetPrinterDriver" << name << driver;
    WideText driverName(driver);
    const auto change = [&driverName](PRINTER_INFO_2W &info) {
        info.pDriverName = driverName.data();
        // These settings belong to the old driver; without them the queue gets the new driver's defaults.
        info.pDevMode = nullptr;
    };
    return changeInfo(name, "CPrinter", change, check);
}

bool CPrinter::DeletePrintJob(void *printer)
{
    qDebug() << "550_CPrinter DeletePrintJob" << printer;
    DWORD needed = 0;
    GetPrinterW(printer, 2, nullptr, 0, &needed);
    if (needed == 0) {
        qDebug() << "567_CPrinter GetPrinter failed:" << GetLastError();
        return false;
    }
    const std::unique_ptr<BYTE[]> info(new BYTE[needed]);
    const DWORD size = needed;
    // No pause and no limit: the queue is purged in a tight loop until the spooler reports no jobs or the program ends.
    do {
        if (!GetPrinterW(printer, 2, info.get(), size, &needed)) {
            qDebug() << "576_CPrinter GetPrinter failed:" << GetLastError();
            return false;
        }
        if (reinterpret_cast<const PRINTER_INFO_2W *>(info.get())->cJobs == 0)
            return true;
        SetPrinterW(printer, 0, nullptr, PRINTER_CONTROL_PURGE);
    } while (!QThread::currentThread()->isInterruptionRequested());
    return false;
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

QList<SpoolJob> spoolJobs(const QString &printerName)
{
    const PrinterHandle printer(printerName);
    const SpoolerBlock info = printer ? queryInfo(printer.get()) : SpoolerBlock();
    const DWORD count = info.bytes ? info.as<PRINTER_INFO_2W>()->cJobs : 0;
    if (count == 0)
        return {};

    DWORD returned = 0;
    const SpoolerBlock block = readBlock([&](LPBYTE bytes, DWORD size, LPDWORD needed) {
        return EnumJobsW(printer.get(), 0, count, 2, bytes, size, needed, &returned);
    });
    QList<SpoolJob> jobs;
    for (DWORD i = 0; block.bytes && i < returned; ++i)
        jobs.append(toSpoolJob(block.as<const JOB_INFO_2W>()[i]));
    return jobs;
}
