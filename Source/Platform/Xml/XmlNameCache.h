// Names seen by the parses of this thread, by their UTF-8 text: sidecars use the same
// few names again and again, and a lookup is on the path of every element and attribute.
// An open-addressed table; it stops growing at a bound, so that documents full of
// made-up names cannot fill memory; their names are then made for each parse. Probes
// are bounded too, so that names crafted to share a hash cost no more than others.
#pragma once

#include "Platform/Xml/XmlNodeCore.h"

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

    // Eight bytes at a step: names are short, and this is on the path of every one.
    static std::uint32_t Hash(std::string_view utf8) noexcept;

    // The name, or null.
    XmlName Find(std::string_view utf8, std::uint32_t hash) const noexcept;
    void Add(std::string_view utf8, std::uint32_t hash, const XmlName& name);

private:
    struct Slot
    {
        std::uint32_t hash = 0;
        std::string key;
        XmlName name;
    };

    bool Insert(Slot slot) noexcept;
    void Grow();

    std::vector<Slot> m_slots;
    std::size_t m_count = 0;
};
} // namespace qm::xml
