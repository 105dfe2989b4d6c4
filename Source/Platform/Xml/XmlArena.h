// The memory of one parse: its nodes, their texts and their names, taken from a few large
// blocks instead of one allocation each, and given back all together.
//
// Every node made in an arena holds one count on it, and the parse holds one while it
// runs. A node that dies (removed and held by nobody, or with its tree) runs its
// destructor at once and gives its count back; the blocks are freed with the last
// count. Nodes may move to other documents and other threads, so the count is atomic;
// only the parse that owns the arena allocates from it.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace qm::xml
{
class XmlArena
{
public:
    // A new arena with the parse's count; sizeHint: the bytes of the document, if known.
    static XmlArena* Create(std::size_t sizeHint);

    XmlArena(const XmlArena&) = delete;
    XmlArena& operator=(const XmlArena&) = delete;

    void* Allocate(std::size_t size, std::size_t alignment)
    {
        const auto next = reinterpret_cast<std::uintptr_t>(m_next);
        const std::uintptr_t aligned = (next + alignment - 1) & ~(alignment - 1);
        if (aligned <= reinterpret_cast<std::uintptr_t>(m_end) &&
            size <= reinterpret_cast<std::uintptr_t>(m_end) - aligned)
        {
            m_latest = m_next + (aligned - next);
            m_next = m_latest + size;
            return m_latest;
        }
        return AllocateInNewBlock(size, alignment);
    }
    char16_t* AllocateText(std::size_t units)
    {
        return static_cast<char16_t*>(Allocate(units * sizeof(char16_t), alignof(char16_t)));
    }
    // Gives back the end of the latest allocation, which turned out longer than needed.
    void Shrink(const void* latest, std::size_t used) noexcept
    {
        if (latest == m_latest)
            m_next = m_latest + used;
    }

    void Hold(long count) noexcept { m_count.fetch_add(count, std::memory_order_relaxed); }
    void Release(long count) noexcept;

private:
    struct Block
    {
        Block* next;
    };

    XmlArena(char* begin, char* end) noexcept : m_next(begin), m_end(end) {}
    ~XmlArena();
    void* AllocateInNewBlock(std::size_t size, std::size_t alignment);

    std::atomic<long> m_count{1};
    // Blocks after the first, which holds the arena itself.
    Block* m_blocks = nullptr;
    char* m_next;
    char* m_end;
    char* m_latest = nullptr;
    std::size_t m_nextBlockSize = 0;
};
} // namespace qm::xml
