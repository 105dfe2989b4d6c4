#include "qm/Runtime/CheckFailed.h"

#include "Platform/Com/LastError.h"

namespace MVVM
{
check_failed::check_failed() noexcept : m_lastError(GetLastError()) {}
} // namespace MVVM
