#pragma once

#include "emulator/win32/api.h"

/// Deletes a driver package. Not every Windows has it, so callers look it up at run time; it is not exported.
HRESULT WINAPI DeletePrinterDriverPackageW(LPCWSTR server, LPCWSTR infPath, LPCWSTR environment);
