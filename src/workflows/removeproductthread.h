#pragma once

#include "workflows/maintenancethread.h"

/// Removes everything that the program has installed: the cloud printers, then drivers and packages, then the ports
/// that no queue uses. It ends after the first of these that fails, and the message names what is left; the next run
/// continues there.
class RemoveProductThread : public MaintenanceThread
{
    Q_OBJECT

public:
    using MaintenanceThread::MaintenanceThread;

protected:
    QString work() override;

private:
    void removePrinters();
    void removeDrivers(const QStringList &packages);
    void removePorts();
};
