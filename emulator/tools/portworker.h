#pragma once

#include "emulator/win32/model/jobs.h"

#include <atomic>
#include <string>
#include <thread>

namespace Tools {

/// Sends the jobs of one port, one after the other, on a thread of its own, until there is none left or it is not to
/// serve any more. The destructor waits for the thread.
class PortWorker
{
public:
    /// `stop` is set from outside to end the work; it must outlive the object.
    PortWorker(std::string port, const std::atomic<bool> &stop);
    ~PortWorker();
    PortWorker(const PortWorker &) = delete;
    PortWorker &operator=(const PortWorker &) = delete;

    bool hasFinished() const { return m_finished; }

private:
    void run();
    void serveJobs();
    bool deliver(const Win32Emulator::Model::Job &job);
    void send(const Win32Emulator::Model::Job &job) const;
    void report(const Win32Emulator::Model::Job &job, const char *reason);
    void pauseBeforeRetry() const;
    bool mayServe() const;

    const std::string m_port;
    const std::atomic<bool> &m_stop;
    unsigned m_reportedJob = 0;
    std::atomic<bool> m_finished = false;
    std::thread m_thread; ///< last: it uses the other members
};

/// Whether the service "Spooler" is running.
bool spoolerIsRunning();

} // namespace Tools
