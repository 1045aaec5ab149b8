#pragma once

#include <QString>

/// Sets up a fresh spooler like that of a machine with one cloud printer.
namespace Provisioning {

/// The stand-in port monitor; its library must be in the system folder.
bool addMonitor();

/// The printer driver's entry, without files.
bool addDriver();

/// A port by the helper library, a queue on it by the printer set-up, and the printer data that binds it.
bool addCloudQueue(const QString &queue, const QString &serial, unsigned short portNumber);

} // namespace Provisioning
