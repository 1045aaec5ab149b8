#pragma once

#include "workflows/maintenancethread.h"

#include <functional>

/// Removes everything that the program has installed: the cloud printers, then drivers and packages, then the ports
/// that no queue uses. It stops at the first failure, and the message names what is left; the next run continues there.
class RemoveProductThread : public MaintenanceThread
{
    Q_OBJECT

public:
    using MaintenanceThread::MaintenanceThread;

protected:
    bool work(QString &message) override;

private:
    /// The steps. Each returns the message that names what is left, or an empty text.
    QString removePrinters();
    QString removeDrivers();
    QString removePorts();
    /// Removes and reports each of the items; `left` is the message for the first that cannot be removed, "%1" its
    /// name.
    QString removeEach(const QStringList &items, const QString &left,
                       const std::function<bool(const QString &)> &remove);
    bool removePackage(const QString &infPath);

    /// Notes the packages of our drivers in a file: a package's path is known only while its driver is installed, and
    /// the next run must know it if this one ends between the two.
    QString notePackages();
    void notePackagesOf(const QString &driver);
};
