#include "spooler/cprinter.h"

#include "spooler/win32text.h"

#include <QByteArray>
#include <QDebug>

#include <cstring>

// Two values of our own in the printer data of a queue bind it to a cloud printer.

namespace {

const auto cloudIdValue = QStringLiteral("CloudId");
const auto cloudPortValue = QStringLiteral("CloudPort");

/// The texts of the critical log lines of one reading operation; each names its place in the code.
struct ReadingTexts
{
    const char *openFailed;
    const char *sizeFailed;
    const char *readFailed;
};

/// Reads a value of any type. False, and a log line, when it is missing or cannot be read.
bool readValue(const QString &name, const QString &value, const ReadingTexts &texts, QByteArray &bytes)
{
    const PrinterHandle printer(name, PRINTER_ACCESS_ADMINISTER);
    if (!printer) {
        qCritical(texts.openFailed, qUtf16Printable(name), ulong(printer.error()));
        return false;
    }
    DWORD type = 0;
    DWORD needed = 0;
    DWORD result = GetPrinterDataW(printer.get(), WideText(value).data(), &type, nullptr, 0, &needed);
    if (result != ERROR_MORE_DATA || needed == 0) {
        qCritical(texts.sizeFailed, ulong(GetLastError()), ulong(needed));
        return false;
    }
    bytes.fill('\0', static_cast<int>(needed));
    result = GetPrinterDataW(printer.get(), WideText(value).data(), &type, reinterpret_cast<LPBYTE>(bytes.data()),
                             needed, &needed);
    if (result != ERROR_SUCCESS) {
        qCritical(texts.readFailed, ulong(result));
        return false;
    }
    return true;
}

DWORD writeValue(const PrinterHandle &printer, const QString &value, DWORD type, const void *bytes, int size)
{
    return SetPrinterDataW(printer.get(), WideText(value).data(), type, static_cast<LPBYTE>(const_cast<void *>(bytes)),
                           static_cast<DWORD>(size));
}

} // namespace

int CPrinter::SetCloudPrinterId(const QString &name, const QString &id)
{
    qDebug() << "224_CPrinter SetCloudPrinterId" << name << id;
    const PrinterHandle printer(name, PRINTER_ACCESS_ADMINISTER);
    if (!printer) {
        qCritical("234_CPrinter OpenPrinter %ls, error is %lu", qUtf16Printable(name), ulong(printer.error()));
        return printer.error() == ERROR_INVALID_PRINTER_NAME ? -1 : -2;
    }
    // Single-byte text in a REG_SZ, intended and read back in the same way. The size goes by the 8-bit code page.
    const int size = id.toLocal8Bit().size() + 1;
    QByteArray text = id.toUtf8();
    while (text.size() < size)
        text.append('\0');
    // The platform may lengthen a REG_SZ of an odd size when a zero byte follows it in memory.
    text.append('\xff');
    return static_cast<int>(writeValue(printer, cloudIdValue, REG_SZ, text.constData(), size));
}

bool CPrinter::GetCloudPrinterId(const QString &name, QString &id)
{
    qDebug() << "258_CPrinter GetCloudPrinterId" << name;
    QByteArray text;
    if (!readValue(name, cloudIdValue,
                   {"267_CPrinter OpenPrinter %ls, error is %lu",
                    "283_CPrinter GetPrinterData error is %lu, need is %lu",
                    "292_CPrinter GetPrinterData error is %lu"},
                   text))
        return false;
    // The platform may have given more bytes than the text has, or no terminator.
    id = QString::fromUtf8(text.constData(), static_cast<int>(qstrnlen(text.constData(), uint(text.size()))));
    qDebug() << "299_CPrinter GetCloudPrinterId result:" << id;
    return true;
}

bool CPrinter::SetPrinterPortNum(const QString &name, unsigned short port)
{
    qDebug() << "305_CPrinter SetPrinterPortNum" << name << port;
    const PrinterHandle printer(name, PRINTER_ACCESS_ADMINISTER);
    if (!printer) {
        qCritical("314_CPrinter OpenPrinter %ls, error is %lu", qUtf16Printable(name), ulong(printer.error()));
        return false;
    }
    const DWORD result = writeValue(printer, cloudPortValue, REG_BINARY, &port, sizeof port);
    qDebug() << "314_CPrinter SetPrinterPortNum result is :" << result;
    return result == ERROR_SUCCESS;
}

bool CPrinter::GetPrinterPortNum(const QString &name, unsigned short &port)
{
    qDebug() << "333_CPrinter GetPrinterPortNum" << name;
    QByteArray bytes;
    if (!readValue(name, cloudPortValue,
                   {"342_CPrinter OpenPrinter %ls, error is %lu",
                    "358_CPrinter GetPrinterData error is %lu, need is %lu",
                    "367_CPrinter GetPrinterData error is %lu"},
                   bytes))
        return false;
    // Another tool may have written more or fewer bytes; the first two count, a missing one is zero.
    port = 0;
    std::memcpy(&port, bytes.constData(), qMin(sizeof port, size_t(bytes.size())));
    qInfo("373_CPrinter %s port is %d", qUtf8Printable(name), port);
    return true;
}
