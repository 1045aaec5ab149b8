#pragma once

#include "workflows/maintenancethread.h"

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
    /// An installed driver and the package that it came from.
    struct Package
    {
        QString driver;
        QString environment;
        QString infPath;
    };

    /// The steps. Each gives what is left, or an empty text.
    QString removePrinters();
    QString removeDrivers();
    QString removeDriver(const Package &package);
    QString removePorts();

    /// Notes the packages of our drivers in a file: a package's path is known only while its driver is installed, and
    /// the next run must know it after a run that ended between the two.
    QString notePackages();
    void notePackagesOf(const QString &driver);
    void readNote();
    void writeNote() const;

    QList<Package> m_packages;
};
