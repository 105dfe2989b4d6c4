// A fast reader for the documents a library is made of: whole, well-formed UTF-8 with
// ASCII names. It builds the same nodes as the expat route, in one pass over the bytes.
// Anything it is not sure of (a DTD, another encoding, a name beyond ASCII, an entity
// it does not know, any error at all) makes it give up, and expat reads the document
// from the start; so expat alone decides what is malformed and how that is reported.
#pragma once

#include "Platform/Xml/XmlBytes.h"
#include "Platform/Xml/XmlTreeBuilder.h"

#include <array>
#include <string_view>

namespace qm::xml
{
class XmlScanner
{
public:
    // Attributes beyond this many on one element go to expat, whose duplicate check is
    // hashed; ours compares each name with those before it.
    static constexpr std::size_t kMaxAttributes = 32;

    // encodingFixed: the caller has made the text UTF-8, whatever its declaration says.
    XmlScanner(XmlTreeBuilder& builder, bool encodingFixed) noexcept;

    // True when the whole document was read into the builder; false when it must be
    // left to expat (the builder then holds a part to discard).
    bool Scan(std::string_view input);

private:
    // How a run of characters is read.
    enum class Run
    {
        Content,   // references, line ends made LF, no "]]>"
        Attribute, // references, white space made a space, no "<"
        Literal,   // comment, CDATA and processing-instruction data: line ends made LF
    };

    bool Declaration();
    bool Misc();
    bool Content();
    bool StartTag();
    bool Attributes(XmlElement& element);
    bool EndTag();
    bool Markup();
    bool Comment();
    bool CData();
    bool ProcessingInstruction();
    bool Text(const char* end);
    // Literal text up to the terminator, which is passed over.
    bool Until(std::string_view terminator, XmlString& text);

    inline bool Name(std::string_view& name) noexcept;
    inline bool SkipSpace() noexcept;
    bool At(std::string_view literal) const noexcept
    {
        return static_cast<std::size_t>(m_end - m_p) >= literal.size() &&
               SameBytes(m_p, literal.data(), literal.size());
    }
    bool Skip(std::string_view literal) noexcept
    {
        if (!At(literal))
            return false;
        m_p += literal.size();
        return true;
    }
    bool Skip(char c) noexcept
    {
        if (m_p == m_end || *m_p != c)
            return false;
        ++m_p;
        return true;
    }
    inline bool Quoted(std::string_view& value) noexcept;
    bool Decode(const char* begin, const char* end, Run run, XmlString& out) const;

    XmlTreeBuilder& m_builder;
    bool m_encodingFixed;
    const char* m_p = nullptr;
    const char* m_end = nullptr;
    // A run of the input. The tables below are filled as the scan goes, not beforehand.
    struct Span
    {
        const char* data;
        std::size_t size;

        std::string_view View() const noexcept { return {data, size}; }
    };
    // The names of the open elements, as written, to match their end tags.
    std::array<Span, XmlTreeBuilder::kMaxDepth> m_open;
    std::size_t m_openCount = 0;
    // The attributes of the start tag being read, as written.
    struct Attribute
    {
        Span name;
        Span value;
    };
    std::array<Attribute, kMaxAttributes> m_attributes;
};
} // namespace qm::xml
