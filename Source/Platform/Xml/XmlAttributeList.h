// The attributes of an element, in document order. The list a parse reads lies in the
// parse's arena (see XmlArena) and is only pointed at; it is edited in place, and moves
// to an array of the list's own the first time it must grow.
#pragma once

#include "Platform/Xml/XmlString.h"

#include <cstdint>

namespace qm::xml
{
class XmlAttribute;

struct XmlAttributeEntry
{
    XmlString name;
    // The value while no attribute node exists; then the node holds it.
    XmlString value;
    XmlAttribute* node = nullptr;

    const XmlString& Value() const noexcept;
};

class XmlAttributeList
{
public:
    using Entry = XmlAttributeEntry;

    XmlAttributeList() noexcept = default;
    ~XmlAttributeList();
    XmlAttributeList(const XmlAttributeList&) = delete;
    XmlAttributeList& operator=(const XmlAttributeList&) = delete;

    Entry* begin() noexcept { return m_entries; }
    Entry* end() noexcept { return m_entries + m_size; }
    const Entry* begin() const noexcept { return m_entries; }
    const Entry* end() const noexcept { return m_entries + m_size; }
    std::size_t size() const noexcept { return m_size; }
    Entry& operator[](std::size_t index) noexcept { return m_entries[index]; }

    // Points the empty list at entries that live as long as its element.
    void Borrow(Entry* entries, std::size_t count) noexcept;
    void Reserve(std::size_t count);
    void Append(Entry entry);
    void Erase(Entry* entry) noexcept;
    void Clear() noexcept;

private:
    void MoveTo(std::size_t capacity);

    Entry* m_entries = nullptr;
    std::uint32_t m_size = 0;
    // Zero while the entries are borrowed.
    std::uint32_t m_capacity = 0;
};
} // namespace qm::xml
