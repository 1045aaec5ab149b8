#pragma once

#include <QString>

/// Lays into a fresh spooler what a machine with one cloud printer has.
namespace Provisioning {

/// The stand-in port monitor, which lies in the system folder already.
bool addMonitor();

/// The printer driver's entry, without files.
bool addDriver();

/// A port by the helper library, a queue on it by the printer set-up, and the printer data that binds it.
bool addCloudQueue(const QString &queue, const QString &serial, unsigned short portNumber);

} // namespace Provisioning
