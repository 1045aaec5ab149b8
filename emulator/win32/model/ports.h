#pragma once

#include <optional>
#include <string>
#include <vector>

namespace Win32Emulator::Model {

/// A Standard TCP/IP port of the raw protocol.
struct Port
{
    std::string name;
    std::string host;
    unsigned number = 0;
};

/// Adds a port; throws ERROR_ALREADY_EXISTS when the name is taken.
void addPort(const Port &port);

std::optional<Port> findPort(const std::string &name);

/// The ports in the order of their creation.
std::vector<Port> ports();

} // namespace Win32Emulator::Model
