#include "emulator/win32/model/jobs.h"

#include "emulator/win32/call.h"
#include "emulator/win32/infoblock.h"
#include "emulator/win32/printerhandle.h"

using namespace Win32Emulator;

namespace {

/// A job as EnumJobsW shows it.
struct ListedJob
{
    Model::Job job;
    Model::Printer queue;
    DWORD position; ///< from 1
};

SYSTEMTIME systemTime(const SubmissionTime &time)
{
    SYSTEMTIME result = {};
    result.wYear = static_cast<WORD>(time.year);
    result.wMonth = static_cast<WORD>(time.month);
    result.wDayOfWeek = static_cast<WORD>(Model::dayOfWeek(time));
    result.wDay = static_cast<WORD>(time.day);
    result.wHour = static_cast<WORD>(time.hour);
    result.wMinute = static_cast<WORD>(time.minute);
    result.wSecond = static_cast<WORD>(time.second);
    return result;
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

std::vector<ListedJob> listedJobs(const Model::Printer &queue, std::size_t first, std::size_t most)
{
    const std::vector<Model::Job> jobs = Model::jobsOf(queue.id);
    std::vector<ListedJob> result;
    for (std::size_t i = first; i < jobs.size() && result.size() < most; ++i)
        result.push_back({jobs[i], queue, static_cast<DWORD>(i + 1)});
    return result;
}

} // namespace

BOOL WINAPI EnumJobsW(HANDLE handle, DWORD first, DWORD most, DWORD level, LPBYTE buffer, DWORD size, LPDWORD needed,
                      LPDWORD returned)
{
    const std::string arguments = describe(handle) + " first=" + std::to_string(first) +
                                  " most=" + std::to_string(most) + " level=" + std::to_string(level) +
                                  " size=" + std::to_string(size);
    return boolCall("EnumJobsW", arguments, [&] {
        const Model::Printer queue = readableQueue(handle);
        requireLevel(level, 2);
        packList(listedJobs(queue, first, most), fillJob, {buffer, size, needed}, returned);
    });
}
