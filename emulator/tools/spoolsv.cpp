// The print spooler at work: sends the queued jobs of the emulated machine to the hosts behind their ports.

#include "emulator/tools/portworker.h"
#include "emulator/tools/toolmain.h"
#include "emulator/win32/model/filelock.h"
#include "emulator/win32/model/home.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>

namespace {

using namespace Tools;
using namespace Win32Emulator;

constexpr std::chrono::milliseconds lookInterval(50);

constexpr const char *help = R"(Usage: spoolsv

Sends the print jobs of the emulated machine in $WIN32_EMULATOR_HOME, while its service "Spooler" is running. Ends on
SIGTERM or SIGINT.)";

std::atomic<bool> stop = false;

void requestStop(int)
{
    stop = true;
}

void installSignalHandlers()
{
    struct sigaction action = {};
    action.sa_handler = requestStop;
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGINT, &action, nullptr);
}

using Workers = std::map<std::string, std::unique_ptr<PortWorker>>;

/// A worker for each port that has jobs.
void startWorkers(Workers &workers)
{
    for (const std::string &port : Model::portsWithJobs()) {
        std::unique_ptr<PortWorker> &worker = workers[port];
        if (!worker || worker->hasFinished()) {
            worker.reset();
            worker = std::make_unique<PortWorker>(port, stop);
        }
    }
}

void serve()
{
    // Two of them would send each job twice.
    const Model::FileLock lock(Model::homeFolder() + "/spoolsv.lock", Model::FileLock::DoNotWait);
    installSignalHandlers();
    Workers workers;
    while (!stop) {
        if (spoolerIsRunning())
            startWorkers(workers);
        std::this_thread::sleep_for(lookInterval);
    }
}

} // namespace

int main(int argc, char **argv)
{
    const std::string argument = argc > 1 ? argv[1] : "";
    return runTool("spoolsv", [&] {
        if (argument == "--help") {
            std::puts(help);
            return;
        }
        if (!argument.empty())
            throw std::runtime_error("unknown argument " + argument + "; see spoolsv --help");
        serve();
    });
}
