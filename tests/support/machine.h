#pragma once

#include <QSignalSpy>
#include <QStringList>
#include <QThread>

#include <string>

/// Adds a queue of ours to the emulated spooler, with its port on 127.0.0.1 and its printer data.
void addCloudPrinter(const QString &queue, const QString &portName, quint16 port, const QString &serial,
                     const std::string &driver = "Orvo OX-410T");

/// All that the emulated spooler holds, one text for each port ("port NAME HOST:NUMBER"), driver ("driver NAME VERSION
/// ENVIRONMENT"), package and queue ("queue NAME PORT DRIVER ID CLOUDPORT"; "-" for missing printer data).
QStringList machineContent();

/// The telling arguments of the calls of a Win32 function, oldest first.
QStringList argumentsOf(const std::string &function);

/// Runs a worker to its end and gives the arguments of its one result signal; empty when it was emitted more or less
/// than once.
template <typename Thread, typename Signal>
QVariantList resultOf(Thread &thread, Signal signal)
{
    const QSignalSpy results(&thread, signal);
    thread.start();
    thread.wait();
    return results.size() == 1 ? results.first() : QVariantList();
}
