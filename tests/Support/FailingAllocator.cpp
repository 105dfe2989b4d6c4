#include "Support/FailingAllocator.h"

#include <cstdlib>
#include <new>

namespace
{
thread_local long t_allocationsLeft = -1;
} // namespace

void qmtest::FailingAllocator::AllowOnThisThread(long allocations) { t_allocationsLeft = allocations; }

// The replaced operators pair malloc with free; the compiler cannot see that they match.
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"

void* operator new(std::size_t size)
{
    if (t_allocationsLeft == 0)
        throw std::bad_alloc();
    if (t_allocationsLeft > 0)
        --t_allocationsLeft;
    if (void* memory = std::malloc(size == 0 ? 1 : size))
        return memory;
    throw std::bad_alloc();
}
void* operator new[](std::size_t size) { return ::operator new(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    try
    {
        return ::operator new(size);
    }
    catch (const std::bad_alloc&)
    {
        return nullptr;
    }
}
void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept { return ::operator new(size, tag); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
