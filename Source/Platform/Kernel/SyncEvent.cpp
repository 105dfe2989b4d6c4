#include "Platform/Kernel/SyncEvent.h"

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace qm
{
namespace
{
// Never destroyed: a thread that was let go after a time-out may still set an event
// while the process ends.
std::mutex& Lock()
{
    static std::mutex* lock = new std::mutex;
    return *lock;
}

std::condition_variable& Changed()
{
    static std::condition_variable* changed = new std::condition_variable;
    return *changed;
}

// Waits until ready() holds or the time is over; the lock is held.
template <class Ready>
bool WaitFor(std::unique_lock<std::mutex>& guard, DWORD milliseconds, Ready ready)
{
    if (milliseconds == SyncEvent::kInfinite)
    {
        Changed().wait(guard, ready);
        return true;
    }
    // A poll: no trip through the kernel's timed wait, which costs a switch.
    if (milliseconds == 0)
        return ready();
    return Changed().wait_for(guard, std::chrono::milliseconds(milliseconds), ready);
}
} // namespace

std::shared_ptr<SyncEvent> SyncEvent::Create() { return std::make_shared<SyncEvent>(); }

void SyncEvent::Set()
{
    {
        std::lock_guard guard(Lock());
        m_signalled = true;
    }
    Changed().notify_all();
}

void SyncEvent::Reset()
{
    std::lock_guard guard(Lock());
    m_signalled = false;
}

bool SyncEvent::IsSet() const
{
    std::lock_guard guard(Lock());
    return m_signalled;
}

bool SyncEvent::Wait(DWORD milliseconds) const
{
    std::unique_lock guard(Lock());
    return WaitFor(guard, milliseconds, [this] { return m_signalled; });
}

int SyncEvent::WaitAny(const std::shared_ptr<SyncEvent>* events, std::size_t count, DWORD milliseconds)
{
    std::unique_lock guard(Lock());
    int index = kTimeout;
    auto ready = [&] {
        for (std::size_t i = 0; i < count; ++i)
            if (events[i] && events[i]->m_signalled)
            {
                index = static_cast<int>(i);
                return true;
            }
        return false;
    };
    WaitFor(guard, milliseconds, ready);
    return index;
}
} // namespace qm
