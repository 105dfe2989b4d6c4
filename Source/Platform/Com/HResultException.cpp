#include "qm/Platform/Com/HResultException.h"

#include <cstdio>

namespace qm
{
HResultException::HResultException(HRESULT result) noexcept : m_result(result)
{
    std::snprintf(m_text, sizeof(m_text), "HRESULT 0x%08X", static_cast<unsigned>(result));
}

void ThrowHResult(HRESULT result) { throw HResultException(result); }
} // namespace qm
