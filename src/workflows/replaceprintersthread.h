#pragma once

#include "workflows/maintenancethread.h"

/// Gives each cloud printer of an older model the supported driver; name, port, serial and local port stay. A queue
/// under a temporary name shows first that set-up, driver and port work. Then the old queue changes its driver in one
/// call, which is taken back when the check after it fails. A printer with waiting jobs is only reported: they were
/// made for the old model.
class ReplacePrintersThread : public MaintenanceThread
{
    Q_OBJECT

public:
    using MaintenanceThread::MaintenanceThread;

    /// Whether it is the name of a temporary queue. A run that was killed leaves one, and the next run deletes it.
    static bool isTemporary(const QString &queue);

protected:
    QString work() override;
};
