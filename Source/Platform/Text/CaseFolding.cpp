#include "qm/Platform/Text/CaseFolding.h"

#include <unicode/uchar.h>

namespace qm
{
namespace
{
// Walks the code points of a text; an unpaired surrogate stands for itself.
class CodePoints
{
public:
    explicit CodePoints(wstring_view text) noexcept : m_text(text) {}
    bool AtEnd() const noexcept { return m_position >= m_text.size(); }
    std::size_t Position() const noexcept { return m_position; }
    char32_t Next() noexcept
    {
        const char16_t c = m_text[m_position++];
        if (c >= 0xD800 && c <= 0xDBFF && m_position < m_text.size() && m_text[m_position] >= 0xDC00 &&
            m_text[m_position] <= 0xDFFF)
            return 0x10000 + ((static_cast<char32_t>(c) - 0xD800) << 10) + (m_text[m_position++] - 0xDC00);
        return c;
    }

private:
    wstring_view m_text;
    std::size_t m_position = 0;
};

char32_t Fold(char32_t c) noexcept
{
    if (c < 0x80)
        return (c >= u'A' && c <= u'Z') ? c + 32 : c;
    return static_cast<char32_t>(u_foldCase(static_cast<UChar32>(c), U_FOLD_CASE_DEFAULT));
}

void Append(wstring& out, char32_t c)
{
    if (c < 0x10000)
    {
        out += static_cast<char16_t>(c);
        return;
    }
    c -= 0x10000;
    out += static_cast<char16_t>(0xD800 + (c >> 10));
    out += static_cast<char16_t>(0xDC00 + (c & 0x3FF));
}

// Code-unit order of two code points, as their UTF-16 forms compare.
int CompareUnits(char32_t a, char32_t b) noexcept
{
    auto lead = [](char32_t c) { return c < 0x10000 ? c : 0xD800 + ((c - 0x10000) >> 10); };
    auto trail = [](char32_t c) { return c < 0x10000 ? 0u : 0xDC00 + ((c - 0x10000) & 0x3FF); };
    if (lead(a) != lead(b))
        return lead(a) < lead(b) ? -1 : 1;
    if (trail(a) != trail(b))
        return trail(a) < trail(b) ? -1 : 1;
    return 0;
}

template <class Map>
wstring MapEach(wstring_view text, Map map)
{
    wstring out;
    out.reserve(text.size());
    for (CodePoints points(text); !points.AtEnd();)
        Append(out, map(points.Next()));
    return out;
}
} // namespace

wstring FoldCase(wstring_view text) { return MapEach(text, Fold); }

void FoldCaseInto(wstring_view text, wstring& out)
{
    // ASCII folds in place, one unit to one; the first other unit goes the long way.
    out.resize(text.size());
    std::size_t i = 0;
    for (; i < text.size() && text[i] < 0x80; ++i)
        out[i] = (text[i] >= u'A' && text[i] <= u'Z') ? static_cast<char16_t>(text[i] + 32) : text[i];
    out.resize(i);
    for (CodePoints points(text.substr(i)); !points.AtEnd();)
        Append(out, Fold(points.Next()));
}

int CompareNoCase(wstring_view a, wstring_view b) noexcept
{
    CodePoints left(a), right(b);
    while (!left.AtEnd() && !right.AtEnd())
    {
        const int order = CompareUnits(Fold(left.Next()), Fold(right.Next()));
        if (order != 0)
            return order;
    }
    return left.AtEnd() ? (right.AtEnd() ? 0 : -1) : 1;
}

std::size_t FindNoCase(wstring_view haystack, wstring_view needle) noexcept
{
    if (needle.empty())
        return 0;
    for (CodePoints start(haystack); !start.AtEnd(); start.Next())
    {
        CodePoints h(haystack.substr(start.Position())), n(needle);
        bool equal = true;
        while (equal && !n.AtEnd())
            equal = !h.AtEnd() && Fold(h.Next()) == Fold(n.Next());
        if (equal)
            return start.Position();
    }
    return wstring_view::npos;
}

wstring ToUpper(wstring_view text)
{
    return MapEach(text, [](char32_t c) { return static_cast<char32_t>(u_toupper(static_cast<UChar32>(c))); });
}

wstring ToLower(wstring_view text)
{
    return MapEach(text, [](char32_t c) { return static_cast<char32_t>(u_tolower(static_cast<UChar32>(c))); });
}

bool IsSpace(char32_t c) noexcept { return u_hasBinaryProperty(static_cast<UChar32>(c), UCHAR_WHITE_SPACE); }
} // namespace qm
