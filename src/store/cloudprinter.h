#pragma once

#include <QString>

/// Which queues of the spooler are cloud printers, and how their ports are named and numbered.
namespace CloudPrinter {

const auto driverName = QStringLiteral("Orvo OX-410T");
/// Host that the ports point to and the capture servers listen on.
const auto localAddress = QStringLiteral("127.0.0.1");

/// Name of the spooler port with a number from 1 on: "OXCloud" and at least three digits.
QString portName(int number);

/// TCP port of the capture server for the spooler port with that number: 8100 + number.
quint16 portNumber(int number);

/// Whether a queue on this port is a cloud printer, whatever its driver; whether portName() returns this name.
bool isCloudPort(const QString &port);
bool isPortName(const QString &port);

/// Whether a queue with this driver and port is served by this program.
bool isCloudQueue(const QString &driver, const QString &port);

/// Whether the driver of that name is the printer maker's, for this model or an older one.
bool isOurDriver(const QString &driver);

/// Windows compares the names of queues, ports and drivers without regard to case.
bool isSameName(const QString &one, const QString &other);

/// Whether the text is a cloud serial: 16 digits from 0-9 and A-F, upper case.
bool isSerial(const QString &text);

} // namespace CloudPrinter
