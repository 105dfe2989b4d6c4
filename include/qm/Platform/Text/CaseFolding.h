// The one case rule of the system: Unicode simple case folding of each code point, then
// a comparison of the folded code units. "Équipe" and "ÉQUIPE" are equal; "straße" and
// "STRASSE" are not, since simple folding maps one code point to one.
#pragma once

#include "qm/Platform/Types.h"

namespace qm
{
QM_API wstring FoldCase(wstring_view text);
// The same into out, whose storage is reused: for loops that fold many texts.
QM_API void FoldCaseInto(wstring_view text, wstring& out);
// <0, 0, >0 as the folded texts compare.
QM_API int CompareNoCase(wstring_view a, wstring_view b) noexcept;
inline bool EqualsNoCase(wstring_view a, wstring_view b) noexcept
{
    return a.size() == b.size() && CompareNoCase(a, b) == 0;
}
// The first place where needle stands in haystack, ignoring case; npos when it does not.
QM_API std::size_t FindNoCase(wstring_view haystack, wstring_view needle) noexcept;

// Ordering for maps and sets keyed by text that ignores case.
struct NoCaseLess
{
    using is_transparent = void;
    bool operator()(wstring_view a, wstring_view b) const noexcept { return CompareNoCase(a, b) < 0; }
};

// The roles of upper- and lower-casing a string: simple mappings of each code point.
QM_API wstring ToUpper(wstring_view text);
QM_API wstring ToLower(wstring_view text);
// The Unicode White_Space property.
QM_API bool IsSpace(char32_t c) noexcept;
} // namespace qm
