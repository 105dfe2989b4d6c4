// A small sscanf for 16-bit text, lenient as the original: a number is read as far as it
// goes ("12x" reads 12). Conversions: %d and %i (int*), %u (unsigned*), %I64d and %lld
// (int64_t*), each with an optional width that limits the characters read; white space
// before a number is skipped; white space in the format matches any amount; other
// characters must match. A number that overflows its type ends the scan there.
#pragma once

#include "qm/Platform/Types.h"

#include <cstdint>

namespace qm
{
// The count of fields assigned, or -1 when the text ends before the first conversion.
int ScanW(const char16_t* text, const char16_t* format, ...);
// The element-text form of a 64-bit number: the leading number of the text. False, and
// value unchanged, when the text does not begin with one.
bool ScanInt64(wstring_view text, std::int64_t& value);
} // namespace qm
