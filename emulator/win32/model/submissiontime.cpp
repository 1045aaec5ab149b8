#include "emulator/win32/model/submissiontime.h"

#include <ctime>

namespace Win32Emulator {

namespace {

std::tm brokenDown(const SubmissionTime &time)
{
    std::tm result = {};
    result.tm_year = time.year - 1900;
    result.tm_mon = time.month - 1;
    result.tm_mday = time.day;
    result.tm_hour = time.hour;
    result.tm_min = time.minute;
    result.tm_sec = time.second;
    return result;
}

} // namespace

SubmissionTime::SubmissionTime()
    : SubmissionTime(Model::timeOf(std::time(nullptr)))
{
}

SubmissionTime::SubmissionTime(int yearUtc, int monthUtc, int dayUtc, int hourUtc, int minuteUtc, int secondUtc)
    : year(yearUtc)
    , month(monthUtc)
    , day(dayUtc)
    , hour(hourUtc)
    , minute(minuteUtc)
    , second(secondUtc)
{
}

std::int64_t Model::secondsOf(const SubmissionTime &time)
{
    std::tm parts = brokenDown(time);
    return timegm(&parts);
}

SubmissionTime Model::timeOf(std::int64_t seconds)
{
    const std::time_t time = seconds;
    std::tm parts = {};
    gmtime_r(&time, &parts);
    return {parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec};
}

int Model::dayOfWeek(const SubmissionTime &time)
{
    std::tm parts = brokenDown(time);
    timegm(&parts);
    return parts.tm_wday;
}

} // namespace Win32Emulator
