// Numbers and booleans as text, the same on every machine. Reading is strict: white space
// around the value and one sign are allowed, anything else is refused (DISP_E_TYPEMISMATCH),
// and a value out of range is DISP_E_OVERFLOW. The target is unchanged on failure.
#pragma once

#include "qm/Platform/Com/HResult.h"

namespace qm
{
HRESULT ParseInt32(wstring_view text, std::int32_t& value);
HRESULT ParseUInt32(wstring_view text, std::uint32_t& value);
HRESULT ParseInt64(wstring_view text, std::int64_t& value);
HRESULT ParseUInt64(wstring_view text, std::uint64_t& value);
// Decimal digits with an optional "." and exponent ("1.5", ".5", "2e-3"); "NaN" and "INF"
// in any case, as FormatFloat writes them. A value too small to hold reads as zero, one
// too large is DISP_E_OVERFLOW.
HRESULT ParseFloat(wstring_view text, float& value);
HRESULT ParseDouble(wstring_view text, double& value);
// "true" or "false" in any case, or a finite number: 0 is false, anything else true.
HRESULT ParseBool(wstring_view text, bool& value);

wstring FormatInt64(std::int64_t value);
wstring FormatUInt64(std::uint64_t value);
// The shortest digits that read back to the same value, written out in plain decimal:
// no exponent, "." before a fraction and none without one ("0.1", "0.0000001", "1",
// "340000000000000000000000000000000000000", "-0"). NaN is "NaN", infinities "INF"
// and "-INF": no number text stands for them, and ParseFloat reads these back.
wstring FormatFloat(float value);
wstring FormatDouble(double value);
// "True" or "False".
wstring FormatBool(bool value);
} // namespace qm
