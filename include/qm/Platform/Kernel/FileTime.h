// FILETIME: 100-nanosecond intervals since 1601-01-01 UTC, in two 32-bit halves.
#pragma once

#include "qm/Platform/Types.h"

struct FILETIME
{
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;

    friend constexpr bool operator==(const FILETIME& a, const FILETIME& b)
    {
        return a.dwLowDateTime == b.dwLowDateTime && a.dwHighDateTime == b.dwHighDateTime;
    }
};

struct SYSTEMTIME
{
    WORD wYear;
    WORD wMonth;
    WORD wDayOfWeek;
    WORD wDay;
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
    WORD wMilliseconds;
};

// Days since 1899-12-30, the fraction the time of day.
using DATE = double;
