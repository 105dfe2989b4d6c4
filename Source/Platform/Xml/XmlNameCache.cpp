#include "Platform/Xml/XmlNameCache.h"

#include <utility>

namespace qm::xml
{
XmlNameCache::Entry* XmlNameCache::Add(std::string_view utf8, std::uint32_t hash, wstring_view text)
{
    if (m_count >= kMaxNames || utf8.empty())
        return nullptr;
    // At most half full, so that probes stay short and always end at an empty slot.
    if (2 * (m_count + 1) > m_slots.size())
        Grow();
    Slot* slot = Insert(Slot{hash, std::string(utf8), Entry{wstring(text)}});
    if (slot == nullptr)
        return nullptr;
    ++m_count;
    return &slot->entry;
}

XmlNameCache::Slot* XmlNameCache::Insert(Slot slot) noexcept
{
    std::size_t i = slot.hash & (m_slots.size() - 1);
    for (std::size_t probe = 0; probe < kMaxProbe; ++probe, i = (i + 1) & (m_slots.size() - 1))
        if (m_slots[i].key.empty())
        {
            m_slots[i] = std::move(slot);
            return &m_slots[i];
        }
    // Names crafted to collide are simply not remembered.
    return nullptr;
}

void XmlNameCache::Grow()
{
    std::vector<Slot> old(m_slots.empty() ? 64 : 2 * m_slots.size());
    old.swap(m_slots);
    m_count = 0;
    for (Slot& slot : old)
        if (!slot.key.empty() && Insert(std::move(slot)))
            ++m_count;
}
} // namespace qm::xml
