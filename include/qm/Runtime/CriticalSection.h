// A critical section: a lock the same thread may enter again. Taken through ScopedLock.
#pragma once

#include <mutex>

namespace Standard
{
class CriticalSection
{
public:
    void Enter() { m_mutex.lock(); }
    void Leave() { m_mutex.unlock(); }

private:
    std::recursive_mutex m_mutex;
};

class ScopedLock
{
public:
    explicit ScopedLock(CriticalSection& section) : m_section(section) { m_section.Enter(); }
    ~ScopedLock() { m_section.Leave(); }
    ScopedLock(const ScopedLock&) = delete;
    ScopedLock& operator=(const ScopedLock&) = delete;

private:
    CriticalSection& m_section;
};
} // namespace Standard
