#pragma once

#include "workflows/maintenancethread.h"

/// Installs the driver of the package over an older one, in place: the queues stay what they are, and only their driver
/// becomes newer. Each cloud printer is looked at afterwards and reported. Never installs an older driver.
class DriverUpdateThread : public MaintenanceThread
{
    Q_OBJECT

public:
    using MaintenanceThread::MaintenanceThread;

protected:
    bool work(QString &message) override;

private:
    bool installDriver();
    void checkPrinters(QList<DriverCheck::CloudQueue> printers);
};
