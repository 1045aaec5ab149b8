#pragma once

#include <winsock2.h>

#include <windows.h>

#include <string>

/// A connection that carries one print job, byte for byte, to a host and port number.
class RawConnection
{
public:
    RawConnection() = default;
    ~RawConnection() { close(); }
    RawConnection(const RawConnection &) = delete;
    RawConnection &operator=(const RawConnection &) = delete;

    /// The host is an IPv4 address in numbers.
    bool open(const std::wstring &host, DWORD number);

    /// Sends all of it.
    bool send(const BYTE *bytes, DWORD size);

    void close();

private:
    SOCKET m_socket = INVALID_SOCKET;
};
