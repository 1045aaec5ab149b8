#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

/// The ports of the stand-in port monitor, in the registry, where every process finds them.
namespace PortStore {

struct Port
{
    std::wstring host;
    DWORD number;
};

std::vector<std::wstring> names();
std::optional<Port> find(const std::wstring &name);

/// Makes a port, or aims it anew. 0 or a Win32 error code.
DWORD save(const std::wstring &name, const Port &port);

/// 0 or a Win32 error code.
DWORD remove(const std::wstring &name);

} // namespace PortStore
