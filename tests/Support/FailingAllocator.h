// The test program's global allocator, which a test can make run out of memory after a
// number of allocations on its own thread, to reach every failure path of an operation.
#pragma once

namespace qmtest::FailingAllocator
{
// Allocations this thread may still make before each fails with bad_alloc; -1: no limit.
void AllowOnThisThread(long allocations);
} // namespace qmtest::FailingAllocator
