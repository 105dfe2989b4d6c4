#include "qm/Library/KeywordValues.h"

#include "qm/Platform/Text/CaseFolding.h"

#include <bit>
#include <new>
#include <optional>

namespace Quillmar::Library::Native
{
namespace
{
constexpr std::size_t LowBit(std::size_t i) noexcept { return i & (~i + 1); }
} // namespace

std::size_t KeywordValues::CountBefore(std::size_t slots) const noexcept
{
    std::size_t count = 0;
    for (std::size_t i = slots; i > 0; i -= LowBit(i))
        count += m_tree[i - 1];
    return count;
}

const wstring* KeywordValues::At(std::size_t index) const noexcept
{
    if (index >= m_count)
        return nullptr;
    if (m_count == m_slots.size())
        return &m_slots[index].text;
    // The slot before which index + 1 values lie: descend the tree from its top.
    std::size_t slot = 0;
    std::size_t remaining = index + 1;
    for (std::size_t step = std::bit_floor(m_tree.size()); step > 0; step >>= 1)
    {
        if (slot + step <= m_tree.size() && m_tree[slot + step - 1] < remaining)
        {
            slot += step;
            remaining -= m_tree[slot - 1];
        }
    }
    return &m_slots[slot].text;
}

std::optional<std::size_t> KeywordValues::FindSlot(wstring_view value) const
{
    if (!m_slotOfValue.empty())
    {
        const auto it = m_slotOfValue.find(qm::FoldCase(value));
        return it == m_slotOfValue.end() ? std::nullopt : std::optional<std::size_t>(it->second);
    }
    for (std::size_t slot = 0; slot < m_slots.size(); ++slot)
        if (m_slots[slot].live && qm::EqualsNoCase(m_slots[slot].text, value))
            return slot;
    return std::nullopt;
}

void KeywordValues::BuildIndex()
{
    try
    {
        for (std::size_t slot = 0; slot < m_slots.size(); ++slot)
            if (m_slots[slot].live)
                m_slotOfValue.emplace(qm::FoldCase(m_slots[slot].text), slot);
    }
    catch (const std::bad_alloc&)
    {
        m_slotOfValue.clear(); // the walk serves until a later value finds the memory
    }
}

bool KeywordValues::Holds(wstring_view value) const { return FindSlot(value).has_value(); }

void KeywordValues::Kill(std::size_t slot) noexcept
{
    m_slots[slot].live = false;
    m_slots[slot].text.clear();
    for (std::size_t i = slot + 1; i <= m_tree.size(); i += LowBit(i))
        --m_tree[i - 1];
    --m_count;
}

void KeywordValues::Append(wstring_view value)
{
    const std::size_t slot = m_slots.size();
    const std::size_t i = slot + 1;
    const std::size_t node = 1 + CountBefore(slot) - CountBefore(i - LowBit(i));
    const std::optional<std::size_t> old = FindSlot(value);
    m_slots.push_back({wstring(value), true});
    try
    {
        m_tree.push_back(node);
        if (!m_slotOfValue.empty())
            m_slotOfValue.insert_or_assign(qm::FoldCase(value), slot);
    }
    catch (...)
    {
        m_slots.pop_back();
        m_tree.resize(m_slots.size());
        throw;
    }
    ++m_count;
    if (old)
        Kill(*old);
    if (m_slotOfValue.empty() && m_count >= kIndexFrom)
        BuildIndex();
    CompactIfSparse();
}

bool KeywordValues::Remove(wstring_view value)
{
    const std::optional<std::size_t> slot = FindSlot(value);
    if (!slot)
        return false;
    if (!m_slotOfValue.empty())
        m_slotOfValue.erase(qm::FoldCase(value));
    Kill(*slot);
    CompactIfSparse();
    return true;
}

void KeywordValues::CompactIfSparse()
{
    if (m_slots.size() - m_count <= m_count)
        return;
    std::vector<std::size_t> moved;
    try
    {
        moved.resize(m_slots.size());
    }
    catch (const std::bad_alloc&)
    {
        return; // the gaps stay until a later change finds the memory
    }
    std::size_t kept = 0;
    for (std::size_t slot = 0; slot < m_slots.size(); ++slot)
    {
        if (!m_slots[slot].live)
            continue;
        moved[slot] = kept;
        if (kept != slot)
            m_slots[kept] = std::move(m_slots[slot]);
        ++kept;
    }
    m_slots.resize(kept);
    for (auto& entry : m_slotOfValue)
        entry.second = moved[entry.second];
    // Every slot holds a value now.
    m_tree.resize(kept);
    for (std::size_t i = 1; i <= kept; ++i)
        m_tree[i - 1] = LowBit(i);
}

std::vector<wstring> KeywordValues::ToVector() const
{
    std::vector<wstring> values;
    values.reserve(m_count);
    ForEach([&](const wstring& value) { values.push_back(value); });
    return values;
}
} // namespace Quillmar::Library::Native
