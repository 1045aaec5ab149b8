#pragma once

#include "workflows/maintenancethread.h"

/// Gives each cloud printer of an older model the supported driver; name, port, serial and local port stay. A queue
/// under a temporary name shows first that set-up, driver and port work; then the old queue changes its driver in one
/// step, and what goes wrong after that is undone. A printer with waiting jobs is reported and stays as it is: they
/// were made for the old model.
class ReplacePrintersThread : public MaintenanceThread
{
    Q_OBJECT

public:
    using MaintenanceThread::MaintenanceThread;

    /// What a temporary queue's name ends with. One that is there at the start was left by a run that was killed.
    static bool isTemporary(const QString &queue);

protected:
    bool work(QString &message) override;

private:
    /// The steps. Each gives what failed, or an empty text.
    QString finishLastRun(const QList<Queue> &queues);
    QString finish(const QString &temporary, const QList<Queue> &queues);
    QString replace(const DriverCheck::CloudQueue &printer);
    QString tryOut(const DriverCheck::CloudQueue &printer, const QString &temporary);
    QString changeDriver(const DriverCheck::CloudQueue &printer);

    QString removeTemporary(const QString &temporary);
};
