#include "Platform/Xml/XmlParser.h"

#include "Platform/Xml/XmlCharacterData.h"
#include "Platform/Xml/XmlChars.h"
#include "Platform/Xml/XmlDocument.h"
#include "Platform/Xml/XmlElement.h"

#include "qm/Platform/Text/Utf8Conversion.h"

#include <expat.h>

#include <limits>
#include <new>
#include <cstring>
#include <vector>
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

bool IsXmlSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

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
    : m_parser(AcquireParser(encoding)), m_document(document), m_preserveWhiteSpace(preserveWhiteSpace)
{
    XML_SetUserData(m_parser, this);
    XML_SetElementHandler(m_parser, OnStartElement, OnEndElement);
    XML_SetCharacterDataHandler(m_parser, OnCharacterData);
    XML_SetCdataSectionHandler(m_parser, OnStartCdata, OnEndCdata);
    XML_SetCommentHandler(m_parser, OnComment);
    XML_SetProcessingInstructionHandler(m_parser, OnProcessingInstruction);
    XML_SetStartDoctypeDeclHandler(m_parser, OnStartDoctype);
    XML_SetParamEntityParsing(m_parser, XML_PARAM_ENTITY_PARSING_NEVER);
}

XmlParser::~XmlParser()
{
    for (XmlNodeCore* node : m_topLevel)
        DestroySubtree(node);
    ReleaseParser(m_parser);
}

