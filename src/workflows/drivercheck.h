#pragma once

#include "spooler/cprinter.h"
#include "store/cloudprinter.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

/// The state of our driver and its printers, read from the spooler and from the driver package beside the program.
/// Changes nothing. Any thread.
namespace DriverCheck {

enum class State { NotInstalled, UpToDate, PackageNewer, InstalledNewer, InstalledUnreadable, PackageUnreadable };

struct Versions
{
    State state = State::NotInstalled;
    QString installed;
    QString package;

    /// The explanation for the user.
    QString meaning() const;

    /// Whether both versions could be read, or there is no driver.
    bool isReadable() const { return state != State::InstalledUnreadable && state != State::PackageUnreadable; }
};

/// A queue and the two values of its printer data that bind it to a cloud printer.
struct Printer : Queue
{
    QString serial = {};
    quint16 portNumber = 0; ///< local TCP port; 0 unless both values are there

    bool isBound() const { return portNumber != 0; }
    bool isCurrent() const { return isBound() && driver == CloudPrinter::driverName; }
    bool isOutdated() const { return isBound() && driver != CloudPrinter::driverName; }
};

/// The package's INF file, as Qt opens it; the set-up of Windows requires backslashes.
QString infFile();
QString infFileForSetup();

/// Versions are dotted numbers of any length; a missing part counts as 0.
Versions versions();

/// The local queues, or the wanted ones of them, in the spooler's order; the queue of that name. Throw a Failure when
/// the spooler does not answer or a queue of ours cannot be read.
QList<Queue> localQueues();
QList<Printer> queues(const std::function<bool(const Printer &)> &isWanted);
std::optional<Printer> findQueue(const QString &name);

QStringList namesOf(const QList<Printer> &printers);

/// Throws a Failure unless the queue has the supported driver, and port, serial and local port of `printer`.
void requireReady(const QString &queue, const Printer &printer);

/// Nothing when the spooler does not answer.
std::optional<bool> isInstalled(const QString &driver);

} // namespace DriverCheck
