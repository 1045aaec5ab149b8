#include "emulator/win32/control.h"

#include "emulator/win32/call.h"
#include "emulator/win32/model/calls.h"
#include "emulator/win32/model/faults.h"
#include "emulator/win32/model/jobs.h"
#include "emulator/win32/model/printerdata.h"
#include "emulator/win32/model/schema.h"
#include "emulator/win32/printerhandle.h"
#include "emulator/win32/registry.h"
#include "emulator/win32/servicehandle.h"
#include "emulator/win32/time.h"

#include <sstream>

namespace Win32Emulator {

void reset()
{
    clearHooks();
    switchVirtualTime(false);
    Model::resetState();
}

void addDriver(const std::string &name)
{
    Model::addDriver({name});
}

void installDriver(const Model::Driver &driver)
{
    Model::addDriver(driver);
}

std::vector<Model::Printer> printers()
{
    return Model::printers();
}

std::vector<Model::Port> ports()
{
    return Model::ports();
}

std::vector<Model::Driver> drivers()
{
    return Model::drivers();
}

std::vector<Model::DriverPackage> driverPackages()
{
    return Model::driverPackages();
}

void addPort(const std::string &name, const std::string &host, unsigned number)
{
    Model::addPort({name, host, number});
}

void addPrinter(const std::string &name, const std::string &port, const std::string &driver)
{
    Model::addPrinter(name, port, driver);
}

void removePrinter(const std::string &name)
{
    Model::removePrinter(name);
}

void setPrinterData(const std::string &printer, const std::string &value, unsigned type, const std::string &bytes)
{
    Model::setPrinterData(Model::findPrinter(printer).id, value, type, bytes);
}

std::optional<std::pair<unsigned, std::string>> printerData(const std::string &printer, const std::string &value)
{
    return Model::printerData(Model::findPrinter(printer).id, value);
}

unsigned addJob(const std::string &printer, const std::string &document, const std::string &bytes,
                std::optional<SubmissionTime> submitted)
{
    std::istringstream stream(bytes);
    return Model::addJob(printer, document, stream, submitted.value_or(SubmissionTime()));
}

void setJobStatus(unsigned job, unsigned status)
{
    Model::setJobStatus(job, status);
}

void removeJob(unsigned job)
{
    Model::removeJob(job);
}

void failCalls(const std::string &function, unsigned error, int skip, int times)
{
    Model::addFault(function, error, skip, times);
}

void beforeCall(const std::string &function, std::function<void()> action)
{
    setHook(function, std::move(action));
}

void addService(const std::string &name, const std::string &dependsOn)
{
    Model::addService(name, dependsOn);
}

unsigned serviceState(const std::string &name)
{
    return Model::serviceState(name);
}

void setServiceState(const std::string &name, unsigned state)
{
    Model::setServiceState(name, state);
}

void scriptService(const std::string &name, const std::vector<Model::ServiceStatus> &statuses)
{
    Model::scriptService(name, statuses);
}

void useVirtualTime(unsigned ticks)
{
    switchVirtualTime(true, ticks);
}

std::vector<Call> calls(const std::string &function)
{
    std::vector<Call> result;
    for (const auto &[name, arguments] : Model::recordedCalls(function))
        result.push_back({name, arguments});
    return result;
}

void clearCalls()
{
    Model::clearCalls();
}

int openHandles()
{
    return static_cast<int>(printerHandles().size() + serviceHandles().size() + registryKeys().size());
}

} // namespace Win32Emulator
