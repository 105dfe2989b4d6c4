// Names seen by the parses of this thread, by their UTF-8 text: sidecars use the same
// few names again and again, and a lookup is on the path of every element and attribute.
// Each entry keeps the name checked and in UTF-16, and where the latest parse copied it
// into its arena. An open-addressed table; it stops growing at a bound, so that
// documents full of made-up names cannot fill memory; their names are then made for
// each parse. Probes are bounded too, so that names crafted to share a hash cost no
// more than others.
#pragma once

#include "qm/Platform/Types.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qm::xml
{
class XmlNameCache
{
public:
    static constexpr std::size_t kMaxNames = 4096;
    static constexpr std::size_t kMaxProbe = 16;

    struct Entry
    {
        wstring text;
        // The arena that holds `copy`, by the stamp its parse gave it.
        std::uint64_t stamp = 0;
        const char16_t* copy = nullptr;
    };

    // Eight bytes at a step: names are short, and this is on the path of every one.
    static std::uint32_t Hash(std::string_view utf8) noexcept;

    // The entry of a name, or null.
    Entry* Find(std::string_view utf8, std::uint32_t hash) noexcept;
    // The new entry of a name, or null when it is not remembered.
    Entry* Add(std::string_view utf8, std::uint32_t hash, wstring_view text);

private:
    // A slot with an empty key is free: names are never empty.
    struct Slot
    {
        std::uint32_t hash = 0;
        std::string key;
        Entry entry;
    };

    Slot* Insert(Slot slot) noexcept;
    void Grow();

    std::vector<Slot> m_slots;
    std::size_t m_count = 0;
};
} // namespace qm::xml
