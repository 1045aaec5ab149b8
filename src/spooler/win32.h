#pragma once

// The door to the platform's headers. Include it behind every Qt header.
#include <windows.h>

#include <winspool.h>
#include <winsvc.h>
