#include "DataAccess/Library/ValueList.h"

#include "qm/Platform/Text/CaseFolding.h"

namespace Quillmar::Library::Native
{
namespace
{
constexpr wstring_view kSeparator = u"; ";
constexpr char16_t kQuote = u'"';
constexpr char16_t kSemicolon = u';';

void AppendFormatted(wstring& text, wstring_view value)
{
    const bool quoted = value.find(kSemicolon) != wstring_view::npos;
    if (quoted)
        text += kQuote;
    for (const char16_t c : value)
    {
        text += c;
        if (c == kQuote)
            text += kQuote;
    }
    if (quoted)
        text += kQuote;
}

// The reader of the text form, one character at a time.
class ValueListParser
{
public:
    void Feed(char16_t c)
    {
        if (!m_inValue && qm::IsSpace(c))
            return;
        if (!(c == kQuote ? TakeQuote() : TakeOther(c)))
            EndValue();
    }

    std::vector<wstring> Finish()
    {
        EndValue();
        return std::move(m_values);
    }

private:
    // False when the character ends the value: a semicolon outside quotes.
    bool TakeOther(char16_t c)
    {
        if (m_quotes >= 1)
            m_quoted = true;
        if (c == kSemicolon && !m_quoted)
            return false;
        m_value += c;
        if (c != kSemicolon)
            m_inValue = true;
        m_quotes = 0;
        return true;
    }

    // False when the quote closes a quoted value.
    bool TakeQuote()
    {
        if (m_inValue && m_quoted)
            return false;
        if (++m_quotes == 2)
        {
            m_value += kQuote;
            m_quotes = 0;
        }
        m_inValue = true;
        return true;
    }

    void EndValue()
    {
        if (!m_value.empty())
            m_values.push_back(std::move(m_value));
        m_value.clear();
        m_inValue = false;
        m_quoted = false;
        m_quotes = 0;
    }

    std::vector<wstring> m_values;
    wstring m_value;
    bool m_inValue = false;
    bool m_quoted = false;
    int m_quotes = 0;
};
} // namespace

wstring FormatValueList(const std::vector<wstring>& values)
{
    wstring text;
    for (const wstring& value : values)
    {
        if (&value != &values.front())
            text += kSeparator;
        AppendFormatted(text, value);
    }
    return text;
}

std::vector<wstring> ParseValueList(wstring_view text)
{
    ValueListParser parser;
    for (const char16_t c : text)
        parser.Feed(c);
    return parser.Finish();
}
} // namespace Quillmar::Library::Native
