// Builds DOM nodes from XML bytes. The document is refused when it has a DTD (no entity
// is ever expanded, nothing external is read) or nests elements deeper than kMaxDepth,
// and nothing here recurses, so no input can exhaust the stack. Whole documents in UTF-8
// are read by XmlScanner when it can; expat reads everything else and has the last
// word on every error.
#pragma once

#include "Platform/Xml/XmlTreeBuilder.h"

#include <string>

struct XML_ParserStruct;

namespace qm::xml
{
struct XmlParseErrorInfo
{
    LONG code = 0;
    wstring reason;
    LONG line = 0;
    LONG column = 0;
    LONG position = 0;
};

class XmlParser
{
public:
    static constexpr int kMaxDepth = XmlTreeBuilder::kMaxDepth;

    // encoding: null to detect it (byte order mark, declaration, else UTF-8), or a
    // name that overrides the declaration ("UTF-8" for text converted beforehand).
    XmlParser(XmlDocument& document, bool preserveWhiteSpace, const char* encoding);
    ~XmlParser();
    XmlParser(const XmlParser&) = delete;
    XmlParser& operator=(const XmlParser&) = delete;

    // Parses a whole document; false when it is malformed.
    bool Parse(const char* data, std::size_t size);
    // Parses the next bytes with expat; false once the input is known to be malformed.
    bool Feed(const char* data, std::size_t size, bool isFinal);
    // After a successful final Feed: the document's children become the parsed nodes.
    void Commit();
    const XmlParseErrorInfo& Error() const noexcept { return m_error; }
    // Refuses input that cannot be handed to the parser at all.
    void Refuse(const char16_t* reason);

private:
    static void OnStartElement(void* self, const char* name, const char** attributes);
    static void OnEndElement(void* self, const char* name);
    static void OnCharacterData(void* self, const char* text, int length);
    static void OnStartCdata(void* self);
    static void OnEndCdata(void* self);
    static void OnComment(void* self, const char* text);
    static void OnProcessingInstruction(void* self, const char* target, const char* data);
    static void OnStartDoctype(void* self, const char* name, const char* systemId, const char* publicId,
                               int hasInternalSubset);

    template <class Body>
    static void Guarded(void* self, Body&& body);
    void CharacterData(std::string_view text);
    void StartElement(const char* name, const char** attributes);
    void EndElement();
    void FlushText();
    // Fails the parse when the name could not be written back.
    bool Name(const char* utf8, XmlString& name);
    // UTF-8 from expat as text in the arena.
    XmlString Text(std::string_view utf8);
    XML_ParserStruct* Expat();
    // Stops the parse with an error of this parser's own.
    void Fail(LONG code, const char16_t* reason);
    void RecordExpatError();

    XML_ParserStruct* m_parser = nullptr;
    const char* m_encoding;
    XmlTreeBuilder m_builder;
    std::string m_text;
    wstring m_utf16;
    bool m_inCdata = false;
    bool m_textIsContent = false;
    XmlParseErrorInfo m_error;
    bool m_failed = false;
};
} // namespace qm::xml
