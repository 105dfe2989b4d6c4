#include "qm/Platform/Kernel/Time.h"

#include "Platform/Com/LastError.h"

#include <cmath>

namespace
{
constexpr std::int64_t kTicksPerSecond = 10000000;
constexpr std::int64_t kTicksPerDay = kTicksPerSecond * 86400;
// Seconds from 1601-01-01 to 1970-01-01.
constexpr std::int64_t kUnixEpoch = 11644473600LL;
// Days from 1601-01-01 to 1899-12-30, the origin of DATE.
constexpr std::int64_t kDateOrigin = 109205;

// Days since 1970-01-01 of a proleptic Gregorian date.
std::int64_t DaysFromCivil(std::int64_t year, unsigned month, unsigned day)
{
    year -= month <= 2;
    const std::int64_t era = (year >= 0 ? year : year - 399) / 400;
    const auto yearOfEra = static_cast<unsigned>(year - era * 400);
    const unsigned dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    const unsigned dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + static_cast<std::int64_t>(dayOfEra) - 719468;
}

void CivilFromDays(std::int64_t days, std::int64_t& year, unsigned& month, unsigned& day)
{
    days += 719468;
    const std::int64_t era = (days >= 0 ? days : days - 146096) / 146097;
    const auto dayOfEra = static_cast<unsigned>(days - era * 146097);
    const unsigned yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const unsigned dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const unsigned mp = (5 * dayOfYear + 2) / 153;
    day = dayOfYear - (153 * mp + 2) / 5 + 1;
    month = mp < 10 ? mp + 3 : mp - 9;
    year = static_cast<std::int64_t>(yearOfEra) + era * 400 + (month <= 2);
}

bool IsValid(const SYSTEMTIME& time)
{
    static const unsigned kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (time.wMonth < 1 || time.wMonth > 12 || time.wDay < 1 || time.wHour > 23 || time.wMinute > 59 ||
        time.wSecond > 59 || time.wMilliseconds > 999)
        return false;
    const bool leap = (time.wYear % 4 == 0 && time.wYear % 100 != 0) || time.wYear % 400 == 0;
    const unsigned days = kDays[time.wMonth - 1] + (time.wMonth == 2 && leap ? 1 : 0);
    return time.wDay <= days;
}

// Ticks since 1601 of a calendar time, without checks.
std::int64_t TicksOf(const SYSTEMTIME& time)
{
    const std::int64_t days = DaysFromCivil(time.wYear, time.wMonth, time.wDay) + kUnixEpoch / 86400;
    return days * kTicksPerDay + ((time.wHour * 60 + time.wMinute) * 60 + time.wSecond) * kTicksPerSecond +
           time.wMilliseconds * 10000LL;
}

// The calendar time of a count of ticks since 1601 (which may be negative).
SYSTEMTIME FromTicks(std::int64_t ticks)
{
    std::int64_t days = ticks / kTicksPerDay;
    std::int64_t rest = ticks % kTicksPerDay;
    if (rest < 0)
    {
        rest += kTicksPerDay;
        --days;
    }
    std::int64_t year;
    unsigned month, day;
    const std::int64_t unixDays = days - kUnixEpoch / 86400;
    CivilFromDays(unixDays, year, month, day);
    SYSTEMTIME time{};
    time.wYear = static_cast<WORD>(year);
    time.wMonth = static_cast<WORD>(month);
    time.wDay = static_cast<WORD>(day);
    // 1970-01-01 was a Thursday.
    time.wDayOfWeek = static_cast<WORD>(((unixDays % 7) + 11) % 7);
    const std::int64_t milliseconds = rest / 10000;
    time.wHour = static_cast<WORD>(milliseconds / 3600000);
    time.wMinute = static_cast<WORD>(milliseconds / 60000 % 60);
    time.wSecond = static_cast<WORD>(milliseconds / 1000 % 60);
    time.wMilliseconds = static_cast<WORD>(milliseconds % 1000);
    return time;
}

// The offset of local time from UTC at a UTC instant, in seconds.
bool LocalOffset(std::time_t utc, long& offset)
{
    std::tm local{};
    if (localtime_r(&utc, &local) == nullptr)
        return false;
    offset = local.tm_gmtoff;
    return true;
}

BOOL Fail()
{
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
}
} // namespace

void GetSystemTimeAsFileTime(FILETIME* time)
{
    struct timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    *time = qm::TimespecToFileTime(now);
}

BOOL FileTimeToSystemTime(const FILETIME* fileTime, SYSTEMTIME* systemTime)
{
    if (fileTime == nullptr || systemTime == nullptr)
        return Fail();
    const std::int64_t ticks = qm::FileTimeToInt64(*fileTime);
    if (ticks < 0)
        return Fail();
    *systemTime = FromTicks(ticks);
    return TRUE;
}

BOOL SystemTimeToFileTime(const SYSTEMTIME* systemTime, FILETIME* fileTime)
{
    if (systemTime == nullptr || fileTime == nullptr || systemTime->wYear < 1601 || systemTime->wYear > 30827 ||
        !IsValid(*systemTime))
        return Fail();
    *fileTime = qm::Int64ToFileTime(TicksOf(*systemTime));
    return TRUE;
}

