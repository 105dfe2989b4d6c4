// Reads of short runs of bytes a word at a time, for the names and markup of a parse.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace qm::xml
{
inline std::uint64_t LoadBytes8(const char* p) noexcept
{
    std::uint64_t word;
    std::memcpy(&word, p, sizeof word);
    return word;
}

inline std::uint32_t LoadBytes4(const char* p) noexcept
{
    std::uint32_t word;
    std::memcpy(&word, p, sizeof word);
    return word;
}

// Whether n bytes at a and b are the same; quicker than memcmp for short runs, as the
// last word may overlap the one before.
inline bool SameBytes(const char* a, const char* b, std::size_t n) noexcept
{
    if (n >= 8)
    {
        for (std::size_t i = 0; i + 8 < n; i += 8)
            if (LoadBytes8(a + i) != LoadBytes8(b + i))
                return false;
        return LoadBytes8(a + n - 8) == LoadBytes8(b + n - 8);
    }
    if (n >= 4)
        return LoadBytes4(a) == LoadBytes4(b) && LoadBytes4(a + n - 4) == LoadBytes4(b + n - 4);
    for (std::size_t i = 0; i < n; ++i)
        if (a[i] != b[i])
            return false;
    return true;
}
} // namespace qm::xml
