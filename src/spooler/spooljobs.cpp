#include "spooler/spooljobs.h"

#include "spooler/printerhandle.h"
#include "spooler/win32text.h"

namespace {

constexpr int chinaStandardTime = 8; // hours ahead of UTC

/// Number of jobs that the queue tells of.
DWORD jobCount(HANDLE printer)
{
    DWORD needed = 0;
    GetPrinterW(printer, 2, nullptr, 0, &needed);
    if (needed == 0)
        return 0;
    SpoolerBuffer buffer(new BYTE[needed]);
    if (!GetPrinterW(printer, 2, buffer.get(), needed, &needed))
        return 0;
    return reinterpret_cast<const PRINTER_INFO_2W *>(buffer.get())->cJobs;
}

QString submissionTime(const SYSTEMTIME &time)
{
    const QLatin1Char zero('0');
    return QStringLiteral("%1:%2:%3")
        .arg(time.wHour + chinaStandardTime, 2, 10, zero)
        .arg(time.wMinute, 2, 10, zero)
        .arg(time.wSecond, 2, 10, zero);
}

SpoolJob spoolJob(const JOB_INFO_2W &info)
{
    return {fromWide(info.pDocument), submissionTime(info.Submitted), (info.Status & JOB_STATUS_PRINTING) != 0};
}

} // namespace

QList<SpoolJob> spoolJobs(const QString &printerName)
{
    const PrinterHandle printer(printerName);
    if (!printer)
        return {};
    const DWORD count = jobCount(printer.get());
    if (count == 0)
        return {};

    DWORD needed = 0;
    DWORD returned = 0;
    EnumJobsW(printer.get(), 0, count, 2, nullptr, 0, &needed, &returned);
    if (needed == 0)
        return {};
    SpoolerBuffer buffer(new BYTE[needed]);
    // A queue that has grown since the size query fails here; for the caller it has no jobs this time.
    if (!EnumJobsW(printer.get(), 0, count, 2, buffer.get(), needed, &needed, &returned))
        return {};

    QList<SpoolJob> jobs;
    const auto *infos = reinterpret_cast<const JOB_INFO_2W *>(buffer.get());
    for (DWORD i = 0; i < returned; ++i)
        jobs.append(spoolJob(infos[i]));
    return jobs;
}
