#include "quaylink/xcv.h"

namespace Quaylink {

Xcv Xcv::monitor()
{
    return Xcv(wide(",XcvMonitor Standard TCP/IP Port"));
}

Xcv Xcv::port(LPCWSTR name)
{
    return Xcv(wide(",XcvPort ") + name);
}

Xcv::Xcv(WideString name)
{
    PRINTER_DEFAULTSW defaults{nullptr, nullptr, SERVER_ACCESS_ADMINISTER};
    if (OpenPrinterW(name.data(), &m_handle, &defaults))
        return;
    m_openError = GetLastError();
    m_handle = nullptr;
}

Xcv::~Xcv()
{
    if (m_handle)
        ClosePrinter(m_handle);
}

DWORD Xcv::transfer(const char *command, BYTE *input, DWORD inputSize, BYTE *output, DWORD outputSize)
{
    if (!m_handle)
        return m_openError;
    DWORD needed = 0; // asked for even by commands that answer nothing
    DWORD status = ERROR_SUCCESS;
    // The call's own success only means that the command was delivered; the monitor's verdict is the status.
    if (!XcvDataW(m_handle, wide(command).c_str(), input, inputSize, output, outputSize, &needed, &status))
        return GetLastError();
    return status;
}

} // namespace Quaylink
