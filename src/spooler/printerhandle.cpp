#include "spooler/printerhandle.h"

#include "spooler/win32text.h"

PrinterHandle::PrinterHandle(const QString &printerName)
{
    open(printerName, nullptr);
}

PrinterHandle::PrinterHandle(const QString &printerName, ACCESS_MASK access)
{
    PRINTER_DEFAULTSW defaults{nullptr, nullptr, access};
    open(printerName, &defaults);
}

PrinterHandle::~PrinterHandle()
{
    if (m_handle)
        ClosePrinter(m_handle);
}

void PrinterHandle::open(const QString &printerName, PRINTER_DEFAULTSW *defaults)
{
    if (OpenPrinterW(WideText(printerName).data(), &m_handle, defaults))
        return;
    m_error = GetLastError();
    m_handle = nullptr;
}
