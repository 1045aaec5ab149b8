#pragma once

#include "workflows/maintenancethread.h"

#include <functional>

/// Takes out of the system what the program has put there: the cloud printers, then drivers and packages, then the
/// ports that no queue uses. The first failure ends it, and the message names what is left; the next run goes on there.
class RemoveProductThread : public MaintenanceThread
{
    Q_OBJECT

public:
    using MaintenanceThread::MaintenanceThread;

protected:
    bool work(QString &message) override;

private:
    /// The steps. Each gives what is left, or an empty text.
    QString removePrinters();
    QString removeDrivers();
    QString removePorts();
    /// Removes and reports each of the items; `left` has a place for the name of the first that stays.
    QString removeEach(const QStringList &items, const QString &left,
                       const std::function<bool(const QString &)> &remove);
    bool removePackage(const QString &infPath);

    /// Notes the packages of our drivers in a file: a package's path is known only while its driver is installed, and
    /// the next run must know it if this one ends between the two.
    QString notePackages();
    void notePackagesOf(const QString &driver);
};
