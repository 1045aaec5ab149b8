#pragma once

#include "emulator/win32/model/submissiontime.h"

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace Win32Emulator::Model {

/// A spooled print job.
struct Job
{
    unsigned id = 0; ///< never used again
    std::string document;
    std::uint64_t size = 0; ///< bytes
    SubmissionTime submitted;
    unsigned status = 0; ///< JOB_STATUS_... bits
    std::string file;    ///< full path of the job's bytes
};

/// Spools a job of any size and returns its number. Throws when there is no such printer, when it awaits its deletion,
/// or when the bytes cannot be read or written.
unsigned addJob(const std::string &printer, const std::string &document, std::istream &bytes,
                const SubmissionTime &submitted);

/// A queue's jobs, oldest first.
std::vector<Job> jobsOf(std::int64_t printer);

/// Throws ERROR_INVALID_PARAMETER when there is no such job.
void setJobStatus(unsigned job, unsigned status);

/// Removes a job; none of that number is no fault. A queue that awaited its deletion goes with its last job.
void removeJob(unsigned job);

/// Removes all jobs of a queue.
void purgeJobs(std::int64_t printer);

bool jobExists(unsigned job);

/// Names of the ports whose queues have jobs.
std::vector<std::string> portsWithJobs();

/// The oldest job of all queues on a port.
std::optional<Job> oldestJob(const std::string &port);

} // namespace Win32Emulator::Model
