#pragma once

#include "emulator/win32/api.h"

// What a caller hands to the Standard TCP/IP port monitor, as the platform's header of this name declares it.

#define MAX_PORTNAME_LEN 64
#define MAX_NETWORKNAME_LEN 49
#define MAX_SNMP_COMMUNITY_STR_LEN 33
#define MAX_QUEUENAME_LEN 33
#define MAX_IPADDR_STR_LEN 16
#define PROTOCOL_RAWTCP_TYPE 1

struct PORT_DATA_1
{
    WCHAR sztPortName[MAX_PORTNAME_LEN];
    DWORD dwVersion;
    DWORD dwProtocol;
    DWORD cbSize;
    DWORD dwReserved;
    WCHAR sztHostAddress[MAX_NETWORKNAME_LEN];
    WCHAR sztSNMPCommunity[MAX_SNMP_COMMUNITY_STR_LEN];
    DWORD dwDoubleSpool;
    WCHAR sztQueue[MAX_QUEUENAME_LEN];
    WCHAR sztIPAddress[MAX_IPADDR_STR_LEN];
    BYTE Reserved[540];
    DWORD dwPortNumber;
    DWORD dwSNMPEnabled;
    DWORD dwSNMPDevIndex;
};
static_assert(sizeof(PORT_DATA_1) == 964);

struct DELETE_PORT_DATA_1
{
    WCHAR psztPortName[MAX_PORTNAME_LEN];
    BYTE Reserved[98];
    DWORD dwVersion;
    DWORD dwReserved;
};
static_assert(sizeof(DELETE_PORT_DATA_1) == 236);

struct CONFIG_INFO_DATA_1
{
    BYTE Reserved[128];
    DWORD dwVersion;
};
static_assert(sizeof(CONFIG_INFO_DATA_1) == 132);
