#pragma once

#include <QDateTime>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Win32Emulator {

/// A spooled print job.
struct Job
{
    unsigned id = 0; ///< never reused
    std::string document;
    std::int64_t size = 0; ///< bytes
    QDateTime submitted;   ///< UTC
    unsigned status = 0;   ///< JOB_STATUS_... bits
    std::string file;      ///< full path of the job's bytes
};

/// Spools a job; returns its number. Throws if there is no such printer, if it awaits its deletion, or if the bytes
/// cannot be written.
unsigned addJob(const std::string &printer, const std::string &document, std::string_view bytes,
                const QDateTime &submitted = QDateTime::currentDateTimeUtc());

/// The jobs of a queue, oldest first.
std::vector<Job> jobsOf(std::int64_t printer);

/// `status` consists of JOB_STATUS_... bits. Does nothing if there is no such job.
void setJobStatus(unsigned job, unsigned status);

/// Removes a job if there is one of that number. A queue that awaits its deletion is deleted with its last job.
void removeJob(unsigned job);

/// Removes all jobs of a queue, or of all queues.
void purgeJobs(std::int64_t printer);
void removeJobs();

bool jobExists(unsigned job);

/// Names of the ports whose queues have jobs.
std::vector<std::string> portsWithJobs();

/// The oldest job of all queues on a port.
std::optional<Job> oldestJob(const std::string &port);

} // namespace Win32Emulator
