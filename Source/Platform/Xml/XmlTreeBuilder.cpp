#include "Platform/Xml/XmlTreeBuilder.h"

#include "Platform/Xml/XmlCharacterData.h"
#include "Platform/Xml/XmlChars.h"
#include "Platform/Xml/XmlDocument.h"
#include "Platform/Xml/XmlElement.h"

#include "qm/Platform/Text/Utf8Conversion.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace qm::xml
{
namespace
{
thread_local XmlNameCache t_names;
thread_local std::uint64_t t_arenaStamps = 0;
} // namespace

XmlTreeBuilder::XmlTreeBuilder(XmlDocument& document, bool preserveWhiteSpace) noexcept
    : m_document(document), m_names(t_names), m_preserveWhiteSpace(preserveWhiteSpace)
{
}

XmlTreeBuilder::~XmlTreeBuilder() { Discard(); }

XmlArena& XmlTreeBuilder::NewArena()
{
    m_arena = XmlArena::Create(m_expectedBytes);
    m_arenaStamp = ++t_arenaStamps;
    return *m_arena;
}

void XmlTreeBuilder::ReleaseArena() noexcept
{
    if (m_arena)
        m_arena->Release(1);
    m_arena = nullptr;
    m_arenaStamp = kNoArena;
}

bool XmlTreeBuilder::NewName(std::string_view utf8, std::uint32_t hash, XmlNameCache::Entry* entry,
                             XmlString& name)
{
    if (entry == nullptr)
    {
        wstring text;
        qm::ToUtf16(utf8, text);
        // A name read from UTF-16 or Latin-1 may hold characters that the same name in a
        // UTF-8 document may not: such a document could never be saved and read back.
        if (!IsValidName(text))
            return false;
        entry = m_names.Add(utf8, hash, text);
        if (entry == nullptr)
        {
            name = Store(text);
            return true;
        }
    }
    // Each arena holds one copy of each name it uses.
    Arena();
    if (entry->stamp != m_arenaStamp)
    {
        entry->copy = Store(entry->text).data();
        entry->stamp = m_arenaStamp;
    }
    name = XmlString::Borrow(wstring_view(entry->copy, entry->text.size()));
    return true;
}

XmlString XmlTreeBuilder::Store(wstring_view text)
{
    char16_t* copy = Room(text.size());
    std::copy(text.begin(), text.end(), copy);
    return XmlString::Borrow(wstring_view(copy, text.size()));
}

void XmlTreeBuilder::CountMade() noexcept
{
    if (m_made == 0)
        return;
    m_arena->Hold(m_made);
    XmlNodeCore::CountMade(m_made);
    m_made = 0;
}

void XmlTreeBuilder::AppendTopLevel(XmlNodeCore* node)
{
    try
    {
        m_topLevel.push_back(node);
    }
    catch (...)
    {
        CountMade();
        DestroySubtree(node);
        throw;
    }
}

XmlElement* XmlTreeBuilder::OpenElement(XmlString name)
{
    XmlElement* element = XmlElement::Create(&m_document, std::move(name), &Arena());
    Append(element);
    m_current = element;
    ++m_depth;
    return element;
}

XmlAttributeEntry* XmlTreeBuilder::Attributes(XmlElement& element, std::size_t count)
{
    if (count == 0)
        return nullptr;
    auto* entries = static_cast<XmlAttributeEntry*>(
        Arena().Allocate(count * sizeof(XmlAttributeEntry), alignof(XmlAttributeEntry)));
    std::uninitialized_default_construct_n(entries, count);
    element.BorrowAttributes(entries, count);
    return entries;
}

void XmlTreeBuilder::AppendText(XmlString text, bool blank)
{
    // Text between elements that is only white space is layout, not content; outside
    // the root element there is no other text.
    if (text.empty() || (blank && !KeepsBlankText()))
        return;
    Append(XmlText::Create(&m_document, NODE_TEXT, std::move(text), &Arena()));
}

void XmlTreeBuilder::AppendCData(XmlString text)
{
    Append(XmlText::Create(&m_document, NODE_CDATA_SECTION, std::move(text), &Arena()));
}

void XmlTreeBuilder::AppendComment(XmlString text)
{
    Append(XmlComment::Create(&m_document, std::move(text), &Arena()));
}

void XmlTreeBuilder::AppendProcessingInstruction(XmlString target, XmlString data)
{
    Append(XmlProcessingInstruction::Create(&m_document, std::move(target), std::move(data), &Arena()));
}

void XmlTreeBuilder::Commit() noexcept
{
    CountMade();
    m_document.RemoveAllChildren();
    for (XmlNodeCore* node : m_topLevel)
        m_document.InsertChild(node, nullptr);
    m_topLevel.clear();
    m_current = nullptr;
    m_depth = 0;
    ReleaseArena();
}

void XmlTreeBuilder::Discard() noexcept
{
    CountMade();
    for (XmlNodeCore* node : m_topLevel)
        DestroySubtree(node);
    m_topLevel.clear();
    m_current = nullptr;
    m_depth = 0;
    ReleaseArena();
}
} // namespace qm::xml
