#include "emulator/tools/portworker.h"

#include "emulator/tools/connection.h"
#include "emulator/win32/model/error.h"
#include "emulator/win32/model/services.h"

#include <windows.h>
#include <winspool.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <vector>

namespace Tools {

namespace {

using namespace Win32Emulator;

constexpr std::size_t blockSize = 64 * 1024;
constexpr std::chrono::milliseconds retryInterval(1000);
constexpr std::chrono::milliseconds slice(50);

void mark(const Model::Job &job, unsigned status)
{
    try {
        Model::setJobStatus(job.id, status);
    } catch (const Model::Error &) {
        // Purged meanwhile.
    }
}

} // namespace

bool spoolerIsRunning()
{
    return Model::serviceState("Spooler") == SERVICE_RUNNING;
}

PortWorker::PortWorker(std::string port, const std::atomic<bool> &stop)
    : m_port(std::move(port))
    , m_stop(stop)
    , m_thread(&PortWorker::run, this)
{
}

PortWorker::~PortWorker()
{
    m_thread.join();
}

void PortWorker::run()
{
    try {
        serveJobs();
    } catch (const std::exception &error) {
        std::fprintf(stderr, "spoolsv: port %s: %s\n", m_port.c_str(), error.what());
    }
    m_finished = true;
}

void PortWorker::serveJobs()
{
    // A job that a killed spooler left marked as printing is the oldest one, too, and is taken up again.
    while (mayServe()) {
        const std::optional<Model::Job> job = Model::oldestJob(m_port);
        if (!job)
            return;
        if (!deliver(*job))
            pauseBeforeRetry();
    }
}

/// False when the job is to be tried again after a while.
bool PortWorker::deliver(const Model::Job &job)
{
    try {
        // Before the connection: whoever accepts it looks for the job that is printing.
        mark(job, JOB_STATUS_PRINTING);
        send(job);
        Model::removeJob(job.id);
        return true;
    } catch (const Interrupted &) {
        mark(job, 0);
        return true;
    } catch (const std::exception &error) {
        report(job, error.what());
        mark(job, JOB_STATUS_ERROR);
        return false;
    }
}

void PortWorker::send(const Model::Job &job) const
{
    const std::optional<Model::Port> port = Model::findPort(m_port);
    if (!port)
        throw std::runtime_error("the port is gone");
    std::ifstream file(job.file, std::ios::binary);
    Connection connection(*port, [&] { return mayServe() && Model::jobExists(job.id); });
    if (!file)
        throw std::runtime_error("cannot read " + job.file);
    std::vector<char> block(blockSize);
    while (file.read(block.data(), static_cast<std::streamsize>(block.size())), file.gcount() > 0)
        connection.send(block.data(), static_cast<std::size_t>(file.gcount()));
    connection.finish();
}

void PortWorker::report(const Model::Job &job, const char *reason)
{
    // Once a job, not once a second.
    if (m_reportedJob != job.id)
        std::fprintf(stderr, "spoolsv: port %s, job %u: %s\n", m_port.c_str(), job.id, reason);
    m_reportedJob = job.id;
}

void PortWorker::pauseBeforeRetry() const
{
    const auto end = std::chrono::steady_clock::now() + retryInterval;
    while (mayServe() && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(slice);
}

bool PortWorker::mayServe() const
{
    return !m_stop && spoolerIsRunning();
}

} // namespace Tools
