#include "Platform/Xml/XmlScanner.h"

#include "Platform/Xml/XmlBytes.h"
#include "Platform/Xml/XmlChars.h"
#include "Platform/Xml/XmlElement.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <utility>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace qm::xml
{
namespace
{
enum ByteClass : std::uint8_t
{
    kPlain,   // printable ASCII that stands for itself
    kSpace,   // TAB and LF
    kReturn,  // CR
    kAmp,     // '&'
    kBracket, // ']'
    kLess,    // '<'
    kControl, // C0 controls XML cannot carry
    kHigh,    // the first byte of a multi-byte sequence, or a stray one
};

constexpr std::array<std::uint8_t, 256> MakeByteClasses()
{
    std::array<std::uint8_t, 256> classes{};
    for (int c = 0; c < 256; ++c)
        classes[c] = c >= 0x80 ? kHigh : c < 0x20 ? kControl : kPlain;
    classes['\t'] = kSpace;
    classes['\n'] = kSpace;
    classes['\r'] = kReturn;
    classes['&'] = kAmp;
    classes[']'] = kBracket;
    classes['<'] = kLess;
    return classes;
}
constexpr std::array<std::uint8_t, 256> kByteClass = MakeByteClasses();

// 2: may start a name; 1: may continue one. ASCII only: other names go to expat.
constexpr std::array<std::uint8_t, 256> MakeNameBytes()
{
    std::array<std::uint8_t, 256> bytes{};
    for (int c = 'a'; c <= 'z'; ++c)
        bytes[c] = 2;
    for (int c = 'A'; c <= 'Z'; ++c)
        bytes[c] = 2;
    bytes['_'] = 2;
    bytes[':'] = 2;
    for (int c = '0'; c <= '9'; ++c)
        bytes[c] = 1;
    bytes['.'] = 1;
    bytes['-'] = 1;
    return bytes;
}
constexpr std::array<std::uint8_t, 256> kNameByte = MakeNameBytes();

// Units a decoded run may take beyond its own, for stores of sixteen at a time.
constexpr std::size_t kWideStore = 16;

// Where an ASCII name that goes on at p ends.
const char* NameEnd(const char* p, const char* end) noexcept
{
#if defined(__SSE2__)
    while (end - p >= 16)
    {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        const __m128i lower = _mm_or_si128(v, _mm_set1_epi8(0x20));
        const __m128i letter =
            _mm_and_si128(_mm_cmpgt_epi8(lower, _mm_set1_epi8('a' - 1)), _mm_cmplt_epi8(lower, _mm_set1_epi8('z' + 1)));
        // '-', '.', the digits and ':' lie together, with '/' among them. Bytes from 0x80
        // compare as negative and are in none of the ranges.
        const __m128i punctuation =
            _mm_andnot_si128(_mm_cmpeq_epi8(v, _mm_set1_epi8('/')),
                             _mm_and_si128(_mm_cmpgt_epi8(v, _mm_set1_epi8('-' - 1)),
                                           _mm_cmplt_epi8(v, _mm_set1_epi8(':' + 1))));
        const __m128i underscore = _mm_cmpeq_epi8(v, _mm_set1_epi8('_'));
        const __m128i inName = _mm_or_si128(letter, _mm_or_si128(punctuation, underscore));
        const unsigned stop = ~static_cast<unsigned>(_mm_movemask_epi8(inName)) & 0xFFFFu;
        if (stop != 0)
            return p + __builtin_ctz(stop);
        p += 16;
    }
#endif
    while (p < end && kNameByte[static_cast<unsigned char>(*p)] != 0)
        ++p;
    return p;
}

#if defined(__SSE2__)
// Bit i set where byte i of the sixteen at p does not stand for itself in every run of
// text: C0 controls, bytes from 0x80, '&', '<' and ']'.
unsigned SpecialBytes(const char* p) noexcept
{
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    const __m128i control = _mm_cmplt_epi8(v, _mm_set1_epi8(0x20));
    const __m128i amp = _mm_cmpeq_epi8(v, _mm_set1_epi8('&'));
    const __m128i less = _mm_cmpeq_epi8(v, _mm_set1_epi8('<'));
    const __m128i bracket = _mm_cmpeq_epi8(v, _mm_set1_epi8(']'));
    return static_cast<unsigned>(
        _mm_movemask_epi8(_mm_or_si128(_mm_or_si128(control, amp), _mm_or_si128(less, bracket))));
}

// The sixteen bytes at p as sixteen UTF-16 units at o.
void Widen(const char* p, char16_t* o) noexcept
{
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    const __m128i zero = _mm_setzero_si128();
    _mm_storeu_si128(reinterpret_cast<__m128i*>(o), _mm_unpacklo_epi8(v, zero));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(o + 8), _mm_unpackhi_epi8(v, zero));
}
#endif

bool IsXmlChar(std::uint32_t c) noexcept
{
    return c == 0x9 || c == 0xA || c == 0xD || (c >= 0x20 && c <= 0xD7FF) || (c >= 0xE000 && c <= 0xFFFD) ||
           (c >= 0x10000 && c <= 0x10FFFF);
}

void Put(std::uint32_t c, char16_t*& out) noexcept
{
    if (c < 0x10000)
    {
        *out++ = static_cast<char16_t>(c);
        return;
    }
    c -= 0x10000;
    *out++ = static_cast<char16_t>(0xD800 + (c >> 10));
    *out++ = static_cast<char16_t>(0xDC00 + (c & 0x3FF));
}

bool IsContinuation(const char* p, const char* end, unsigned char low = 0x80, unsigned char high = 0xBF) noexcept
{
    if (p >= end)
        return false;
    const auto c = static_cast<unsigned char>(*p);
    return c >= low && c <= high;
}

// One character of two to four bytes at p, in the forms XML allows: no overlong form,
// no surrogate, nothing beyond U+10FFFF, no U+FFFE or U+FFFF.
bool ReadUtf8(const char*& p, const char* end, char16_t*& out) noexcept
{
    const auto lead = static_cast<unsigned char>(p[0]);
    std::uint32_t c = 0;
    int length = 0;
    if (lead >= 0xC2 && lead <= 0xDF)
    {
        c = lead & 0x1F;
        length = 2;
    }
    else if (lead >= 0xE0 && lead <= 0xEF)
    {
        c = lead & 0x0F;
        length = 3;
    }
    else if (lead >= 0xF0 && lead <= 0xF4)
    {
        c = lead & 0x07;
        length = 4;
    }
    else
        return false;
    // The second byte's range excludes overlong forms, surrogates and values past the end.
    const unsigned char low = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    const unsigned char high = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    if (!IsContinuation(p + 1, end, low, high))
        return false;
    for (int i = 1; i < length; ++i)
    {
        if (i > 1 && !IsContinuation(p + i, end))
            return false;
        c = (c << 6) | (static_cast<unsigned char>(p[i]) & 0x3F);
    }
    if (c == 0xFFFE || c == 0xFFFF)
        return false;
    Put(c, out);
    p += length;
    return true;
}

int DigitValue(char c, bool hex) noexcept
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (hex && c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (hex && c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

bool ReadCharacterReference(const char*& p, const char* end, char16_t*& out) noexcept
{
    const bool hex = p < end && *p == 'x';
    if (hex)
        ++p;
    // Seven decimal or six hex digits reach past U+10FFFF; longer forms go to expat.
    const int maxDigits = hex ? 6 : 7;
    std::uint32_t c = 0;
    int digits = 0;
    for (; p < end && *p != ';'; ++p)
    {
        const int digit = DigitValue(*p, hex);
        if (digit < 0 || ++digits > maxDigits)
            return false;
        c = c * (hex ? 16 : 10) + static_cast<std::uint32_t>(digit);
    }
    if (p == end || digits == 0 || !IsXmlChar(c))
        return false;
    ++p;
    Put(c, out);
    return true;
}

// A reference at p ('&'): a character reference or one of the five predefined entities.
bool ReadReference(const char*& p, const char* end, char16_t*& out) noexcept
{
    const char* q = p + 1;
    if (q < end && *q == '#')
    {
        ++q;
        if (!ReadCharacterReference(q, end, out))
            return false;
        p = q;
        return true;
    }
    static constexpr std::pair<std::string_view, char16_t> kEntities[] = {
        {"lt;", u'<'}, {"gt;", u'>'}, {"amp;", u'&'}, {"apos;", u'\''}, {"quot;", u'"'}};
    const std::string_view rest(q, static_cast<std::size_t>(end - q));
    for (const auto& [name, value] : kEntities)
        if (rest.starts_with(name))
        {
            *out++ = value;
            p = q + name.size();
            return true;
        }
    return false;
}

bool EqualsIgnoringAsciiCase(std::string_view a, std::string_view b) noexcept
{
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i)
    {
        auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
        if (lower(a[i]) != lower(b[i]))
            return false;
    }
    return true;
}
bool IsEncodingName(std::string_view name) noexcept
{
    auto letter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
    if (name.empty() || !letter(name[0]))
        return false;
    for (char c : name.substr(1))
        if (!letter(c) && !(c >= '0' && c <= '9') && c != '.' && c != '_' && c != '-')
            return false;
    return true;
}
} // namespace

XmlScanner::XmlScanner(XmlTreeBuilder& builder, bool encodingFixed) noexcept
    : m_builder(builder), m_encodingFixed(encodingFixed)
{
}

bool XmlScanner::Scan(std::string_view input)
{
    m_p = input.data();
    m_end = m_p + input.size();
    m_openCount = 0;
    Skip("\xEF\xBB\xBF");
    if (!Declaration() || !Misc() || m_p == m_end)
        return false;
    // Misc stopped at the root element's start tag.
    if (!StartTag() || !Content() || !Misc())
        return false;
    return m_p == m_end;
}

bool XmlScanner::Declaration()
{
    if (!(At("<?xml") && m_end - m_p > 5 && IsXmlSpace(m_p[5])))
        return true;
    m_p += 5;
    SkipSpace();
    auto pseudoAttribute = [this](std::string_view name, std::string_view& value) {
        if (!Skip(name))
            return false;
        SkipSpace();
        if (!Skip('='))
            return false;
        SkipSpace();
        return Quoted(value);
    };
    std::string_view value;
    if (!pseudoAttribute("version", value) || value != "1.0")
        return false;
    bool space = SkipSpace();
    if (space && m_end - m_p > 0 && *m_p == 'e')
    {
        // Other encodings are expat's to convert; text made UTF-8 by the caller keeps
        // whatever name it was declared with.
        if (!pseudoAttribute("encoding", value) || !IsEncodingName(value) ||
            !(m_encodingFixed || EqualsIgnoringAsciiCase(value, "UTF-8")))
            return false;
        space = SkipSpace();
    }
    if (space && m_end - m_p > 0 && *m_p == 's')
    {
        if (!pseudoAttribute("standalone", value) || (value != "yes" && value != "no"))
            return false;
        SkipSpace();
    }
    return Skip("?>");
}

bool XmlScanner::Misc()
{
    for (;;)
    {
        SkipSpace();
        if (m_p == m_end)
            return true;
        if (*m_p != '<' || m_end - m_p < 2)
            return false;
        if (m_p[1] == '?')
        {
            if (!ProcessingInstruction())
                return false;
        }
        else if (m_p[1] == '!')
        {
            // A document type declaration, above all, is expat's to refuse.
            if (!At("<!--") || !Comment())
                return false;
        }
        else
            return true;
    }
}

bool XmlScanner::Content()
{
    while (m_openCount > 0)
    {
        if (m_p == m_end)
            return false;
        if (*m_p != '<')
        {
            const auto* less = static_cast<const char*>(std::memchr(m_p, '<', static_cast<std::size_t>(m_end - m_p)));
            if (less == nullptr || !Text(less))
                return false;
            continue;
        }
        if (m_end - m_p < 2)
            return false;
        bool ok = false;
        switch (m_p[1])
        {
        case '/': ok = EndTag(); break;
        case '!': ok = Markup(); break;
        case '?': ok = ProcessingInstruction(); break;
        default: ok = StartTag(); break;
        }
        if (!ok)
            return false;
    }
    return true;
}

bool XmlScanner::StartTag()
{
    ++m_p;
    std::string_view name;
    if (!Name(name) || m_builder.AtMaxDepth())
        return false;
    XmlString elementName;
    if (!m_builder.Name(name, elementName))
        return false;
    XmlElement* element = m_builder.OpenElement(std::move(elementName));
    // Most elements have no attributes and some content.
    if (!Skip('>'))
    {
        if (!Attributes(*element))
            return false;
        if (Skip("/>"))
        {
            m_builder.CloseElement();
            return true;
        }
        if (!Skip('>'))
            return false;
    }
    m_open[m_openCount++] = {name.data(), name.size()};
    return true;
}

bool XmlScanner::Attributes(XmlElement& element)
{
    // Names and raw values first, so that the element's list is made at its size.
    std::size_t count = 0;
    for (;;)
    {
        const bool space = SkipSpace();
        if (m_p == m_end)
            return false;
        if (*m_p == '>' || *m_p == '/')
            break;
        std::string_view name;
        std::string_view value;
        if (!space || !Name(name))
            return false;
        SkipSpace();
        if (!Skip('='))
            return false;
        SkipSpace();
        if (!Quoted(value) || count == kMaxAttributes)
            return false;
        for (std::size_t i = 0; i < count; ++i)
            if (m_attributes[i].name.View() == name)
                return false;
        m_attributes[count++] = {{name.data(), name.size()}, {value.data(), value.size()}};
    }
    XmlAttributeEntry* entries = m_builder.Attributes(element, count);
    for (std::size_t i = 0; i < count; ++i)
    {
        const Attribute& attribute = m_attributes[i];
        const char* raw = attribute.value.data;
        if (!m_builder.Name(attribute.name.View(), entries[i].name) ||
            !Decode(raw, raw + attribute.value.size, Run::Attribute, entries[i].value))
            return false;
    }
    return true;
}

bool XmlScanner::EndTag()
{
    m_p += 2;
    // The open element's name, and no longer one.
    const std::string_view name = m_open[m_openCount - 1].View();
    if (!Skip(name) || (m_p < m_end && kNameByte[static_cast<unsigned char>(*m_p)] != 0) ||
        (m_p < m_end && static_cast<unsigned char>(*m_p) >= 0x80))
        return false;
    SkipSpace();
    if (!Skip('>'))
        return false;
    --m_openCount;
    m_builder.CloseElement();
    return true;
}

bool XmlScanner::Markup()
{
    if (At("<!--"))
        return Comment();
    if (At("<![CDATA["))
        return CData();
    return false;
}

bool XmlScanner::Comment()
{
    m_p += 4;
    // "--" may only close the comment.
    const std::string_view rest(m_p, static_cast<std::size_t>(m_end - m_p));
    const std::size_t dashes = rest.find("--");
    XmlString text;
    if (dashes == std::string_view::npos || !rest.substr(dashes).starts_with("-->") || !Until("-->", text))
        return false;
    m_builder.AppendComment(std::move(text));
    return true;
}

bool XmlScanner::CData()
{
    m_p += 9;
    XmlString text;
    if (!Until("]]>", text))
        return false;
    m_builder.AppendCData(std::move(text));
    return true;
}

bool XmlScanner::ProcessingInstruction()
{
    m_p += 2;
    std::string_view target;
    // "xml" in any case is reserved; the declaration was read before.
    XmlString targetText;
    if (!Name(target) || EqualsIgnoringAsciiCase(target, "xml") || !m_builder.Name(target, targetText))
        return false;
    XmlString data;
    // Data follows white space; none at all is "?>" at once.
    if (!(Skip("?>") || (SkipSpace() && Until("?>", data))))
        return false;
    m_builder.AppendProcessingInstruction(std::move(targetText), std::move(data));
    return true;
}

bool XmlScanner::Until(std::string_view terminator, XmlString& text)
{
    const std::string_view rest(m_p, static_cast<std::size_t>(m_end - m_p));
    const std::size_t end = rest.find(terminator);
    if (end == std::string_view::npos || !Decode(m_p, m_p + end, Run::Literal, text))
        return false;
    m_p += end + terminator.size();
    return true;
}

bool XmlScanner::Text(const char* end)
{
    const char* begin = m_p;
    const char* p = begin;
    while (p < end && IsXmlSpace(*p))
        ++p;
    const bool blank = p == end;
    m_p = end;
    // Layout is dropped without being read; white space needs no checks.
    if (blank && !m_builder.KeepsBlankText())
        return true;
    XmlString text;
    if (!Decode(begin, end, Run::Content, text))
        return false;
    m_builder.AppendText(std::move(text), blank);
    return true;
}

inline bool XmlScanner::Name(std::string_view& name) noexcept
{
    if (m_p == m_end || kNameByte[static_cast<unsigned char>(*m_p)] != 2)
        return false;
    const char* p = NameEnd(m_p + 1, m_end);
    // A name that goes on beyond ASCII is expat's to judge.
    if (p < m_end && static_cast<unsigned char>(*p) >= 0x80)
        return false;
    name = std::string_view(m_p, static_cast<std::size_t>(p - m_p));
    m_p = p;
    return true;
}

inline bool XmlScanner::SkipSpace() noexcept
{
    const char* start = m_p;
    while (m_p < m_end && IsXmlSpace(*m_p))
        ++m_p;
    return m_p != start;
}

inline bool XmlScanner::Quoted(std::string_view& value) noexcept
{
    if (m_p == m_end || (*m_p != '"' && *m_p != '\''))
        return false;
    const char quote = *m_p++;
    const auto* close = static_cast<const char*>(std::memchr(m_p, quote, static_cast<std::size_t>(m_end - m_p)));
    if (close == nullptr)
        return false;
    value = std::string_view(m_p, static_cast<std::size_t>(close - m_p));
    m_p = close + 1;
    return true;
}

bool XmlScanner::Decode(const char* begin, const char* end, Run run, XmlString& out) const
{
    // No character takes more UTF-16 units than it took bytes; sixteen more give room
    // for the last wide store.
    char16_t* const room = m_builder.Room(static_cast<std::size_t>(end - begin) + kWideStore);
    char16_t* o = room;
    const char* p = begin;
    while (p < end)
    {
        // Most of any text stands for itself.
#if defined(__SSE2__)
        // Sixteen bytes at a time: the loads may reach past the run but not past the input.
        while (m_end - p >= 16)
        {
            unsigned stop = SpecialBytes(p);
            const std::ptrdiff_t left = end - p;
            if (left < 16)
                stop |= ~0u << left;
            Widen(p, o);
            if (stop == 0)
            {
                p += 16;
                o += 16;
                continue;
            }
            const int plain = __builtin_ctz(stop);
            p += plain;
            o += plain;
            break;
        }
        if (p == end)
            break;
#endif
        while (kByteClass[static_cast<unsigned char>(*p)] == kPlain)
        {
            *o++ = static_cast<unsigned char>(*p);
            if (++p == end)
                break;
        }
        if (p == end)
            break;
        const auto c = static_cast<unsigned char>(*p);
        switch (kByteClass[c])
        {
        case kSpace:
            *o++ = run == Run::Attribute ? u' ' : c;
            ++p;
            break;
        case kReturn:
            // CR LF and a lone CR are one line end.
            *o++ = run == Run::Attribute ? u' ' : u'\n';
            if (++p < end && *p == '\n')
                ++p;
            break;
        case kAmp:
            if (run == Run::Literal)
            {
                *o++ = u'&';
                ++p;
            }
            else if (!ReadReference(p, end, o))
                return false;
            break;
        case kBracket:
            if (run == Run::Content && end - p >= 3 && p[1] == ']' && p[2] == '>')
                return false;
            *o++ = u']';
            ++p;
            break;
        case kLess:
            if (run == Run::Attribute)
                return false;
            *o++ = u'<';
            ++p;
            break;
        case kHigh:
            if (!ReadUtf8(p, end, o))
                return false;
            break;
        default:
            return false;
        }
    }
    out = m_builder.Keep(room, static_cast<std::size_t>(o - room));
    return true;
}
} // namespace qm::xml
