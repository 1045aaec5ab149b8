#include "emulator/win32/model/jobs.h"

#include "emulator/win32/model/database.h"
#include "emulator/win32/model/error.h"
#include "emulator/win32/model/home.h"
#include "emulator/win32/model/printers.h"

#include <windows.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace Win32Emulator::Model {

namespace {

const std::string selectJobs =
    "SELECT jobs.id, jobs.document, jobs.size, jobs.submitted, jobs.status, jobs.file FROM jobs ";

/// A file of the spool folder. Deleted with the object unless kept.
class SpoolFile
{
public:
    SpoolFile()
        : m_name(freeName())
    {
    }
    ~SpoolFile()
    {
        if (!m_kept)
            erase(m_name);
    }
    SpoolFile(const SpoolFile &) = delete;
    SpoolFile &operator=(const SpoolFile &) = delete;

    /// Returns the number of bytes.
    std::uint64_t write(std::istream &bytes) const
    {
        std::ofstream file(path(m_name), std::ios::binary);
        // Inserting an empty buffer counts as a failure.
        if (bytes.peek() != std::istream::traits_type::eof())
            file << bytes.rdbuf();
        file.close();
        if (!file || bytes.bad())
            throw Error(ERROR_WRITE_FAULT, "cannot spool the job to " + path(m_name));
        return std::filesystem::file_size(path(m_name));
    }

    void keep() { m_kept = true; }
    const std::string &name() const { return m_name; }

    static std::string path(const std::string &name) { return spoolFolder() + '/' + name; }

    static void erase(const std::string &name)
    {
        std::error_code ignored;
        std::filesystem::remove(path(name), ignored);
    }

private:
    /// The job's number is not known before its bytes are there, so files go by process and count.
    static std::string freeName()
    {
        static std::atomic<unsigned> count = 0;
        std::string name;
        do {
            name = std::to_string(getpid()) + '-' + std::to_string(++count) + ".spl";
        } while (std::filesystem::exists(path(name)));
        return name;
    }

    std::string m_name;
    bool m_kept = false;
};

Job readJob(const Statement &row)
{
    return {static_cast<unsigned>(row.number(0)),      row.text(1),
            static_cast<std::uint64_t>(row.number(2)), timeOf(row.number(3)),
            static_cast<unsigned>(row.number(4)),      SpoolFile::path(row.text(5))};
}

/// Deletes the jobs that the condition selects, rows first: who sends a job sees by its row that it is gone.
void removeWhere(const std::string &condition, std::int64_t value)
{
    std::vector<std::string> files;
    {
        Statement row = Database::current().query("DELETE FROM jobs WHERE " + condition + " RETURNING file", value);
        while (row.next())
            files.push_back(row.text(0));
    }
    for (const std::string &file : files)
        SpoolFile::erase(file);
}

} // namespace

unsigned addJob(const std::string &printer, const std::string &document, std::istream &bytes,
                const SubmissionTime &submitted)
{
    SpoolFile file;
    const std::uint64_t size = file.write(bytes);
    Transaction transaction;
    const Printer queue = findPrinter(printer);
    if (queue.pendingDeletion)
        throw Error(ERROR_PRINTER_DELETED, "printer \"" + printer + "\" is being deleted");
    Database::current().run("INSERT INTO jobs (printer, document, size, submitted, file) VALUES (?, ?, ?, ?, ?)",
                            queue.id, document, size, secondsOf(submitted), file.name());
    const auto id = static_cast<unsigned>(Database::current().lastInsertedId());
    transaction.commit();
    file.keep();
    return id;
}

std::vector<Job> jobsOf(std::int64_t printer)
{
    std::vector<Job> result;
    Statement row = Database::current().query(selectJobs + "WHERE printer = ? ORDER BY id", printer);
    while (row.next())
        result.push_back(readJob(row));
    return result;
}

void setJobStatus(unsigned job, unsigned status)
{
    if (Database::current().run("UPDATE jobs SET status = ? WHERE id = ?", status, job) == 0)
        throw Error(ERROR_INVALID_PARAMETER, "there is no job " + std::to_string(job));
}

void removeJob(unsigned job)
{
    removeWhere("id = ?", job);
}

void purgeJobs(std::int64_t printer)
{
    removeWhere("printer = ?", printer);
}

bool jobExists(unsigned job)
{
    return Database::current().query("SELECT 1 FROM jobs WHERE id = ?", job).next();
}

std::vector<std::string> portsWithJobs()
{
    std::vector<std::string> result;
    Statement row = Database::current().query("SELECT DISTINCT ports.name FROM jobs "
                                              "JOIN printers ON printers.id = jobs.printer "
                                              "JOIN ports ON ports.name = printers.port");
    while (row.next())
        result.push_back(row.text(0));
    return result;
}

std::optional<Job> oldestJob(const std::string &port)
{
    Statement row = Database::current().query(
        selectJobs + "JOIN printers ON printers.id = jobs.printer WHERE printers.port = ? ORDER BY jobs.id LIMIT 1",
        port);
    return row.next() ? std::optional(readJob(row)) : std::nullopt;
}

} // namespace Win32Emulator::Model
