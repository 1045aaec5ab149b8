#pragma once

#include "emulator/win32/model/drivers.h"
#include "emulator/win32/model/ports.h"
#include "emulator/win32/model/printers.h"
#include "emulator/win32/model/services.h"
#include "emulator/win32/model/submissiontime.h"

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// The emulator's face for tests: sets up and inspects the machine that the Win32 functions act on. The machine lies in
/// the folder $WIN32_EMULATOR_HOME (read on each call) and is shared by all processes that name that folder. Texts
/// are UTF-8. Any thread. What cannot be done (an unknown printer, a taken name) throws std::runtime_error.
#pragma GCC visibility push(default)
namespace Win32Emulator {

/// A fresh machine: the service "Spooler" running, nothing else; no faults, hooks or recorded calls; real time.
void reset();

/// Installs a driver for the environment "Windows x64", with a version and an INF path.
void addDriver(const std::string &name = "Orvo OX-410T");

/// Installs a driver for any environment, with the version and the INF path given.
void installDriver(const Model::Driver &driver);

/// What is there, in the order of creation.
std::vector<Model::Printer> printers();
std::vector<Model::Port> ports();
std::vector<Model::Driver> drivers();
std::vector<Model::DriverPackage> driverPackages();

/// Adds a Standard TCP/IP port of the raw protocol.
void addPort(const std::string &name, const std::string &host, unsigned number);

/// Adds a queue on an existing port and driver.
void addPrinter(const std::string &name, const std::string &port, const std::string &driver = "Orvo OX-410T");

/// Removes a queue and its jobs at once.
void removePrinter(const std::string &name);

/// Stores a value of a queue's printer data; `type` is a registry type.
void setPrinterData(const std::string &printer, const std::string &value, unsigned type, const std::string &bytes);

/// Type and bytes of a value, when there is such a value.
std::optional<std::pair<unsigned, std::string>> printerData(const std::string &printer, const std::string &value);

/// Queues a job; returns its number.
unsigned addJob(const std::string &printer, const std::string &document, const std::string &bytes,
                std::optional<SubmissionTime> submitted = {});

/// `status` is made of JOB_STATUS_... bits.
void setJobStatus(unsigned job, unsigned status);

void removeJob(unsigned job);

/// Lets calls of a function fail with an error: `times` times (for good when negative), after `skip` calls that are
/// let pass. Of every process.
void failCalls(const std::string &function, unsigned error, int skip = 0, int times = 1);

/// Runs the action once, before the next call of the function in this process does its work, for instance to change the
/// machine between the two calls of a size query.
void beforeCall(const std::string &function, std::function<void()> action);

/// Adds a running service that needs another one.
void addService(const std::string &name, const std::string &dependsOn);

/// State of a service, a SERVICE_... value.
unsigned serviceState(const std::string &name);
void setServiceState(const std::string &name, unsigned state);

/// Lays down what a service reports from now on: one status for each start, control and query, the last one for good.
void scriptService(const std::string &name, const std::vector<Model::ServiceStatus> &statuses);

/// Lets Sleep() return at once and GetTickCount() count nothing but what was slept, from `ticks` on. In this process,
/// until reset().
void useVirtualTime(unsigned ticks = 0);

/// A recorded call: the function's name and its telling arguments, as in "前台 access=0x4".
struct Call
{
    std::string function;
    std::string arguments;
};

/// The calls of all processes, oldest first; of one function when it is named.
std::vector<Call> calls(const std::string &function = {});

void clearCalls();

/// Handles of printers, services and registry keys that are open in this process.
int openHandles();

} // namespace Win32Emulator
#pragma GCC visibility pop
