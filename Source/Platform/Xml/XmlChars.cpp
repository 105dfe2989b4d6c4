#include "Platform/Xml/XmlChars.h"

#include "qm/Platform/Text/Utf8Conversion.h"

#include <expat.h>

#include <string>
#include <unordered_map>

namespace qm::xml
{
namespace
{
bool IsNameStartChar(char32_t c) noexcept
{
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || c == u'_' || c == u':' ||
           (c >= 0xC0 && c <= 0xD6) || (c >= 0xD8 && c <= 0xF6) || (c >= 0xF8 && c <= 0x2FF) ||
           (c >= 0x370 && c <= 0x37D) || (c >= 0x37F && c <= 0x1FFF) || (c >= 0x200C && c <= 0x200D) ||
           (c >= 0x2070 && c <= 0x218F) || (c >= 0x2C00 && c <= 0x2FEF) || (c >= 0x3001 && c <= 0xD7FF) ||
           (c >= 0xF900 && c <= 0xFDCF) || (c >= 0xFDF0 && c <= 0xFFFD) || (c >= 0x10000 && c <= 0xEFFFF);
}

bool IsNameChar(char32_t c) noexcept
{
    return IsNameStartChar(c) || c == u'-' || c == u'.' || (c >= u'0' && c <= u'9') || c == 0xB7 ||
           (c >= 0x300 && c <= 0x36F) || (c >= 0x203F && c <= 0x2040);
}

// The code point at text[i], advancing i; 0xFFFFFFFF for an unpaired surrogate.
char32_t NextCodePoint(wstring_view text, std::size_t& i) noexcept
{
    char16_t c = text[i++];
    if (c >= 0xD800 && c <= 0xDBFF)
    {
        if (i < text.size() && text[i] >= 0xDC00 && text[i] <= 0xDFFF)
            return 0x10000 + ((static_cast<char32_t>(c) - 0xD800) << 10) + (text[i++] - 0xDC00);
        return 0xFFFFFFFF;
    }
    if (c >= 0xDC00 && c <= 0xDFFF)
        return 0xFFFFFFFF;
    return c;
}
// Whether the parser reads the name in a UTF-8 document, as every saved document is;
// answers are kept per thread, within a bound.
bool ReaderAcceptsName(wstring_view name) noexcept
{
    try
    {
        thread_local std::unordered_map<wstring, bool> answers;
        if (auto found = answers.find(wstring(name)); found != answers.end())
            return found->second;
        std::string utf8;
        if (FAILED(ToUtf8(name, utf8)))
            return false;
        const std::string document = "<" + utf8 + "/>";
        XML_Parser parser = XML_ParserCreate("UTF-8");
        if (parser == nullptr)
            return false;
        const bool accepted = XML_Parse(parser, document.data(), static_cast<int>(document.size()), 1) == XML_STATUS_OK;
        XML_ParserFree(parser);
        if (answers.size() < 4096)
            answers.emplace(name, accepted);
        return accepted;
    }
    catch (...)
    {
        return false;
    }
}
} // namespace

bool IsValidText(wstring_view text) noexcept
{
    for (char16_t c : text)
    {
        if (c < 0x20 && c != u'\t' && c != u'\n' && c != u'\r')
            return false;
        if (c == 0xFFFE || c == 0xFFFF)
            return false;
    }
    return IsValidUtf16(text);
}

bool IsValidName(wstring_view name) noexcept
{
    if (name.empty())
        return false;
    std::size_t i = 0;
    if (!IsNameStartChar(NextCodePoint(name, i)))
        return false;
    bool ascii = name[0] < 0x80;
    while (i < name.size())
    {
        ascii = ascii && name[i] < 0x80;
        if (!IsNameChar(NextCodePoint(name, i)))
            return false;
    }
    // Beyond ASCII the reader's tables of name characters are narrower than the rule
    // above, and a name it refuses could be written but never read back: it decides.
    return ascii || ReaderAcceptsName(name);
}

namespace
{
// A reader turns a CR into a line feed, and comments and processing instructions have no
// way to escape it: one stored there would not read back.
bool HoldsCarriageReturn(wstring_view text) noexcept { return text.find(u'\r') != wstring_view::npos; }
} // namespace

bool IsValidComment(wstring_view text) noexcept
{
    return IsValidText(text) && !HoldsCarriageReturn(text) && text.find(u"--") == wstring_view::npos &&
           (text.empty() || text.back() != u'-');
}

bool IsValidProcessingInstruction(wstring_view target, wstring_view data) noexcept
{
    if (!IsValidName(target) || !IsValidText(data) || HoldsCarriageReturn(data) ||
        data.find(u"?>") != wstring_view::npos)
        return false;
    if (target.size() == 3)
    {
        auto lower = [](char16_t c) { return static_cast<char16_t>(c >= u'A' && c <= u'Z' ? c + 32 : c); };
        if (lower(target[0]) == u'x' && lower(target[1]) == u'm' && lower(target[2]) == u'l')
            return false;
    }
    return true;
}
} // namespace qm::xml
