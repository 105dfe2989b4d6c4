// Names seen by the parses of this thread, by their UTF-8 text: sidecars use the same
// few names again and again, and a lookup is on the path of every element and attribute.
// Each entry keeps the name checked and in UTF-16, and where the latest parse copied it
// into its arena. An open-addressed table; it stops growing at a bound, so that
// documents full of made-up names cannot fill memory; their names are then made for
// each parse. Probes are bounded too, so that names crafted to share a hash cost no
// more than others.
#pragma once

#include "qm/Platform/Types.h"
#include "Platform/Xml/XmlBytes.h"

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
    static std::uint32_t Hash(std::string_view utf8) noexcept
    {
        constexpr std::uint64_t kMultiplier = 0xFF51AFD7ED558CCDull;
        const std::size_t size = utf8.size();
        const char* p = utf8.data();
        std::uint64_t hash = size * 0x9E3779B97F4A7C15ull;
        if (size >= 8)
        {
            for (std::size_t i = 0; i + 8 < size; i += 8)
                hash = (hash ^ LoadBytes8(p + i)) * kMultiplier;
            // The last eight bytes, which may overlap those before.
            hash = (hash ^ LoadBytes8(p + size - 8)) * kMultiplier;
        }
        else if (size >= 4)
            hash = (hash ^ (LoadBytes4(p) | (std::uint64_t{LoadBytes4(p + size - 4)} << 32))) * kMultiplier;
        else
        {
            std::uint64_t word = 0;
            for (std::size_t i = 0; i < size; ++i)
                word = (word << 8) | static_cast<unsigned char>(p[i]);
            hash = (hash ^ word) * kMultiplier;
        }
        return static_cast<std::uint32_t>(hash ^ (hash >> 32));
    }

    // The entry of a name, or null.
    Entry* Find(std::string_view utf8, std::uint32_t hash) noexcept
    {
        if (m_slots.empty())
            return nullptr;
        const std::size_t mask = m_slots.size() - 1;
        std::size_t i = hash & mask;
        for (std::size_t probe = 0; probe < kMaxProbe; ++probe, i = (i + 1) & mask)
        {
            Slot& slot = m_slots[i];
            if (slot.key.empty())
                return nullptr;
            if (slot.hash == hash && slot.key.size() == utf8.size() && SameBytes(slot.key.data(), utf8.data(), utf8.size()))
                return &slot.entry;
        }
        return nullptr;
    }
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
