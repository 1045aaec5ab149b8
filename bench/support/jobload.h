#pragma once

#include "bench/support/stage.h"

#include <QByteArray>

#include <atomic>

/// Jobs that are printed, to the outcome in the journal.
namespace JobLoad {

/// Sends a job and waits for its record; empty when it was not sent or has no outcome in good time.
QByteArray print(const StagePrinter &printer, const QByteArray &job);

/// Prints so many jobs on each of the printers at once, on one printer one after the other: the next is sent as soon as
/// the journal has the outcome of the last, so none ever waits in the slot for the next connection. False when a job
/// was not printed. Ends early, with the jobs under way, once `stop` is true.
bool printOnAll(const std::vector<StagePrinter> &printers, const QByteArray &job, int jobs,
                const std::atomic<bool> &stop);

} // namespace JobLoad
