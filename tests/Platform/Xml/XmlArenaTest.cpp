// The memory of a parse: pieces never overlap whatever their sizes, only the latest
// piece can be shortened, and the blocks go back with the last count.
#include "Platform/Xml/XmlArena.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

using qm::xml::XmlArena;

namespace
{
struct Piece
{
    unsigned char* data;
    std::size_t size;
    unsigned char fill;
};
} // namespace

TEST(XmlArena, PiecesAreAlignedAndApartAcrossBlocks)
{
    XmlArena* arena = XmlArena::Create(100);
    std::vector<Piece> pieces;
    // Small pieces of every alignment, and now and then one larger than any block.
    for (std::size_t i = 0; i < 20000; ++i)
    {
        const std::size_t alignment = std::size_t{1} << (i % 4);
        const std::size_t size = i % 997 == 0 ? 3 * 1024 * 1024 : 1 + (i * 37) % 200;
        auto* data = static_cast<unsigned char*>(arena->Allocate(size, alignment));
        ASSERT_EQ(0u, reinterpret_cast<std::uintptr_t>(data) % alignment);
        const auto fill = static_cast<unsigned char>(i);
        std::memset(data, fill, size);
        pieces.push_back({data, size, fill});
    }
    for (const Piece& piece : pieces)
        for (std::size_t i = 0; i < piece.size; i += 61)
            ASSERT_EQ(piece.fill, piece.data[i]);
    arena->Release(1);
}

TEST(XmlArena, OnlyTheLatestPieceIsShortenedAndTheLastCountFreesAll)
{
    XmlArena* arena = XmlArena::Create(0);
    auto* first = static_cast<char*>(arena->Allocate(100, 1));
    arena->Shrink(first, 10);
    auto* second = static_cast<char*>(arena->Allocate(1, 1));
    EXPECT_EQ(first + 10, second);
    // `first` is no longer the latest: shortening it again changes nothing.
    arena->Shrink(first, 5);
    EXPECT_EQ(second + 1, static_cast<char*>(arena->Allocate(1, 1)));

    // Counts of nodes come and go in runs; the memory stays until the last one.
    arena->Hold(3);
    arena->Release(1);
    arena->Release(2);
    std::memset(second, 1, 1);
    arena->Release(1);
}
