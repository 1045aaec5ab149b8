#pragma once

#include "emulator/win32/model/ports.h"

#include <cstddef>
#include <functional>
#include <stdexcept>

struct addrinfo;

namespace Tools {

/// The work was told to stop; no fault of the connection.
class Interrupted : public std::runtime_error
{
public:
    Interrupted()
        : std::runtime_error("interrupted")
    {
    }
};

/// A raw TCP connection to a printer. Between short waits it asks whether to go on and throws Interrupted when not; a
/// connection that is refused or breaks throws std::runtime_error.
class Connection
{
public:
    Connection(const Win32Emulator::Model::Port &port, std::function<bool()> mayGoOn);
    ~Connection();
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;

    void send(const char *bytes, std::size_t size);

    /// Tells the printer that the job is complete and gives it a moment to close its side: so the job is still in the
    /// queue when the printer's software looks for it there, and a reset is noticed.
    void finish();

private:
    void connectTo(const addrinfo &address);
    void waitUntilWritable();
    bool waitFor(short events, int milliseconds) const;

    std::function<bool()> m_mayGoOn;
    int m_socket = -1;
};

} // namespace Tools
