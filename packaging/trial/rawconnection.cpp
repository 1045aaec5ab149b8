#include "packaging/trial/rawconnection.h"

#include <ws2tcpip.h>

bool RawConnection::open(const std::wstring &host, DWORD number)
{
    WSADATA data;
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<u_short>(number));
    if (WSAStartup(MAKEWORD(2, 2), &data) != 0 || InetPtonW(AF_INET, host.c_str(), &address.sin_addr) != 1)
        return false;
    m_socket = socket(AF_INET, SOCK_STREAM, 0);
    if (connect(m_socket, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0)
        return true;
    close();
    return false;
}

bool RawConnection::send(const BYTE *bytes, DWORD size)
{
    while (size > 0) {
        const int sent = ::send(m_socket, reinterpret_cast<const char *>(bytes), static_cast<int>(size), 0);
        if (sent <= 0)
            return false;
        bytes += sent;
        size -= static_cast<DWORD>(sent);
    }
    return true;
}

void RawConnection::close()
{
    if (m_socket == INVALID_SOCKET)
        return;
    shutdown(m_socket, SD_SEND);
    closesocket(m_socket);
    m_socket = INVALID_SOCKET;
    WSACleanup();
}
