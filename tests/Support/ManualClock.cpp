#include "Support/ManualClock.h"

#include "qm/Platform/Kernel/Time.h"

namespace qm
{
namespace
{
// 2026-01-01 UTC, where the system time starts.
constexpr std::int64_t kManualEpoch = 134116992000000000LL;
} // namespace

std::uint64_t ManualClock::TickCountMs()
{
    std::lock_guard guard(m_lock);
    return m_now;
}

void ManualClock::Sleep(std::uint32_t milliseconds)
{
    std::lock_guard guard(m_lock);
    m_sleeps.push_back(milliseconds);
    m_now += milliseconds;
}

FILETIME ManualClock::SystemTime()
{
    std::lock_guard guard(m_lock);
    return Int64ToFileTime(kManualEpoch + static_cast<std::int64_t>(m_now) * 10000);
}

void ManualClock::Advance(std::uint32_t milliseconds)
{
    std::lock_guard guard(m_lock);
    m_now += milliseconds;
}

std::vector<std::uint32_t> ManualClock::Sleeps() const
{
    std::lock_guard guard(m_lock);
    return m_sleeps;
}
} // namespace qm
