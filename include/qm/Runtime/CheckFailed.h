// What a subscription to an event throws when it is refused: the only exception of the
// model, meant for the caller of Subscribe.
#pragma once

#include "qm/Platform/Types.h"

#include <exception>

namespace MVVM
{
class QM_API check_failed : public std::exception
{
public:
    // Keeps the thread's last error at the moment of the throw.
    check_failed() noexcept;
    DWORD LastError() const noexcept { return m_lastError; }
    const char* what() const noexcept override { return "event subscription refused"; }

private:
    DWORD m_lastError;
};
} // namespace MVVM
