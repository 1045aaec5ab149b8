#pragma once

// Qt refuses to be included after <windows.h>, which defines WIN32.
#include <QDateTime>
#include <QString>

#include <windows.h>
#include <winspool.h>
#include <winsvc.h>
