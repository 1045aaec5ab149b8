#include "quaylink/xcv.h"

namespace Quaylink {

XcvHandle XcvHandle::monitor()
{
    return XcvHandle(wide(",XcvMonitor Standard TCP/IP Port"));
}

XcvHandle XcvHandle::port(LPCWSTR name)
{
    return XcvHandle(wide(",XcvPort ") + name);
}

XcvHandle::XcvHandle(WideString name)
{
    PRINTER_DEFAULTSW defaults{nullptr, nullptr, SERVER_ACCESS_ADMINISTER};
    if (OpenPrinterW(name.data(), &m_handle, &defaults))
        return;
    m_openError = GetLastError();
    m_handle = nullptr;
}

XcvHandle::~XcvHandle()
{
    if (m_handle)
        ClosePrinter(m_handle);
}

DWORD XcvHandle::transfer(const char *command, BYTE *input, DWORD inputSize, BYTE *output, DWORD outputSize)
{
    if (!m_handle)
        return m_openError;
    DWORD needed = 0; // required even by commands without output
    DWORD status = ERROR_SUCCESS;
    // The call's own success only means that the command was delivered; the monitor's verdict is the status.
    if (!XcvDataW(m_handle, wide(command).c_str(), input, inputSize, output, outputSize, &needed, &status))
        return GetLastError();
    return status;
}

} // namespace Quaylink
