#include "Platform/Xml/XmlArena.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <new>

namespace qm::xml
{
namespace
{
constexpr std::size_t kMinBlock = 4 * 1024;
constexpr std::size_t kMaxBlock = 1024 * 1024;
// A parse takes about this many bytes of nodes and UTF-16 text per byte of UTF-8 input.
constexpr std::size_t kBytesPerInputByte = 6;

char* AlignUp(char* p, std::size_t alignment) noexcept
{
    const auto address = reinterpret_cast<std::uintptr_t>(p);
    return reinterpret_cast<char*>((address + alignment - 1) & ~(alignment - 1));
}
} // namespace

XmlArena* XmlArena::Create(std::size_t sizeHint)
{
    const std::size_t first =
        sizeHint == 0 ? 2 * kMinBlock : std::clamp(sizeHint * kBytesPerInputByte, kMinBlock, kMaxBlock / 4);
    char* memory = static_cast<char*>(::operator new(first));
    char* begin = memory + sizeof(XmlArena);
    auto* arena = new (memory) XmlArena(begin, memory + first);
    arena->m_nextBlockSize = std::min(2 * first, kMaxBlock);
    return arena;
}

XmlArena::~XmlArena()
{
    while (Block* block = m_blocks)
    {
        m_blocks = block->next;
        ::operator delete(block);
    }
}

void XmlArena::Release(long count) noexcept
{
    if (m_count.fetch_sub(count, std::memory_order_acq_rel) != count)
        return;
    void* memory = this;
    this->~XmlArena();
    ::operator delete(memory);
}

void* XmlArena::AllocateInNewBlock(std::size_t size, std::size_t alignment)
{
    if (size > std::numeric_limits<std::size_t>::max() / 2)
        throw std::bad_alloc();
    const std::size_t needed = sizeof(Block) + alignment + size;
    // A large piece gets a block of its own, so that the current block's space is kept.
    const bool own = needed > m_nextBlockSize / 4;
    const std::size_t blockSize = own ? needed : m_nextBlockSize;
    auto* block = static_cast<Block*>(::operator new(blockSize));
    block->next = m_blocks;
    m_blocks = block;
    char* begin = reinterpret_cast<char*>(block + 1);
    char* p = AlignUp(begin, alignment);
    if (own)
    {
        m_latest = nullptr;
        return p;
    }
    m_next = p + size;
    m_end = reinterpret_cast<char*>(block) + blockSize;
    m_latest = p;
    m_nextBlockSize = std::min(2 * m_nextBlockSize, kMaxBlock);
    return p;
}
} // namespace qm::xml
