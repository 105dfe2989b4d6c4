#include "Platform/Kernel/Clock.h"

#include <gtest/gtest.h>

TEST(Clock, ManualClockReplacesWaits)
{
    qm::ManualClock clock;
    {
        qm::ScopedClock scope(clock);
        const ULONGLONG start = GetTickCount64();
        Sleep(200);
        Sleep(200);
        EXPECT_EQ(start + 400, GetTickCount64());
        EXPECT_EQ(std::vector<std::uint32_t>({200, 200}), clock.Sleeps());
    }
    // Back to the real clock, which never goes back.
    const ULONGLONG before = GetTickCount64();
    EXPECT_GE(GetTickCount64(), before);
    EXPECT_NE(&clock, &qm::SystemClock());
}
