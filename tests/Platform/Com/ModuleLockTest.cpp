#include "Platform/Com/ModuleLock.h"

#include <gtest/gtest.h>

TEST(ModuleLock, CountsLiveHoldersAndTheirCopies)
{
    const long before = qm::ModuleLockCount();
    {
        qm::ModuleLock one;
        qm::ModuleLock two = one;
        EXPECT_EQ(before + 2, qm::ModuleLockCount());
        // Assignment moves no lock: each holder keeps exactly its own.
        two = one;
        EXPECT_EQ(before + 2, qm::ModuleLockCount());
        qm::LockModule();
        EXPECT_EQ(before + 3, qm::ModuleLockCount());
        qm::UnlockModule();
    }
    EXPECT_EQ(before, qm::ModuleLockCount());
}
