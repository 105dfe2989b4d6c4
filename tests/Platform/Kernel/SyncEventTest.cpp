#include "Platform/Kernel/SyncEvent.h"

#include <gtest/gtest.h>

#include <thread>

TEST(SyncEvent, ManualResetAndWaitAnyKeepIndexOrder)
{
    auto stop = qm::SyncEvent::Create();
    auto work = qm::SyncEvent::Create();
    const std::shared_ptr<qm::SyncEvent> both[2] = {stop, work};
    EXPECT_EQ(qm::SyncEvent::kTimeout, qm::SyncEvent::WaitAny(both, 2, 0));
    work->Set();
    EXPECT_EQ(1, qm::SyncEvent::WaitAny(both, 2, 0));
    // Manual reset: it stays signalled until reset.
    EXPECT_TRUE(work->Wait(0));
    stop->Set();
    EXPECT_EQ(0, qm::SyncEvent::WaitAny(both, 2, qm::SyncEvent::kInfinite));
    stop->Reset();
    work->Reset();
    EXPECT_FALSE(work->IsSet());

    // A set on another thread ends a wait without a limit.
    std::thread setter([work] { work->Set(); });
    EXPECT_EQ(1, qm::SyncEvent::WaitAny(both, 2, qm::SyncEvent::kInfinite));
    setter.join();
}
