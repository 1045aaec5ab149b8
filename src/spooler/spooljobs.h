#pragma once

#include <QList>
#include <QString>

/// A job in a spooler queue.
struct SpoolJob
{
    QString document;
    /// "hour:minute:second" of the submission in China Standard Time, two digits each. The spooler's UTC hour plus 8,
    /// not wrapped at 24: a job of 23:30:00 UTC reads "31:30:00". That is intended.
    QString submissionTime;
    bool printing = false;
};

/// The jobs of a queue in the spooler's order. Empty when the queue cannot be opened or read, or holds none. Any
/// thread.
QList<SpoolJob> spoolJobs(const QString &printerName);
