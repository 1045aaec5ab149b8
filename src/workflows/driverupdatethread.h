#pragma once

#include "workflows/maintenancethread.h"

/// Installs the package's driver over an older one. The queues do not change; only their driver becomes newer.
/// Afterwards each cloud printer is checked and reported. Never installs an older driver.
class DriverUpdateThread : public MaintenanceThread
{
    Q_OBJECT

public:
    using MaintenanceThread::MaintenanceThread;

protected:
    QString work() override;
};
