#include "emulator/win32/infoblock.h"
#include "emulator/win32/model/jobs.h"
#include "emulator/win32/queue.h"

using namespace Win32Emulator;

namespace {

/// A job as EnumJobsW lists it.
struct ListedJob
{
    Job job;
    Printer queue;
    DWORD position; ///< from 1
};

SYSTEMTIME systemTime(const QDateTime &utc)
{
    const QDate date = utc.date();
    const QTime time = utc.time();
    return {static_cast<WORD>(date.year()),          static_cast<WORD>(date.month()),
            static_cast<WORD>(date.dayOfWeek() % 7), static_cast<WORD>(date.day()),
            static_cast<WORD>(time.hour()),          static_cast<WORD>(time.minute()),
            static_cast<WORD>(time.second()),        0};
}

void fillJob(JOB_INFO_2W &info, const ListedJob &listed, TextArea &texts)
{
    info.JobId = listed.job.id;
    info.pPrinterName = texts.put(listed.queue.name);
    info.pDocument = texts.put(listed.job.document);
    info.pDatatype = texts.put("RAW");
    info.pPrintProcessor = texts.put("winprint");
    info.pDriverName = texts.put(listed.queue.driver);
    info.Status = listed.job.status;
    info.Priority = 1;
    info.Position = listed.position;
    info.Size = static_cast<DWORD>(listed.job.size);
    info.Submitted = systemTime(listed.job.submitted);
}

std::vector<ListedJob> listedJobs(const Printer &queue, std::size_t first, std::size_t most)
{
    const std::vector<Job> jobs = jobsOf(queue.id);
    std::vector<ListedJob> result;
    for (std::size_t i = first; i < jobs.size() && result.size() < most; ++i)
        result.push_back({jobs[i], queue, static_cast<DWORD>(i + 1)});
    return result;
}

} // namespace

BOOL WINAPI EnumJobsW(HANDLE handle, DWORD first, DWORD most, DWORD level, LPBYTE buffer, DWORD size, LPDWORD needed,
                      LPDWORD returned)
{
    return boolCall({"EnumJobsW"}, [&] {
        const Printer queue = readableQueue(handle);
        require(level == 2, ERROR_INVALID_LEVEL);
        packList(listedJobs(queue, first, most), fillJob, {buffer, size, needed}, returned);
    });
}
