// A clock for tests: Sleep returns at once, moves the time on and is recorded, so that
// waits are tested without waiting.
#pragma once

#include "Platform/Kernel/Clock.h"

#include <mutex>
#include <vector>

namespace qm
{
class ManualClock final : public IClock
{
public:
    std::uint64_t TickCountMs() override;
    void Sleep(std::uint32_t milliseconds) override;
    // Starts at 2026-01-01 UTC and moves with the tick count.
    FILETIME SystemTime() override;

    void Advance(std::uint32_t milliseconds);
    std::vector<std::uint32_t> Sleeps() const;

private:
    mutable std::mutex m_lock;
    std::uint64_t m_now = 0;
    std::vector<std::uint32_t> m_sleeps;
};
} // namespace qm
