// The per-thread last error of the platform wrappers. Each wrapper sets it at the moment
// it fails, so that logging in between cannot change what the caller reads.
#pragma once

#include "qm/Platform/Com/HResult.h"

void SetLastError(DWORD error) noexcept;
DWORD GetLastError() noexcept;

namespace qm
{
// The Win32 code that stands for an errno value.
DWORD Win32ErrorFromErrno(int err) noexcept;
// Sets the last error from errno (or from the given errno value) and returns the Win32 code.
DWORD SetLastErrorFromErrno() noexcept;
DWORD SetLastErrorFromErrno(int err) noexcept;
// The converted last error: 0 stays 0, a code becomes 0x8007xxxx.
inline HRESULT HResultFromLastError() noexcept
{
    return HRESULT_FROM_WIN32(static_cast<long>(static_cast<LONG>(GetLastError())));
}
// Like HResultFromLastError, but E_FAIL where the last error is no failure.
inline HRESULT FailureFromLastError() noexcept
{
    HRESULT hr = HResultFromLastError();
    return FAILED(hr) ? hr : E_FAIL;
}
} // namespace qm
