#include "Platform/Xml/XmlNameCache.h"

#include <cstring>
#include <utility>

namespace qm::xml
{
std::uint32_t XmlNameCache::Hash(std::string_view utf8) noexcept
{
    constexpr std::uint64_t kMultiplier = 0xFF51AFD7ED558CCDull;
    std::uint64_t hash = utf8.size() * 0x9E3779B97F4A7C15ull;
    std::size_t i = 0;
    for (; i + 8 <= utf8.size(); i += 8)
    {
        std::uint64_t word = 0;
        std::memcpy(&word, utf8.data() + i, 8);
        hash = (hash ^ word) * kMultiplier;
    }
    if (i < utf8.size())
    {
        std::uint64_t word = 0;
        for (std::size_t shift = 0; i < utf8.size(); ++i, shift += 8)
            word |= static_cast<std::uint64_t>(static_cast<unsigned char>(utf8[i])) << shift;
        hash = (hash ^ word) * kMultiplier;
    }
    return static_cast<std::uint32_t>(hash ^ (hash >> 32));
}

namespace
{
// Names are short: a loop beats a call to memcmp.
bool Equal(std::string_view a, std::string_view b) noexcept
{
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (a[i] != b[i])
            return false;
    return true;
}
} // namespace

XmlNameCache::Entry* XmlNameCache::Find(std::string_view utf8, std::uint32_t hash) noexcept
{
    if (m_slots.empty())
        return nullptr;
    std::size_t i = hash & (m_slots.size() - 1);
    for (std::size_t probe = 0; probe < kMaxProbe; ++probe, i = (i + 1) & (m_slots.size() - 1))
    {
        Slot& slot = m_slots[i];
        if (slot.key.empty())
            return nullptr;
        if (slot.hash == hash && Equal(slot.key, utf8))
            return &slot.entry;
    }
    return nullptr;
}

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
