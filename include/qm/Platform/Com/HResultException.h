// The exception that carries an HRESULT out of helpers that cannot return one: string
// allocations (E_OUTOFMEMORY), conversions of bad input (E_INVALIDARG). It is not
// translated at interface boundaries.
#pragma once

#include "qm/Platform/Com/HResult.h"

#include <exception>

namespace qm
{
class QM_API HResultException : public std::exception
{
public:
    explicit HResultException(HRESULT result) noexcept;
    HRESULT Result() const noexcept { return m_result; }
    // "HRESULT 0x8007000E".
    const char* what() const noexcept override { return m_text; }

private:
    HRESULT m_result;
    char m_text[20];
};

[[noreturn]] QM_API void ThrowHResult(HRESULT result);
} // namespace qm
