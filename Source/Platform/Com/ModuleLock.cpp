#include "Platform/Com/ModuleLock.h"

#include <atomic>

namespace qm
{
namespace
{
std::atomic<long> g_lockCount{0};
}

void LockModule() noexcept { g_lockCount.fetch_add(1); }
void UnlockModule() noexcept { g_lockCount.fetch_sub(1); }
long ModuleLockCount() noexcept { return g_lockCount.load(); }
} // namespace qm
