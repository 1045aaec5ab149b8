#pragma once

#include <QString>

#include <memory>

#include "spooler/win32.h"

/// An open printer queue, closed with the object. Any thread.
class PrinterHandle
{
public:
    /// Opens a queue with default access.
    explicit PrinterHandle(const QString &printerName);

    /// Opens a queue with the given access rights.
    PrinterHandle(const QString &printerName, ACCESS_MASK access);

    ~PrinterHandle();
    Q_DISABLE_COPY(PrinterHandle)

    explicit operator bool() const { return m_handle != nullptr; }
    HANDLE get() const { return m_handle; }

    /// Why the queue could not be opened: a Win32 error code, 0 when it is open.
    DWORD error() const { return m_error; }

private:
    void open(const QString &printerName, PRINTER_DEFAULTSW *defaults);

    HANDLE m_handle = nullptr;
    DWORD m_error = 0;
};

/// A structure of the spooler and the texts that it points to, in one block. Freed as an array of bytes.
using SpoolerBuffer = std::unique_ptr<BYTE[]>;
