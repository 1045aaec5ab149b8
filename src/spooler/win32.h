#pragma once

// The Win32 headers of the print spooler and what every call to them needs. Only for the sources of this folder: its
// public headers speak Qt types. Include it after all Qt headers.

#include <QDebug>
#include <QString>

#include <memory>

#include <windows.h>

#include <winspool.h>
#include <winsvc.h>

/// A zero-terminated UTF-16 copy of a QString, for the wide functions of Windows: they require a writable buffer
/// although they do not write to it.
class WideText
{
public:
    explicit WideText(const QString &text)
        : m_text(text)
    {
        m_text.detach();
    }

    LPWSTR data() { return reinterpret_cast<LPWSTR>(m_text.data()); }

private:
    QString m_text;
};

/// The QString of a zero-terminated UTF-16 text; empty for a null pointer.
inline QString fromWide(LPCWSTR text)
{
    return QString::fromUtf16(reinterpret_cast<const ushort *>(text));
}

/// An open printer queue, closed with the object. Any thread.
class PrinterHandle
{
public:
    /// Requests the default access if `access` is 0.
    explicit PrinterHandle(const QString &printerName, ACCESS_MASK access = 0)
    {
        PRINTER_DEFAULTSW defaults{nullptr, nullptr, access};
        if (OpenPrinterW(WideText(printerName).data(), &m_handle, access != 0 ? &defaults : nullptr))
            return;
        m_error = GetLastError();
        m_handle = nullptr;
    }

    /// Logs a failure; the line begins with `place`, its place in the code. Leaves the failure as the last error.
    PrinterHandle(const QString &printerName, ACCESS_MASK access, const char *place)
        : PrinterHandle(printerName, access)
    {
        if (m_handle)
            return;
        qCritical("%s OpenPrinter %ls, error is %lu", place, qUtf16Printable(printerName), ulong(m_error));
        SetLastError(m_error);
    }

    /// Leaves the last error of what was done with the handle.
    ~PrinterHandle()
    {
        const DWORD error = GetLastError();
        if (m_handle)
            ClosePrinter(m_handle);
        SetLastError(error);
    }
    Q_DISABLE_COPY(PrinterHandle)

    explicit operator bool() const { return m_handle != nullptr; }
    HANDLE get() const { return m_handle; }

    /// Why the queue could not be opened: a Win32 error code, 0 when it is open.
    DWORD error() const { return m_error; }

private:
    HANDLE m_handle = nullptr;
    DWORD m_error = 0;
};

constexpr int readAttempts = 5;

/// A structure of the spooler, or several, and the texts that they point to, in one block.
struct SpoolerBlock
{
    std::unique_ptr<BYTE[]> bytes; ///< null on failure
    DWORD needed = 0;              ///< size in bytes
    bool sizeFailed = false;       ///< which call failed: the size query or the reading
    DWORD error = 0;               ///< of the call that failed

    template <typename Info>
    Info *as() const
    {
        return reinterpret_cast<Info *>(bytes.get());
    }
};

/// Reads a block with one call for its size and one for its content. The latter is repeated if the content has grown
/// meanwhile: Windows may add queues at log-on. `read` calls Windows with (block, size, &needed) and returns its
/// success.
template <typename Read>
SpoolerBlock readBlock(Read read)
{
    SpoolerBlock block;
    const bool nothing = read(nullptr, 0, &block.needed) != FALSE && block.needed == 0;
    block.error = nothing ? ERROR_SUCCESS : GetLastError();
    block.sizeFailed = block.error != ERROR_INSUFFICIENT_BUFFER || block.needed == 0;
    if (block.sizeFailed)
        return block;
    for (int attempt = 0; attempt < readAttempts && block.error == ERROR_INSUFFICIENT_BUFFER; ++attempt) {
        block.bytes.reset(new BYTE[block.needed]);
        if (read(block.bytes.get(), block.needed, &block.needed))
            return block;
        block.error = GetLastError();
    }
    block.bytes.reset();
    return block;
}

/// The log lines for the failures of one reading; each names its place in the code.
struct FailureTexts
{
    const char *sizeFailed;
    const char *readFailed;
};

/// Passes each entry of an enumeration to `append`. `enumerate` calls Windows with (block, size, &needed, &returned).
/// False, and a log line, on failure and when there is no entry; the last error is 0 only in the latter case.
template <typename Info, typename Enumerate, typename Append>
bool forEachEntry(const FailureTexts &texts, Enumerate enumerate, Append append)
{
    DWORD returned = 0;
    const SpoolerBlock block =
        readBlock([&](LPBYTE bytes, DWORD size, LPDWORD needed) { return enumerate(bytes, size, needed, &returned); });
    if (!block.bytes) {
        if (block.sizeFailed)
            qCritical(texts.sizeFailed, ulong(block.error), ulong(block.needed));
        else
            qCritical(texts.readFailed, ulong(block.error));
        SetLastError(block.error);
        return false;
    }
    const auto *first = block.as<Info>();
    for (const Info *info = first; info != first + returned; ++info)
        append(*info);
    return true;
}
