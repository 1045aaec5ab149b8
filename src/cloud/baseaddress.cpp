#include "cloud/baseaddress.h"

QString cloudBaseAddress()
{
    return QStringLiteral(ORVO_CLOUD_BASE_ADDRESS);
}
