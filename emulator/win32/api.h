#pragma once

// The declarations of the functions that this library exports. Whatever includes this header and defines one of them
// exports it; all else in the library is hidden.
#pragma GCC visibility push(default)
#include <windows.h>
#include <winspool.h>
#include <winsvc.h>
#pragma GCC visibility pop
