#include "qm/Library/KeywordValues.h"

#include "qm/Platform/Text/CaseFolding.h"

#include <bit>

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

bool KeywordValues::Holds(wstring_view value) const { return m_slotOfValue.contains(qm::FoldCase(value)); }

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
    m_slots.push_back({wstring(value), true});
    try
    {
        m_tree.push_back(node);
        const auto [it, inserted] = m_slotOfValue.try_emplace(qm::FoldCase(value), slot);
        ++m_count;
        if (!inserted)
        {
            Kill(it->second);
            it->second = slot;
        }
    }
    catch (...)
    {
        m_slots.pop_back();
        m_tree.resize(m_slots.size());
        throw;
    }
    CompactIfSparse();
}

bool KeywordValues::Remove(wstring_view value)
{
    const auto it = m_slotOfValue.find(qm::FoldCase(value));
    if (it == m_slotOfValue.end())
        return false;
    Kill(it->second);
    m_slotOfValue.erase(it);
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
