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

namespace qm
{
// One version of a file, as exactly as the file system tells it: the modification time to
// the nanosecond, the size and the inode. Equal stamps mean that nobody wrote or replaced
// the file in between, as far as the file system can tell; FILETIME keeps 100 ns and the
// shell's dates keep a second, which both hide changes.
struct FileStamp
{
    std::int64_t seconds = 0;
    std::uint32_t nanoseconds = 0;
    std::uint64_t size = 0;
    std::uint64_t inode = 0;

    friend bool operator==(const FileStamp&, const FileStamp&) = default;
};
} // namespace qm
