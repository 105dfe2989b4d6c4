#include "Platform/Xml/XmlWriter.h"

#include "Platform/Xml/XmlCharacterData.h"
#include "Platform/Xml/XmlElement.h"

#include "qm/Platform/Text/Utf8Conversion.h"

namespace qm::xml
{
namespace
{
// The code point at text[i], advancing i; an unpaired surrogate, which no stored value
// holds, becomes U+FFFD.
char32_t NextCodePoint(wstring_view text, std::size_t& i) noexcept
{
    char16_t c = text[i++];
    if (c >= 0xD800 && c <= 0xDBFF && i < text.size() && text[i] >= 0xDC00 && text[i] <= 0xDFFF)
        return 0x10000 + ((static_cast<char32_t>(c) - 0xD800) << 10) + (text[i++] - 0xDC00);
    if (c >= 0xD800 && c <= 0xDFFF)
        return 0xFFFD;
    return c;
}
// White space alone, which a reader drops as layout unless it is written as references.
bool IsBlank(wstring_view text) noexcept
{
    for (char16_t c : text)
        if (c != u' ' && c != u'\t' && c != u'\n' && c != u'\r')
            return false;
    return !text.empty();
}
} // namespace

void XmlWriter::AppendUtf8(const XmlNodeCore& root, std::string& out)
{
    XmlWriter writer(out);
    if (root.Type() == NODE_ATTRIBUTE)
    {
        writer.Raw(root.NodeName());
        writer.Literal("=\"");
        writer.Escaped(*root.ValuePtr(), true);
        writer.Literal("\"");
        return;
    }
    const XmlNodeCore* node = &root;
    for (;;)
    {
        writer.Open(*node);
        if (node->FirstChild())
        {
            node = node->FirstChild();
            continue;
        }
        writer.Close(*node);
        while (node != &root && node->NextSibling() == nullptr)
        {
            node = node->Parent();
            writer.Close(*node);
        }
        if (node == &root)
            return;
        node = node->NextSibling();
    }
}

std::string XmlWriter::ToUtf8(const XmlNodeCore& node)
{
    std::string out;
    AppendUtf8(node, out);
    return out;
}

wstring XmlWriter::ToUtf16(const XmlNodeCore& node)
{
    wstring text;
    HRESULT hr = qm::ToUtf16(ToUtf8(node), text);
    (void)hr; // the writer makes well-formed UTF-8 only
    return text;
}

void XmlWriter::Open(const XmlNodeCore& node)
{
    switch (node.Type())
    {
    case NODE_ELEMENT: {
        const auto& element = static_cast<const XmlElement&>(node);
        m_out += '<';
        Raw(element.Name());
        for (const XmlElement::Attribute& attribute : element.Attributes())
        {
            m_out += ' ';
            Raw(attribute.name);
            Literal("=\"");
            Escaped(attribute.Value(), true);
            m_out += '"';
        }
        Literal(node.FirstChild() ? ">" : "/>");
        break;
    }
    case NODE_TEXT:
        if (IsBlank(*node.ValuePtr()))
            References(*node.ValuePtr());
        else
            Escaped(*node.ValuePtr(), false);
        break;
    case NODE_CDATA_SECTION:
        CData(*node.ValuePtr());
        break;
    case NODE_COMMENT:
        Literal("<!--");
        Raw(*node.ValuePtr());
        Literal("-->");
        break;
    case NODE_PROCESSING_INSTRUCTION:
        Literal("<?");
        Raw(node.NodeName());
        if (!node.ValuePtr()->empty())
        {
            m_out += ' ';
            Raw(*node.ValuePtr());
        }
        Literal("?>");
        break;
    default:
        break;
    }
}

void XmlWriter::Close(const XmlNodeCore& node)
{
    if (node.Type() == NODE_ELEMENT && node.FirstChild())
    {
        Literal("</");
        Raw(static_cast<const XmlElement&>(node).Name());
        m_out += '>';
    }
}

void XmlWriter::Character(char32_t c)
{
    if (c < 0x80)
    {
        m_out += static_cast<char>(c);
    }
    else if (c < 0x800)
    {
        m_out += static_cast<char>(0xC0 | (c >> 6));
        m_out += static_cast<char>(0x80 | (c & 0x3F));
    }
    else if (c < 0x10000)
    {
        m_out += static_cast<char>(0xE0 | (c >> 12));
        m_out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        m_out += static_cast<char>(0x80 | (c & 0x3F));
    }
    else
    {
        m_out += static_cast<char>(0xF0 | (c >> 18));
        m_out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        m_out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        m_out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

namespace
{
// Which ASCII characters a text (0) or an attribute value (1) cannot hold as they are.
constexpr bool NeedsEscape(char16_t c, bool inAttribute)
{
    switch (c)
    {
    case u'&':
    case u'<':
    case u'\r': return true;
    case u'>': return !inAttribute;
    case u'"':
    case u'\t':
    case u'\n': return inAttribute;
    default: return false;
    }
}

struct EscapeTable
{
    bool plain[2][128];
    constexpr EscapeTable() : plain{}
    {
        for (int mode = 0; mode < 2; ++mode)
            for (char16_t c = 0; c < 128; ++c)
                plain[mode][c] = !NeedsEscape(c, mode == 1);
    }
};
constexpr EscapeTable kEscape;
} // namespace

void XmlWriter::AsciiRun(wstring_view text, std::size_t& i, bool inAttribute)
{
    // Most text is plain ASCII: it is copied a run at a time.
    const bool* plain = kEscape.plain[inAttribute ? 1 : 0];
    std::size_t end = i;
    while (end < text.size() && text[end] < 0x80 && plain[text[end]])
        ++end;
    const std::size_t start = m_out.size();
    m_out.resize(start + (end - i));
    for (char* out = m_out.data() + start; i < end; ++i)
        *out++ = static_cast<char>(text[i]);
}

void XmlWriter::Raw(wstring_view text)
{
    for (std::size_t i = 0; i < text.size();)
    {
        AsciiRun(text, i, true);
        if (i < text.size())
            Character(NextCodePoint(text, i));
    }
}

void XmlWriter::Escaped(wstring_view text, bool inAttribute)
{
    for (std::size_t i = 0; i < text.size();)
    {
        AsciiRun(text, i, inAttribute);
        if (i == text.size())
            break;
        const char32_t c = NextCodePoint(text, i);
        switch (c)
        {
        case u'&': Literal("&amp;"); break;
        case u'<': Literal("&lt;"); break;
        case u'>': Literal("&gt;"); break;
        case u'\r': Literal("&#13;"); break;
        case u'"': Literal("&quot;"); break;
        case u'\t': Literal("&#9;"); break;
        case u'\n': Literal("&#10;"); break;
        default: Character(c); break;
        }
    }
}

void XmlWriter::References(wstring_view text)
{
    for (char16_t c : text)
    {
        m_out += "&#";
        m_out += std::to_string(static_cast<int>(c));
        m_out += ';';
    }
}

void XmlWriter::CData(wstring_view text)
{
    // A CR cannot stand in a CDATA section (line ends are normalised on reading) and
    // "]]>" would end it: the section is split around both.
    Literal("<![CDATA[");
    for (std::size_t i = 0; i < text.size();)
    {
        if (text[i] == u'\r')
        {
            Literal("]]>&#13;<![CDATA[");
            ++i;
        }
        else if (text.substr(i, 3) == u"]]>")
        {
            Literal("]]]]><![CDATA[>");
            i += 3;
        }
        else
        {
            Character(NextCodePoint(text, i));
        }
    }
    Literal("]]>");
}
} // namespace qm::xml
