#include "Platform/Kernel/Clock.h"

#include "qm/Platform/Kernel/Time.h"

#include <atomic>
#include <chrono>
#include <thread>

namespace qm
{
namespace
{
class RealClock final : public IClock
{
public:
    std::uint64_t TickCountMs() override
    {
        using namespace std::chrono;
        return static_cast<std::uint64_t>(duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
    }
    void Sleep(std::uint32_t milliseconds) override
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
    }
    FILETIME SystemTime() override
    {
        FILETIME now;
        GetSystemTimeAsFileTime(&now);
        return now;
    }
};

RealClock g_realClock;
std::atomic<IClock*> g_clock{nullptr};

// 2026-01-01 UTC, where a manual clock's system time starts.
constexpr std::int64_t kManualEpoch = 134116992000000000LL;
} // namespace

IClock& SystemClock() noexcept
{
    IClock* clock = g_clock.load();
    return clock ? *clock : g_realClock;
}

ScopedClock::ScopedClock(IClock& replacement) noexcept : m_previous(g_clock.exchange(&replacement)) {}

ScopedClock::~ScopedClock() { g_clock.store(m_previous); }

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

void Sleep(DWORD milliseconds) { qm::SystemClock().Sleep(milliseconds); }

ULONGLONG GetTickCount64() { return qm::SystemClock().TickCountMs(); }

DWORD timeGetTime() { return static_cast<DWORD>(qm::SystemClock().TickCountMs()); }
