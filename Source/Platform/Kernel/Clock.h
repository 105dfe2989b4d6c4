// Time as the code sees it: a tick count, a sleep and the system time, which tests
// replace so that waits are tested without waiting.
#pragma once

#include "qm/Platform/Kernel/FileTime.h"

namespace qm
{
class IClock
{
public:
    virtual ~IClock() = default;
    // Milliseconds since an arbitrary start, never going back.
    virtual std::uint64_t TickCountMs() = 0;
    virtual void Sleep(std::uint32_t milliseconds) = 0;
    virtual FILETIME SystemTime() = 0;
};

// The clock of the process: the real one unless a ScopedClock is in place.
IClock& SystemClock() noexcept;

class ScopedClock
{
public:
    explicit ScopedClock(IClock& replacement) noexcept;
    ~ScopedClock();
    ScopedClock(const ScopedClock&) = delete;
    ScopedClock& operator=(const ScopedClock&) = delete;

private:
    IClock* m_previous;
};
} // namespace qm

// Wrappers of the names the callers use, over SystemClock().
void Sleep(DWORD milliseconds);
ULONGLONG GetTickCount64();
DWORD timeGetTime();
