#pragma once

#include <windows.h>
#include <winsvc.h>

/// Quaylink.dll, the helper library for Standard TCP/IP ports, dependent services and printer drivers. The program
/// never links it but finds these exports by name at run time; C calling convention, texts zero-terminated UTF-16.
/// Every export may be called from any thread. A null, empty or over-long argument is refused with
/// ERROR_INVALID_PARAMETER.
namespace Quaylink {

/// Size, in UTF-16 units with the terminating zero, of the buffer for GetConfigStandardTcpPort. The export takes no
/// size, so both sides rely on this constant.
constexpr int hostCapacity = 64;

/// 0 or a Win32 error code. The port uses the raw protocol, without SNMP status.
using AddStandardTcpPort = int(LPCWSTR port, LPCWSTR host, DWORD number);

/// 0 or a Win32 error code. Changes the host and number of an existing port.
using ConfigStandardTcpPort = int(LPCWSTR port, LPCWSTR host, DWORD number);

/// 0 or a Win32 error code.
using DeleteStandardTcpPort = int(LPCWSTR port);

/// 0 or a Win32 error code; `host` and `number` are written only with 0.
using GetConfigStandardTcpPort = int(LPCWSTR port, LPWSTR host, DWORD *number);

/// Non-zero when no service that depends on the given one runs any more. `service` needs the right to enumerate
/// dependents. Blocks for up to half a minute.
using StopDependentServices = int(SC_HANDLE manager, SC_HANDLE service);

/// Non-zero on success; otherwise `error` holds a Win32 error code.
using QDeletePrinterDriver = int(LPCWSTR driver, LPCWSTR environment, DWORD *error);

} // namespace Quaylink
