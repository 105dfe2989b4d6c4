// The values of one keyword category. Each occurs once, ignoring case, and they keep their
// order of insertion. A value is found by its folded text in constant time (by a walk while
// the values are few) and by its place in logarithmic time; a removed value leaves a gap
// that a later compaction closes, so that every operation stays cheap however many values
// a category holds.
#pragma once

#include "qm/Platform/Types.h"

#include <cstddef>
#include <optional>
#include <unordered_map>
#include <vector>

namespace Quillmar::Library::Native
{
class KeywordValues
{
public:
    KeywordValues() = default;

    std::size_t size() const noexcept { return m_count; }
    bool empty() const noexcept { return m_count == 0; }
    // The value at a place in the order, or null beyond the end.
    const wstring* At(std::size_t index) const noexcept;
    bool Holds(wstring_view value) const;
    // A value that is there, in any case, moves to the end with the new spelling.
    void Append(wstring_view value);
    // False when the value was not there.
    bool Remove(wstring_view value);
    std::vector<wstring> ToVector() const;

    template <class Visit>
    void ForEach(Visit visit) const
    {
        for (const Slot& slot : m_slots)
            if (slot.live)
                visit(slot.text);
    }

private:
    struct Slot
    {
        wstring text;
        bool live = true;
    };

    // The slot of a value: by the index once the values are many, by a walk before.
    std::optional<std::size_t> FindSlot(wstring_view value) const;
    void BuildIndex();
    void Kill(std::size_t slot) noexcept;
    // Closes the gaps once they outnumber the values, which keeps the work per change
    // constant on average.
    void CompactIfSparse();
    // The number of values in the first `slots` slots.
    std::size_t CountBefore(std::size_t slots) const noexcept;

    std::vector<Slot> m_slots;
    // A few values are found by a walk, which costs no memory; from this many on, by
    // an index of their folded text.
    static constexpr std::size_t kIndexFrom = 8;
    // Folded text of each value to its slot; empty while the values are few.
    std::unordered_map<wstring, std::size_t> m_slotOfValue;
    // A Fenwick tree over the slots, 1 for a value and 0 for a gap: m_tree[i - 1] counts the
    // values of the slots (i - lowbit(i), i].
    std::vector<std::size_t> m_tree;
    std::size_t m_count = 0;
};
} // namespace Quillmar::Library::Native
