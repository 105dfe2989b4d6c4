#include "qm/Platform/Com/HResultException.h"

namespace qm
{
const char* HResultException::what() const noexcept { return "operation failed with an HRESULT"; }

void ThrowHResult(HRESULT result) { throw HResultException(result); }
} // namespace qm
