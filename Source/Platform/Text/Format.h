// printf for 16-bit strings, the same on every machine: "%s" takes a 16-bit string,
// the decimal point is always ".". Conversions: d i u x X c f s %, the lengths l, ll and
// I64, the flags '-' and '0', a width (or '*') and a precision. A format with an unknown
// conversion gives an empty string; a lone "%" at its end is copied as it stands.
#pragma once

#include "qm/Platform/Types.h"

#include <cstdarg>

namespace qm
{
wstring FormatW(const char16_t* format, ...);
wstring VFormatW(const char16_t* format, va_list arguments);
} // namespace qm
