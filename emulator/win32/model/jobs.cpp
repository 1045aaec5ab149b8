#include "emulator/win32/model/jobs.h"

#include "emulator/win32/model/basics.h"
#include "emulator/win32/model/database.h"
#include "emulator/win32/model/printers.h"

#include <QFile>
#include <QTemporaryFile>

#include <windows.h>

namespace Win32Emulator {

namespace {

const std::string selectJobs =
    "SELECT jobs.id, jobs.document, jobs.size, jobs.submitted, jobs.status, jobs.file FROM jobs ";

Job readJob(const Values &row)
{
    return {row[0], row[1], row[2].number, QDateTime::fromSecsSinceEpoch(row[3].number, Qt::UTC), row[4], row[5]};
}

/// Deletes the jobs that match the condition, rows first: a sender finds out by the row that its job was removed.
void removeWhere(const std::string &condition, std::int64_t value)
{
    for (const Values &row : query("DELETE FROM jobs WHERE " + condition + " RETURNING file", {value}))
        QFile::remove(QString::fromStdString(row[0]));
}

} // namespace

unsigned addJob(const std::string &printer, const std::string &document, std::string_view bytes,
                const QDateTime &submitted)
{
    QTemporaryFile file(QString::fromStdString(homeFolder()) + QStringLiteral("/XXXXXX.spl"));
    const auto size = static_cast<std::int64_t>(bytes.size());
    if (!file.open() || file.write(bytes.data(), size) != size || !file.flush())
        throw Error(ERROR_WRITE_FAULT, "cannot spool the job: " + file.errorString().toStdString());
    Transaction transaction;
    const Printer queue = findPrinter(printer);
    require(!queue.pendingDeletion, ERROR_PRINTER_DELETED, "printer \"" + printer + "\" is being deleted");
    run("INSERT INTO jobs (printer, document, size, submitted, file) VALUES (?, ?, ?, ?, ?)",
        {queue.id, document, size, submitted.toSecsSinceEpoch(), file.fileName().toStdString()});
    const auto id = static_cast<unsigned>(lastInsertedId());
    transaction.commit();
    file.setAutoRemove(false);
    return id;
}

std::vector<Job> jobsOf(std::int64_t printer)
{
    return records(readJob, selectJobs + "WHERE printer = ? ORDER BY id", {printer});
}

void setJobStatus(unsigned job, unsigned status)
{
    run("UPDATE jobs SET status = ? WHERE id = ?", {status, job});
}

void removeJob(unsigned job)
{
    removeWhere("id = ?", job);
}

void purgeJobs(std::int64_t printer)
{
    removeWhere("printer = ?", printer);
}

void removeJobs()
{
    removeWhere("id > ?", 0);
}

bool jobExists(unsigned job)
{
    return !query("SELECT 1 FROM jobs WHERE id = ?", {job}).empty();
}

std::vector<std::string> portsWithJobs()
{
    const auto read = +[](const Values &row) { return row[0].text; };
    return records(read, "SELECT DISTINCT ports.name FROM jobs JOIN printers ON printers.id = jobs.printer "
                         "JOIN ports ON ports.name = printers.port");
}

std::optional<Job> oldestJob(const std::string &port)
{
    return record(readJob,
                  selectJobs +
                      "JOIN printers ON printers.id = jobs.printer WHERE printers.port = ? ORDER BY jobs.id LIMIT 1",
                  {port});
}

} // namespace Win32Emulator
