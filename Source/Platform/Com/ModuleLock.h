// The module's lock count, behind DllCanUnloadNow: objects that lock the module for
// their life hold a ModuleLock member.
#pragma once

#include "qm/Platform/Types.h"

namespace qm
{
void LockModule() noexcept;
void UnlockModule() noexcept;
long ModuleLockCount() noexcept;

class ModuleLock
{
public:
    ModuleLock() noexcept { LockModule(); }
    ModuleLock(const ModuleLock&) noexcept { LockModule(); }
    ModuleLock& operator=(const ModuleLock&) noexcept { return *this; }
    ~ModuleLock() { UnlockModule(); }
};
} // namespace qm
