#include "Platform/Xml/XmlAttributeList.h"

#include "Platform/Xml/XmlAttribute.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <new>
#include <stdexcept>
#include <utility>

namespace qm::xml
{
const XmlString& XmlAttributeEntry::Value() const noexcept { return node ? node->Value() : value; }

XmlAttributeList::~XmlAttributeList()
{
    Clear();
    if (m_capacity > 0)
        ::operator delete(m_entries);
}

void XmlAttributeList::Borrow(Entry* entries, std::size_t count) noexcept
{
    m_entries = entries;
    m_size = static_cast<std::uint32_t>(count);
}

void XmlAttributeList::Reserve(std::size_t count)
{
    if (count > m_capacity && count > m_size)
        MoveTo(count);
}

void XmlAttributeList::Append(Entry entry)
{
    if (m_size == m_capacity || m_capacity == 0)
        MoveTo(std::max<std::size_t>(4, 2 * std::size_t{m_size}));
    new (m_entries + m_size) Entry(std::move(entry));
    ++m_size;
}

void XmlAttributeList::Erase(Entry* entry) noexcept
{
    std::move(entry + 1, end(), entry);
    --m_size;
    std::destroy_at(m_entries + m_size);
}

void XmlAttributeList::Clear() noexcept
{
    std::destroy_n(m_entries, m_size);
    m_size = 0;
}

void XmlAttributeList::MoveTo(std::size_t capacity)
{
    if (capacity > std::numeric_limits<std::uint32_t>::max())
        throw std::length_error("too many attributes");
    auto* entries = static_cast<Entry*>(::operator new(capacity * sizeof(Entry)));
    std::uninitialized_move_n(m_entries, m_size, entries);
    std::destroy_n(m_entries, m_size);
    if (m_capacity > 0)
        ::operator delete(m_entries);
    m_entries = entries;
    m_capacity = static_cast<std::uint32_t>(capacity);
}
} // namespace qm::xml
