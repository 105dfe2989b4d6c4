#include "Platform/Xml/XmlParser.h"

#include "Platform/Xml/XmlChars.h"
#include "Platform/Xml/XmlElement.h"
#include "Platform/Xml/XmlScanner.h"

#include "qm/Platform/Text/Utf8Conversion.h"

#include <expat.h>

#include <limits>
#include <new>
#include <cstring>
#include <random>
#include <utility>

namespace qm::xml
{
namespace
{
// Codes of the errors this parser adds to expat's.
constexpr LONG kErrorBase = static_cast<LONG>(0xC00CE000u);
constexpr LONG kErrorDoctype = kErrorBase + 0x100;
constexpr LONG kErrorTooDeep = kErrorBase + 0x101;
constexpr LONG kErrorOutOfMemory = kErrorBase + 0x102;
constexpr LONG kErrorName = kErrorBase + 0x103;

bool IsBlank(std::string_view text)
{
    for (char c : text)
        if (!IsXmlSpace(c))
            return false;
    return true;
}

LONG Clamp(unsigned long long value)
{
    constexpr auto kMax = static_cast<unsigned long long>(std::numeric_limits<LONG>::max());
    return static_cast<LONG>(value > kMax ? kMax : value);
}

// One expat parser kept per thread: making one costs more than a small document's parse.
thread_local XML_Parser t_spareParser = nullptr;

struct SpareParserRelease
{
    ~SpareParserRelease()
    {
        if (t_spareParser)
            XML_ParserFree(t_spareParser);
    }
};
thread_local SpareParserRelease t_spareParserRelease;

// A random salt per thread keeps expat's hash tables safe from crafted names without
// asking the system for entropy at every parse.
unsigned long ThreadSalt()
{
    thread_local const unsigned long salt = [] {
        std::random_device device;
        return (static_cast<unsigned long>(device()) << 32) ^ device();
    }();
    return salt;
}

XML_Parser AcquireParser(const char* encoding)
{
    (void)t_spareParserRelease;
    XML_Parser parser = std::exchange(t_spareParser, nullptr);
    if (parser == nullptr || !XML_ParserReset(parser, encoding))
    {
        if (parser)
            XML_ParserFree(parser);
        parser = XML_ParserCreate(encoding);
    }
    if (parser == nullptr)
        throw std::bad_alloc();
    XML_SetHashSalt(parser, ThreadSalt());
    return parser;
}

void ReleaseParser(XML_Parser parser)
{
    if (t_spareParser == nullptr)
        t_spareParser = parser;
    else
        XML_ParserFree(parser);
}
} // namespace

XmlParser::XmlParser(XmlDocument& document, bool preserveWhiteSpace, const char* encoding)
    : m_encoding(encoding), m_builder(document, preserveWhiteSpace)
{
}

XmlParser::~XmlParser()
{
    if (m_parser)
        ReleaseParser(m_parser);
}

XML_Parser XmlParser::Expat()
{
    // Made on first use: a document that the scanner reads never needs one.
    if (m_parser)
        return m_parser;
    m_parser = AcquireParser(m_encoding);
    XML_SetUserData(m_parser, this);
    XML_SetElementHandler(m_parser, OnStartElement, OnEndElement);
    XML_SetCharacterDataHandler(m_parser, OnCharacterData);
    XML_SetCdataSectionHandler(m_parser, OnStartCdata, OnEndCdata);
    XML_SetCommentHandler(m_parser, OnComment);
    XML_SetProcessingInstructionHandler(m_parser, OnProcessingInstruction);
    XML_SetStartDoctypeDeclHandler(m_parser, OnStartDoctype);
    XML_SetParamEntityParsing(m_parser, XML_PARAM_ENTITY_PARSING_NEVER);
    return m_parser;
}

bool XmlParser::Parse(const char* data, std::size_t size)
{
    const bool utf8 = m_encoding == nullptr || std::strcmp(m_encoding, "UTF-8") == 0;
    m_builder.ExpectBytes(size);
    if (!m_failed && m_parser == nullptr && utf8)
    {
        if (XmlScanner(m_builder, m_encoding != nullptr).Scan(std::string_view(data, size)))
            return true;
        // Whatever the scanner is not sure of, expat reads again from the start.
        m_builder.Discard();
    }
    return Feed(data, size, true);
}

bool XmlParser::Feed(const char* data, std::size_t size, bool isFinal)
{
    if (m_failed)
        return false;
    XML_Parser parser = Expat();
    // expat takes int lengths.
    constexpr std::size_t kChunk = 1 << 20;
    do
    {
        const std::size_t piece = size < kChunk ? size : kChunk;
        const bool last = isFinal && piece == size;
        if (XML_Parse(parser, data, static_cast<int>(piece), last ? 1 : 0) != XML_STATUS_OK)
        {
            if (!m_failed)
                RecordExpatError();
            m_failed = true;
            return false;
        }
        data += piece;
        size -= piece;
    } while (size > 0);
    return true;
}

void XmlParser::Commit() { m_builder.Commit(); }

void XmlParser::RecordExpatError()
{
    const XML_Error code = XML_GetErrorCode(m_parser);
    m_error.code = kErrorBase + static_cast<LONG>(code);
    const char* reason = XML_ErrorString(code);
    qm::ToUtf16(reason ? reason : "unknown error", m_error.reason);
    m_error.line = Clamp(XML_GetCurrentLineNumber(m_parser));
    m_error.column = Clamp(XML_GetCurrentColumnNumber(m_parser) + 1);
    m_error.position = Clamp(static_cast<unsigned long long>(XML_GetCurrentByteIndex(m_parser) < 0
                                                                 ? 0
                                                                 : XML_GetCurrentByteIndex(m_parser)));
}

void XmlParser::Fail(LONG code, const char16_t* reason)
{
    if (m_failed)
        return;
    RecordExpatError();
    m_error.code = code;
    m_error.reason = reason;
    m_failed = true;
    XML_StopParser(m_parser, XML_FALSE);
}

void XmlParser::Refuse(const char16_t* reason)
{
    m_error = XmlParseErrorInfo{kErrorBase + static_cast<LONG>(XML_ERROR_INVALID_TOKEN), reason, 1, 1, 0};
    m_failed = true;
}

bool XmlParser::Name(const char* utf8, XmlString& name)
{
    if (m_builder.Name(utf8, name))
        return true;
    Fail(kErrorName, u"A name holds characters that cannot be written back.");
    return false;
}

XmlString XmlParser::Text(std::string_view utf8)
{
    // expat hands out well-formed UTF-8 only.
    qm::ToUtf16(utf8, m_utf16);
    return m_builder.Store(m_utf16);
}

void XmlParser::FlushText()
{
    if (m_text.empty())
        return;
    // Layout the builder would drop is not converted at all.
    const bool blank = !m_textIsContent && IsBlank(m_text);
    if (!blank || m_builder.KeepsBlankText())
        m_builder.AppendText(Text(m_text), blank);
    m_text.clear();
    m_textIsContent = false;
}

void XmlParser::CharacterData(std::string_view text)
{
    // White space written as a character reference is content, not layout: note it,
    // so that the text is kept even if it is white space alone.
    if (!m_inCdata && !m_textIsContent && IsBlank(text))
    {
        int offset = 0;
        int size = 0;
        const char* input = XML_GetInputContext(m_parser, &offset, &size);
        if (input && offset < size &&
            (input[offset] == '&' || (input[offset] == '\0' && offset + 1 < size && input[offset + 1] == '&')))
            m_textIsContent = true;
    }
    m_text.append(text);
}

void XmlParser::StartElement(const char* name, const char** attributes)
{
    FlushText();
    if (m_builder.AtMaxDepth())
        return Fail(kErrorTooDeep, u"Elements are nested too deeply.");
    XmlString elementName;
    if (!Name(name, elementName))
        return;
    XmlElement* element = m_builder.OpenElement(std::move(elementName));
    std::size_t count = 0;
    while (attributes[2 * count])
        ++count;
    XmlAttributeEntry* entries = m_builder.Attributes(*element, count);
    for (std::size_t i = 0; i < count; ++i)
    {
        if (!Name(attributes[2 * i], entries[i].name))
            return;
        entries[i].value = Text(attributes[2 * i + 1]);
    }
}

void XmlParser::EndElement()
{
    FlushText();
    m_builder.CloseElement();
}

template <class Body>
void XmlParser::Guarded(void* self, Body&& body)
{
    // No exception may cross expat's frames: it becomes a parse error here.
    auto* parser = static_cast<XmlParser*>(self);
    if (parser->m_failed)
        return;
    try
    {
        body(*parser);
    }
    catch (...)
    {
        parser->Fail(kErrorOutOfMemory, u"Not enough memory.");
    }
}

void XmlParser::OnStartElement(void* self, const char* name, const char** attributes)
{
    Guarded(self, [&](XmlParser& parser) { parser.StartElement(name, attributes); });
}

void XmlParser::OnEndElement(void* self, const char*)
{
    Guarded(self, [](XmlParser& parser) { parser.EndElement(); });
}

void XmlParser::OnCharacterData(void* self, const char* text, int length)
{
    Guarded(self, [&](XmlParser& parser) { parser.CharacterData(std::string_view(text, static_cast<std::size_t>(length))); });
}

void XmlParser::OnStartCdata(void* self)
{
    Guarded(self, [](XmlParser& parser) {
        parser.FlushText();
        parser.m_inCdata = true;
    });
}

void XmlParser::OnEndCdata(void* self)
{
    Guarded(self, [](XmlParser& parser) {
        parser.m_builder.AppendCData(parser.Text(parser.m_text));
        parser.m_text.clear();
        parser.m_inCdata = false;
    });
}

void XmlParser::OnComment(void* self, const char* text)
{
    Guarded(self, [&](XmlParser& parser) {
        parser.FlushText();
        parser.m_builder.AppendComment(parser.Text(text));
    });
}

void XmlParser::OnProcessingInstruction(void* self, const char* target, const char* data)
{
    Guarded(self, [&](XmlParser& parser) {
        parser.FlushText();
        XmlString name;
        if (parser.Name(target, name))
            parser.m_builder.AppendProcessingInstruction(std::move(name), parser.Text(data));
    });
}

void XmlParser::OnStartDoctype(void* self, const char*, const char*, const char*, int)
{
    Guarded(self, [](XmlParser& parser) { parser.Fail(kErrorDoctype, u"A document type declaration is not allowed."); });
}
} // namespace qm::xml
