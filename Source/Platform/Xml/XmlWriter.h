// Writes a node and its subtree as XML text: no declaration, no indentation, and every
// character escaped that would not read back as it stands.
#pragma once

#include "Platform/Xml/XmlNodeCore.h"

#include <string>

namespace qm::xml
{
class XmlWriter
{
public:
    // UTF-8 text of the node (a document: of its children), appended to out.
    static void AppendUtf8(const XmlNodeCore& node, std::string& out);
    static std::string ToUtf8(const XmlNodeCore& node);
    static wstring ToUtf16(const XmlNodeCore& node);

private:
    explicit XmlWriter(std::string& out) noexcept : m_out(out) {}

    void Open(const XmlNodeCore& node);
    void Close(const XmlNodeCore& node);
    void Character(char32_t c);
    // Escapes text; inAttribute adds '"', TAB and LF to what is escaped.
    void Escaped(wstring_view text, bool inAttribute);
    void Raw(wstring_view text);
    // Copies the ASCII characters from text[i] on that need no escape, advancing i.
    void AsciiRun(wstring_view text, std::size_t& i, bool inAttribute);
    // Every character as a numeric reference (white space only).
    void References(wstring_view text);
    void CData(wstring_view text);
    void Literal(const char* text) { m_out += text; }

    std::string& m_out;
};
} // namespace qm::xml
