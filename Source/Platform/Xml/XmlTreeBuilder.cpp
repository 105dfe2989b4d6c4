#include "Platform/Xml/XmlTreeBuilder.h"

#include "Platform/Xml/XmlCharacterData.h"
#include "Platform/Xml/XmlChars.h"
#include "Platform/Xml/XmlDocument.h"
#include "Platform/Xml/XmlElement.h"
#include "Platform/Xml/XmlNameCache.h"

#include "qm/Platform/Text/Utf8Conversion.h"

#include <memory>
#include <utility>

namespace qm::xml
{
namespace
{
thread_local XmlNameCache t_names;
} // namespace

XmlTreeBuilder::XmlTreeBuilder(XmlDocument& document, bool preserveWhiteSpace) noexcept
    : m_document(document), m_names(t_names), m_preserveWhiteSpace(preserveWhiteSpace)
{
}

XmlTreeBuilder::~XmlTreeBuilder() { Discard(); }

XmlName XmlTreeBuilder::Name(std::string_view utf8)
{
    const std::uint32_t hash = XmlNameCache::Hash(utf8);
    if (XmlName known = m_names.Find(utf8, hash))
        return known;
    wstring text;
    qm::ToUtf16(utf8, text);
    // A name read from UTF-16 or Latin-1 may hold characters that the same name in a
    // UTF-8 document may not: such a document could never be saved and read back.
    if (!IsValidName(text))
        return nullptr;
    XmlName name = std::make_shared<const wstring>(std::move(text));
    m_names.Add(utf8, hash, name);
    return name;
}

void XmlTreeBuilder::Append(XmlNodeCore* node)
{
    if (m_current)
    {
        m_current->InsertChild(node, nullptr);
        return;
    }
    try
    {
        m_topLevel.push_back(node);
    }
    catch (...)
    {
        DestroySubtree(node);
        throw;
    }
}

XmlElement* XmlTreeBuilder::OpenElement(XmlName name)
{
    XmlElement* element = XmlElement::Create(&m_document, std::move(name));
    Append(element);
    m_current = element;
    ++m_depth;
    return element;
}

void XmlTreeBuilder::CloseElement() noexcept
{
    m_current = m_current->Parent();
    --m_depth;
}

void XmlTreeBuilder::AppendText(wstring text, bool blank)
{
    // Text between elements that is only white space is layout, not content; outside
    // the root element there is no other text.
    if (text.empty() || (blank && !KeepsBlankText()))
        return;
    Append(XmlText::Create(&m_document, NODE_TEXT, std::move(text)));
}

void XmlTreeBuilder::AppendCData(wstring text)
{
    Append(XmlText::Create(&m_document, NODE_CDATA_SECTION, std::move(text)));
}

void XmlTreeBuilder::AppendComment(wstring text) { Append(XmlComment::Create(&m_document, std::move(text))); }

void XmlTreeBuilder::AppendProcessingInstruction(wstring target, wstring data)
{
    Append(XmlProcessingInstruction::Create(&m_document, std::move(target), std::move(data)));
}

void XmlTreeBuilder::Commit() noexcept
{
    m_document.RemoveAllChildren();
    for (XmlNodeCore* node : m_topLevel)
        m_document.InsertChild(node, nullptr);
    m_topLevel.clear();
    m_current = nullptr;
    m_depth = 0;
}

void XmlTreeBuilder::Discard() noexcept
{
    for (XmlNodeCore* node : m_topLevel)
        DestroySubtree(node);
    m_topLevel.clear();
    m_current = nullptr;
    m_depth = 0;
}
} // namespace qm::xml
