#pragma once

#include <cstdint>

// Part of the control face, so it is exported.
#pragma GCC visibility push(default)
namespace Win32Emulator {

/// When a job was submitted, in UTC. By default now.
struct SubmissionTime
{
    SubmissionTime();
    SubmissionTime(int yearUtc, int monthUtc, int dayUtc, int hourUtc, int minuteUtc, int secondUtc);

    int year;
    int month; ///< 1 to 12
    int day;
    int hour;
    int minute;
    int second;
};

} // namespace Win32Emulator
#pragma GCC visibility pop

namespace Win32Emulator::Model {

/// Seconds since 1970-01-01 00:00:00 UTC, and back.
std::int64_t secondsOf(const SubmissionTime &time);
SubmissionTime timeOf(std::int64_t seconds);

/// 0 is Sunday.
int dayOfWeek(const SubmissionTime &time);

} // namespace Win32Emulator::Model
