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
} // namespace

IClock& SystemClock() noexcept
{
    IClock* clock = g_clock.load();
    return clock ? *clock : g_realClock;
}

ScopedClock::ScopedClock(IClock& replacement) noexcept : m_previous(g_clock.exchange(&replacement)) {}

ScopedClock::~ScopedClock() { g_clock.store(m_previous); }
} // namespace qm

void Sleep(DWORD milliseconds) { qm::SystemClock().Sleep(milliseconds); }

ULONGLONG GetTickCount64() { return qm::SystemClock().TickCountMs(); }

DWORD timeGetTime() { return static_cast<DWORD>(qm::SystemClock().TickCountMs()); }