bool XmlParser::Feed(const char* data, std::size_t size, bool isFinal)
{
    if (m_failed)
        return false;
    // expat takes int lengths.
    constexpr std::size_t kChunk = 1 << 20;
    do
    {
        const std::size_t piece = size < kChunk ? size : kChunk;
        const bool last = isFinal && piece == size;
        if (XML_Parse(m_parser, data, static_cast<int>(piece), last ? 1 : 0) != XML_STATUS_OK)
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

void XmlParser::Commit()
{
    m_document.RemoveAllChildren();
    for (XmlNodeCore* node : m_topLevel)
        m_document.InsertChild(node, nullptr);
    m_topLevel.clear();
}

void XmlParser::RecordExpatError()
{
    const XML_Error code = XML_GetErrorCode(m_parser);
    m_error.code = kErrorBase + static_cast<LONG>(code);
    const char* reason = XML_ErrorString(code);
    m_error.reason = Text(reason ? reason : "unknown error");
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

namespace
{
// Names seen by the parses of this thread, by their UTF-8 text: sidecars use the same
// few names again and again, and a lookup is on the path of every element and attribute.
// An open-addressed table, hashed in the same pass that finds the name's end. It stops
// growing at a bound, so that documents full of made-up names cannot fill memory; their
// names are then made for each parse.
class NameCache
{
public:
    static constexpr std::size_t kMaxNames = 4096;

    // The name, or null; size and hash of the text come back for Add.
    XmlName Find(const char* utf8, std::size_t& size, std::uint32_t& hash) const
    {
        hash = 2166136261u;
        const char* end = utf8;
        for (; *end; ++end)
            hash = (hash ^ static_cast<unsigned char>(*end)) * 16777619u;
        size = static_cast<std::size_t>(end - utf8);
        if (m_slots.empty())
            return nullptr;
        for (std::size_t i = hash & (m_slots.size() - 1);; i = (i + 1) & (m_slots.size() - 1))
        {
            const Slot& slot = m_slots[i];
            if (!slot.name)
                return nullptr;
            if (slot.hash == hash && slot.key.size() == size && std::memcmp(slot.key.data(), utf8, size) == 0)
                return slot.name;
        }
    }

    void Add(const char* utf8, std::size_t size, std::uint32_t hash, const XmlName& name)
    {
        if (m_count >= kMaxNames)
            return;
        // At most half full, so that probes stay short and always end at an empty slot.
        if (2 * (m_count + 1) > m_slots.size())
            Grow();
        Insert(Slot{hash, std::string(utf8, size), name});
        ++m_count;
    }

private:
    struct Slot
    {
        std::uint32_t hash = 0;
        std::string key;
        XmlName name;
    };

    void Insert(Slot slot)
    {
        std::size_t i = slot.hash & (m_slots.size() - 1);
        while (m_slots[i].name)
            i = (i + 1) & (m_slots.size() - 1);
        m_slots[i] = std::move(slot);
    }

    void Grow()
    {
        std::vector<Slot> old(m_slots.empty() ? 64 : 2 * m_slots.size());
        old.swap(m_slots);
        for (Slot& slot : old)
            if (slot.name)
                Insert(std::move(slot));
    }

    std::vector<Slot> m_slots;
    std::size_t m_count = 0;
};

thread_local NameCache t_names;
} // namespace

XmlName XmlParser::Name(const char* utf8)
{
    std::size_t size = 0;
    std::uint32_t hash = 0;
    if (XmlName known = t_names.Find(utf8, size, hash))
        return known;
    XmlName name = std::make_shared<const wstring>(Text(utf8));
    // A name read from UTF-16 or Latin-1 may hold characters that the same name in a
    // UTF-8 document may not: such a document could never be saved and read back.
    if (!IsValidName(*name))
    {
        Fail(kErrorName, u"A name holds characters that cannot be written back.");
        return nullptr;
    }
    t_names.Add(utf8, size, hash, name);
    return name;
}

wstring XmlParser::Text(std::string_view utf8)
{
    // expat hands out well-formed UTF-8 only.
    wstring text;
    qm::ToUtf16(utf8, text);
    return text;
}

void XmlParser::Append(XmlNodeCore* node)
{
    if (m_current)
        m_current->InsertChild(node, nullptr);
    else
        m_topLevel.push_back(node);
}

void XmlParser::FlushText()
{
    if (m_text.empty())
        return;
    // Text between elements that is only white space is layout, not content; outside
    // the root element there is no other text.
    const bool layout = !m_textIsContent && IsBlank(m_text) && (!m_preserveWhiteSpace || m_current == nullptr);
    if (!layout)
        Append(XmlText::Create(&m_document, NODE_TEXT, Text(m_text)));
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
    if (m_depth == kMaxDepth)
        return Fail(kErrorTooDeep, u"Elements are nested too deeply.");
    XmlName elementName = Name(name);
    if (!elementName)
        return;
    XmlElement* element = XmlElement::Create(&m_document, std::move(elementName));
    Append(element);
    m_current = element;
    ++m_depth;
    std::size_t count = 0;
    while (attributes[2 * count])
        ++count;
    element->ReserveAttributes(count);
    for (const char** attribute = attributes; *attribute; attribute += 2)
    {
        XmlName attributeName = Name(attribute[0]);
        if (!attributeName)
            return;
        element->AppendAttribute(std::move(attributeName), Text(attribute[1]));
    }
}

void XmlParser::EndElement()
{
    FlushText();
    m_current = m_current->Parent();
    --m_depth;
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
        parser.Append(XmlText::Create(&parser.m_document, NODE_CDATA_SECTION, parser.Text(parser.m_text)));
        parser.m_text.clear();
        parser.m_inCdata = false;
    });
}

void XmlParser::OnComment(void* self, const char* text)
{
    Guarded(self, [&](XmlParser& parser) {
        parser.FlushText();
        parser.Append(XmlComment::Create(&parser.m_document, parser.Text(text)));
    });
}

void XmlParser::OnProcessingInstruction(void* self, const char* target, const char* data)
{
    Guarded(self, [&](XmlParser& parser) {
        parser.FlushText();
        wstring name = parser.Text(target);
        if (!IsValidName(name))
            return parser.Fail(kErrorName, u"A name holds characters that cannot be written back.");
        parser.Append(XmlProcessingInstruction::Create(&parser.m_document, std::move(name), parser.Text(data)));
    });
}

void XmlParser::OnStartDoctype(void* self, const char*, const char*, const char*, int)
{
    Guarded(self, [](XmlParser& parser) { parser.Fail(kErrorDoctype, u"A document type declaration is not allowed."); });
}
} // namespace qm::xml
