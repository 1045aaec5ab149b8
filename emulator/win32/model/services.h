#pragma once

#include <string>

namespace Win32Emulator::Model {

/// State of a service, a SERVICE_... value. Throws ERROR_SERVICE_DOES_NOT_EXIST.
unsigned serviceState(const std::string &name);

/// Sets it, without regard to what the service was doing.
void setServiceState(const std::string &name, unsigned state);

} // namespace Win32Emulator::Model
