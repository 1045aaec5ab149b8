#pragma once

#include "tests/support/world.h"

#include <QByteArray>

#include <atomic>
#include <vector>

/// Jobs that are printed, up to the outcome in the journal.
namespace JobLoad {

/// A printer of the program or of what it is compared with.
struct Target
{
    QString serial;
    quint16 port;    ///< on 127.0.0.1
    QString journal; ///< today's file
};

std::vector<Target> targetsOf(const World &world);

/// Prints `jobs` jobs on each of the printers, on all at once. On one printer the next job is sent when the journal has
/// the outcome of the last, so none ever waits in the slot for the next connection. False when a job was not printed.
/// Ends early, with the running jobs, once `stop` is true.
bool printOnAll(const std::vector<Target> &printers, const QByteArray &job, int jobs, const std::atomic<bool> &stop);

} // namespace JobLoad

/// Adds `printers` printers to the world, with queues "printer 1" and so on.
bool addPrinters(World &world, int printers);

/// Adds `printers` printers to the world and starts the cloud service, unless its options are empty, and the program.
/// Reports a failure on the standard error output.
bool setUp(World &world, int printers, const QStringList &cloudOptions = {});
