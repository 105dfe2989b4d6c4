// Assembles the nodes of a parse, whichever reader finds them: elements open and close,
// text between markup is kept or dropped as layout, and the finished nodes become the
// document's children only at Commit. Nodes of an abandoned parse are destroyed.
//
// The nodes, their texts and their names go into one arena per parse (see XmlArena).
// The builder counts the nodes it makes and hands the count on before any of them can
// be destroyed.
#pragma once

#include "Platform/Xml/XmlAttributeList.h"
#include "Platform/Xml/XmlNameCache.h"
#include "Platform/Xml/XmlNodeCore.h"

#include <cstdint>
#include <limits>
#include <new>
#include <string_view>
#include <vector>

namespace qm::xml
{
class XmlElement;

class XmlTreeBuilder
{
public:
    static constexpr int kMaxDepth = 256;

    XmlTreeBuilder(XmlDocument& document, bool preserveWhiteSpace) noexcept;
    ~XmlTreeBuilder();
    XmlTreeBuilder(const XmlTreeBuilder&) = delete;
    XmlTreeBuilder& operator=(const XmlTreeBuilder&) = delete;

    // The bytes of the document, when known, to size the arena.
    void ExpectBytes(std::size_t size) noexcept { m_expectedBytes = size; }

    // The name for UTF-8 text; false when it is not a name that could be written back.
    bool Name(std::string_view utf8, XmlString& name)
    {
        const std::uint32_t hash = XmlNameCache::Hash(utf8);
        XmlNameCache::Entry* entry = m_names.Find(utf8, hash);
        if (entry == nullptr || entry->stamp != m_arenaStamp)
            return NewName(utf8, hash, entry, name);
        name = XmlString::Borrow(wstring_view(entry->copy, entry->text.size()));
        return true;
    }
    // A copy of text in the arena.
    XmlString Store(wstring_view text);
    // Room in the arena for text of up to `units`, then the part of it that was used
    // (Keep must follow Room before anything else is stored).
    char16_t* Room(std::size_t units)
    {
        // No text of a node reaches 2^32 units.
        if (units > std::numeric_limits<std::uint32_t>::max())
            throw std::bad_alloc();
        return Arena().AllocateText(units);
    }
    XmlString Keep(const char16_t* room, std::size_t used) noexcept
    {
        m_arena->Shrink(room, used * sizeof(char16_t));
        return XmlString::Borrow(wstring_view(room, used));
    }

    bool AtMaxDepth() const noexcept { return m_depth == kMaxDepth; }
    // Whether text of white space alone is kept where the builder stands: only inside
    // the root element, and only when the document preserves white space.
    bool KeepsBlankText() const noexcept { return m_preserveWhiteSpace && m_current != nullptr; }

    XmlElement* OpenElement(XmlString name);
    // Empty attributes for the element just opened, to be filled in place.
    XmlAttributeEntry* Attributes(XmlElement& element, std::size_t count);
    void CloseElement() noexcept
    {
        m_current = m_current->Parent();
        --m_depth;
    }
    // blank: white space alone, none of it written as a reference.
    void AppendText(XmlString text, bool blank);
    void AppendCData(XmlString text);
    void AppendComment(XmlString text);
    void AppendProcessingInstruction(XmlString target, XmlString data);

    // The document's children become the built nodes.
    void Commit() noexcept;
    // Destroys what was built, for a new start.
    void Discard() noexcept;

private:
    static constexpr std::uint64_t kNoArena = ~std::uint64_t{0};

    // A name not yet in this thread's cache (entry null), or not yet copied into this arena.
    bool NewName(std::string_view utf8, std::uint32_t hash, XmlNameCache::Entry* entry, XmlString& name);
    XmlArena& Arena() { return m_arena ? *m_arena : NewArena(); }
    XmlArena& NewArena();
    void Append(XmlNodeCore* node)
    {
        ++m_made;
        if (m_current)
            m_current->AppendNew(node);
        else
            AppendTopLevel(node);
    }
    void AppendTopLevel(XmlNodeCore* node);
    // Hands the count of the nodes made so far to the arena and the census.
    void CountMade() noexcept;
    void ReleaseArena() noexcept;

    XmlDocument& m_document;
    // This thread's names, reached once per parse rather than once per name.
    XmlNameCache& m_names;
    bool m_preserveWhiteSpace;
    std::size_t m_expectedBytes = 0;
    XmlArena* m_arena = nullptr;
    // Names copied into this arena are marked with it (see XmlNameCache).
    std::uint64_t m_arenaStamp = kNoArena;
    long m_made = 0;
    XmlNodeCore* m_current = nullptr;
    std::vector<XmlNodeCore*> m_topLevel;
    int m_depth = 0;
};
} // namespace qm::xml
