#pragma once

#include <QString>

/// Base address of the cloud print service: scheme, IP address and port, no path. Fixed when the program is built. It
/// is alone in its object file, so that a test which defines the function itself replaces it.
QString cloudBaseAddress();
