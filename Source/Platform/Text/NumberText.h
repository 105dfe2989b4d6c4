// Numbers and booleans as text, the same on every machine. Reading is strict: blanks
// around the value and a sign are allowed, anything else is refused (DISP_E_TYPEMISMATCH),
// and a value out of range is DISP_E_OVERFLOW. The target is unchanged on failure.
#pragma once

#include "qm/Platform/Com/HResult.h"

namespace qm
{
HRESULT ParseInt32(wstring_view text, std::int32_t& value);
HRESULT ParseUInt32(wstring_view text, std::uint32_t& value);
HRESULT ParseInt64(wstring_view text, std::int64_t& value);
HRESULT ParseUInt64(wstring_view text, std::uint64_t& value);
// Decimal or exponent form; "NaN", "INF" and "-INF" read as written by FormatFloat.
HRESULT ParseFloat(wstring_view text, float& value);
HRESULT ParseDouble(wstring_view text, double& value);
// "true" or "false" in any case, or a number (0 is false).
HRESULT ParseBool(wstring_view text, bool& value);

wstring FormatInt64(std::int64_t value);
wstring FormatUInt64(std::uint64_t value);
// The shortest decimal text that reads back to the same value, in fixed notation with
// "." as the separator and no exponent ("0.1", "1", "-0", "1E-07" never occurs).
wstring FormatFloat(float value);
wstring FormatDouble(double value);
// "True" or "False".
wstring FormatBool(bool value);
} // namespace qm
