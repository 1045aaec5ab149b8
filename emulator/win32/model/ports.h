#pragma once

#include <optional>
#include <string>
#include <vector>

namespace Win32Emulator {

/// A Standard TCP/IP port of the raw protocol.
struct Port
{
    std::string name;
    std::string host;
    unsigned number = 0;
};

/// Adds a port; throws ERROR_ALREADY_EXISTS if the name is taken.
void addPort(const std::string &name, const std::string &host, unsigned number);

/// Changes the host and number of an existing port; throws ERROR_UNKNOWN_PORT.
void changePort(const Port &port);

/// Throws ERROR_UNKNOWN_PORT, and ERROR_BUSY while a queue prints to the port.
void deletePort(const std::string &name);

std::optional<Port> findPort(const std::string &name);

/// The ports in the order of their creation.
std::vector<Port> ports();

} // namespace Win32Emulator
