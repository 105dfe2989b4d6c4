// Assembles the nodes of a parse, whichever reader finds them: elements open and close,
// text between markup is kept or dropped as layout, and the finished nodes become the
// document's children only at Commit. Nodes of an abandoned parse are destroyed.
#pragma once

#include "Platform/Xml/XmlNodeCore.h"

#include <string_view>
#include <vector>

namespace qm::xml
{
class XmlElement;
class XmlNameCache;

class XmlTreeBuilder
{
public:
    static constexpr int kMaxDepth = 256;

    XmlTreeBuilder(XmlDocument& document, bool preserveWhiteSpace) noexcept;
    ~XmlTreeBuilder();
    XmlTreeBuilder(const XmlTreeBuilder&) = delete;
    XmlTreeBuilder& operator=(const XmlTreeBuilder&) = delete;

    // The name for UTF-8 text; null when it is not a name that could be written back.
    XmlName Name(std::string_view utf8);
    bool AtMaxDepth() const noexcept { return m_depth == kMaxDepth; }
    // Whether text of white space alone is kept where the builder stands: only inside
    // the root element, and only when the document preserves white space.
    bool KeepsBlankText() const noexcept { return m_preserveWhiteSpace && m_current != nullptr; }

    XmlElement* OpenElement(XmlName name);
    void CloseElement() noexcept;
    // blank: white space alone, none of it written as a reference.
    void AppendText(wstring text, bool blank);
    void AppendCData(wstring text);
    void AppendComment(wstring text);
    void AppendProcessingInstruction(wstring target, wstring data);

    // The document's children become the built nodes.
    void Commit() noexcept;
    // Destroys what was built, for a new start.
    void Discard() noexcept;

private:
    void Append(XmlNodeCore* node);

    XmlDocument& m_document;
    // This thread's names, reached once per parse rather than once per name.
    XmlNameCache& m_names;
    bool m_preserveWhiteSpace;
    XmlNodeCore* m_current = nullptr;
    std::vector<XmlNodeCore*> m_topLevel;
    int m_depth = 0;
};
} // namespace qm::xml