BOOL FileTimeToLocalFileTime(const FILETIME* utc, FILETIME* local)
{
    if (utc == nullptr || local == nullptr)
        return Fail();
    const std::int64_t ticks = qm::FileTimeToInt64(*utc);
    long offset = 0;
    if (!LocalOffset(static_cast<std::time_t>(ticks / kTicksPerSecond - kUnixEpoch), offset))
        return Fail();
    *local = qm::Int64ToFileTime(ticks + offset * kTicksPerSecond);
    return TRUE;
}

BOOL LocalFileTimeToFileTime(const FILETIME* local, FILETIME* utc)
{
    if (local == nullptr || utc == nullptr)
        return Fail();
    const std::int64_t ticks = qm::FileTimeToInt64(*local);
    // The offset at the local reading taken as UTC, then at the instant that gives, so
    // that a time near a change of offset takes the offset in force then.
    const auto seconds = static_cast<std::time_t>(ticks / kTicksPerSecond - kUnixEpoch);
    long offset = 0;
    if (!LocalOffset(seconds, offset) || !LocalOffset(seconds - offset, offset))
        return Fail();
    *utc = qm::Int64ToFileTime(ticks - offset * kTicksPerSecond);
    return TRUE;
}

INT SystemTimeToVariantTime(const SYSTEMTIME* systemTime, DATE* date)
{
    if (systemTime == nullptr || date == nullptr || !IsValid(*systemTime) || systemTime->wYear < 100 ||
        systemTime->wYear > 9999)
        return FALSE;
    const std::int64_t days = DaysFromCivil(systemTime->wYear, systemTime->wMonth, systemTime->wDay) +
                              kUnixEpoch / 86400 - kDateOrigin;
    const double fraction =
        ((systemTime->wHour * 60 + systemTime->wMinute) * 60 + systemTime->wSecond) / 86400.0 +
        systemTime->wMilliseconds / 86400000.0;
    // Before the origin the fraction still counts forward: the day is negative, the time
    // of day is added to its magnitude.
    *date = days >= 0 ? static_cast<double>(days) + fraction : static_cast<double>(days) - fraction;
    return TRUE;
}

INT VariantTimeToSystemTime(DATE date, SYSTEMTIME* systemTime)
{
    if (systemTime == nullptr || !std::isfinite(date) || date < -657434.0 || date >= 2958466.0)
        return FALSE;
    // The whole part counts days from the origin, either way; the fraction is the time of
    // that day, also for a negative date (-1.25 is 1899-12-29 06:00).
    const double whole = std::trunc(date);
    const double fraction = std::fabs(date - whole);
    auto days = static_cast<std::int64_t>(whole) + kDateOrigin;
    // Rounded to the millisecond; a time that rounds to midnight is the next day's start.
    auto milliseconds = static_cast<std::int64_t>(std::llround(fraction * 86400000.0));
    if (milliseconds >= 86400000)
    {
        milliseconds -= 86400000;
        ++days;
    }
    *systemTime = FromTicks(days * kTicksPerDay + milliseconds * 10000);
    return TRUE;
}

namespace qm
{
std::int64_t FileTimeToInt64(const FILETIME& time) noexcept
{
    return static_cast<std::int64_t>((static_cast<std::uint64_t>(time.dwHighDateTime) << 32) | time.dwLowDateTime);
}

FILETIME Int64ToFileTime(std::int64_t value) noexcept
{
    const auto bits = static_cast<std::uint64_t>(value);
    return FILETIME{static_cast<DWORD>(bits & 0xFFFFFFFFu), static_cast<DWORD>(bits >> 32)};
}

DATE FileTimeToDate(const FILETIME& utc)
{
    FILETIME local;
    SYSTEMTIME time;
    DATE date;
    if (FileTimeToInt64(utc) == 0 || !FileTimeToLocalFileTime(&utc, &local) || !FileTimeToSystemTime(&local, &time) ||
        !SystemTimeToVariantTime(&time, &date))
        return kNoDate;
    return date;
}

FILETIME DateToFileTime(DATE local)
{
    SYSTEMTIME time;
    FILETIME localTime, utc;
    if (local == kNoDate || !VariantTimeToSystemTime(local, &time) || !SystemTimeToFileTime(&time, &localTime) ||
        !LocalFileTimeToFileTime(&localTime, &utc))
        return FILETIME{};
    return utc;
}

FILETIME TimespecToFileTime(const struct timespec& time) noexcept
{
    return Int64ToFileTime((time.tv_sec + kUnixEpoch) * kTicksPerSecond + time.tv_nsec / 100);
}

struct timespec FileTimeToTimespec(const FILETIME& time) noexcept
{
    const std::int64_t ticks = FileTimeToInt64(time);
    struct timespec result;
    result.tv_sec = static_cast<std::time_t>(ticks / kTicksPerSecond - kUnixEpoch);
    result.tv_nsec = static_cast<long>(ticks % kTicksPerSecond) * 100;
    return result;
}
} // namespace qm
