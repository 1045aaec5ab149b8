#include "packaging/trial/printing.h"

#include <QFile>
#include <QFileInfo>

#include "src/spooler/win32.h"

namespace {

bool printPage(HANDLE printer, QByteArray bytes)
{
    DWORD written = 0;
    return StartPagePrinter(printer) &&
           WritePrinter(printer, bytes.data(), static_cast<DWORD>(bytes.size()), &written) &&
           written == static_cast<DWORD>(bytes.size()) && EndPagePrinter(printer);
}

} // namespace

bool printFile(const QString &queue, const QString &fileName)
{
    QFile file(fileName);
    const PrinterHandle printer(queue, PRINTER_ACCESS_USE);
    if (!printer || !file.open(QIODevice::ReadOnly))
        return false;
    WideText document(QFileInfo(fileName).fileName());
    WideText dataType(QStringLiteral("RAW"));
    DOC_INFO_1W description = {document.data(), nullptr, dataType.data()};
    return StartDocPrinterW(printer.get(), 1, reinterpret_cast<LPBYTE>(&description)) &&
           printPage(printer.get(), file.readAll()) && EndDocPrinter(printer.get());
}
