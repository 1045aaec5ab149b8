#pragma once

#include "spooler/cprinter.h"

#include <QList>
#include <QString>

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

/// A queue that is bound to a cloud printer by both values of its printer data.
struct CloudQueue
{
    Queue queue;
    QString serial;
    quint16 portNumber = 0; ///< local TCP port

    /// Whether it has a driver other than the supported one.
    bool isOutdated() const;
};

/// The package's INF file, as Qt opens it; the set-up of Windows requires backslashes.
QString infFile();
QString infFileForSetup();

/// Versions are dotted numbers of any length; a missing part counts as 0.
Versions versions();

/// Nothing when there is no such queue, or it is not bound to a cloud printer, or it cannot be read: then `failed` is
/// set, else cleared.
std::optional<CloudQueue> readQueue(const QString &name, bool *failed = nullptr);

/// All local queues, or those that are bound to a cloud printer, in the spooler's order. Nothing when the spooler does
/// not answer or one of our queues cannot be read.
std::optional<QList<Queue>> localQueues();
std::optional<QList<CloudQueue>> cloudQueues();

/// The message for that.
const auto unreadable = QStringLiteral("无法读取打印机列表");

/// Nothing when the spooler does not answer.
std::optional<bool> isInstalled(const QString &driver);

} // namespace DriverCheck
