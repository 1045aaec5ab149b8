#include "tests/support/cloudaddress.h"

#include "src/cloud/baseaddress.h"

static QString baseAddress;

QString cloudBaseAddress()
{
    return baseAddress;
}

void setCloudBaseAddress(const QString &address)
{
    baseAddress = address;
}
