// File times, calendar times and DATE values, and their conversions.
#pragma once

#include "qm/Platform/Kernel/FileTime.h"

#include <ctime>

QM_API void GetSystemTimeAsFileTime(FILETIME* time);
// FALSE (last error ERROR_INVALID_PARAMETER) for a time outside the calendar.
QM_API BOOL FileTimeToSystemTime(const FILETIME* fileTime, SYSTEMTIME* systemTime);
QM_API BOOL SystemTimeToFileTime(const SYSTEMTIME* systemTime, FILETIME* fileTime);
// Between UTC and the local time of the process's time zone, with the daylight saving of
// the instant.
QM_API BOOL FileTimeToLocalFileTime(const FILETIME* utc, FILETIME* local);
QM_API BOOL LocalFileTimeToFileTime(const FILETIME* local, FILETIME* utc);
// Calendar arithmetic with no time-zone step. A DATE's fraction counts forward from
// midnight also for negative dates: -1.25 is 1899-12-29 06:00.
QM_API INT SystemTimeToVariantTime(const SYSTEMTIME* systemTime, DATE* date);
QM_API INT VariantTimeToSystemTime(DATE date, SYSTEMTIME* systemTime);

namespace qm
{
// The DATE that stands for "no date".
constexpr DATE kNoDate = -657435.0;

QM_API std::int64_t FileTimeToInt64(const FILETIME& time) noexcept;
QM_API FILETIME Int64ToFileTime(std::int64_t value) noexcept;
// A UTC file time as a local DATE; a zero file time gives kNoDate.
QM_API DATE FileTimeToDate(const FILETIME& utc);
// A local DATE as a UTC file time; kNoDate gives a zero file time.
QM_API FILETIME DateToFileTime(DATE local);
QM_API FILETIME TimespecToFileTime(const struct timespec& time) noexcept;
QM_API struct timespec FileTimeToTimespec(const FILETIME& time) noexcept;
} // namespace qm
