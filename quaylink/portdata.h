#pragma once

#include <windows.h>

#include <cstddef>

// The structures that the Standard TCP/IP port monitor takes through XcvData, as documented for tcpxcv.h. Declared here
// because not every set of Win32 headers has that file.

namespace Quaylink {

constexpr DWORD portDataVersion = 1;
constexpr DWORD rawProtocol = 1;

struct PortData
{
    WCHAR portName[64];
    DWORD version;
    DWORD protocol;
    DWORD size;
    DWORD reserved;
    WCHAR hostAddress[49];
    WCHAR snmpCommunity[33];
    DWORD doubleSpool;
    WCHAR queue[33];
    WCHAR ipAddress[16];
    BYTE reservedBytes[540];
    DWORD portNumber;
    DWORD snmpEnabled;
    DWORD snmpDeviceIndex;
};
static_assert(sizeof(PortData) == 964 && offsetof(PortData, hostAddress) == 144 && offsetof(PortData, queue) == 312 &&
              offsetof(PortData, portNumber) == 952);

struct DeletePortData
{
    WCHAR portName[64];
    BYTE reservedBytes[98];
    DWORD version;
    DWORD reserved;
};
static_assert(sizeof(DeletePortData) == 236 && offsetof(DeletePortData, version) == 228);

struct ConfigInfoData
{
    BYTE reserved[128];
    DWORD version;
};
static_assert(sizeof(ConfigInfoData) == 132);

/// Units of a port name and of a host address, with the terminating zero.
constexpr std::size_t portNameCapacity = sizeof(PortData::portName) / sizeof(WCHAR);
constexpr std::size_t hostAddressCapacity = sizeof(PortData::hostAddress) / sizeof(WCHAR);

} // namespace Quaylink
