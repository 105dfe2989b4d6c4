#include "Platform/Kernel/SideFilePath.h"

#include "Platform/Kernel/FileSystem.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>

namespace qm
{
namespace
{
// FNV-1a, 64 bits: stable across runs and machines, which the name must be.
std::uint64_t HashOf(std::string_view bytes)
{
    std::uint64_t hash = 14695981039346656037ull;
    for (const unsigned char byte : bytes)
    {
        hash ^= byte;
        hash *= 1099511628211ull;
    }
    return hash;
}

std::size_t Utf8Length(wstring_view text)
{
    std::string bytes;
    return SUCCEEDED(ToNativePath(text, bytes)) ? bytes.size() : text.size() * 3;
}

// The longest start of name, whole code points only, that takes at most `bytes` bytes.
wstring_view PrefixWithin(wstring_view name, std::size_t bytes)
{
    std::size_t used = 0, end = 0;
    while (end < name.size())
    {
        const char16_t unit = name[end];
        const bool pair = unit >= 0xD800 && unit < 0xDC00 && end + 1 < name.size();
        const std::size_t width = pair ? 4 : unit < 0x80 ? 1 : unit < 0x800 ? 2 : 3;
        if (used + width > bytes)
            break;
        used += width;
        end += pair ? 2 : 1;
    }
    return name.substr(0, end);
}
} // namespace

wstring SideFilePath(wstring_view path, wstring_view suffix)
{
    const std::size_t slash = path.find_last_of(u'/');
    const std::size_t nameStart = slash == wstring_view::npos ? 0 : slash + 1;
    const wstring_view name = path.substr(nameStart);
    const std::size_t suffixBytes = Utf8Length(suffix);
    if (Utf8Length(name) + suffixBytes <= kMaxFileNameBytes)
        return wstring(path) + wstring(suffix);
    std::string nameBytes;
    if (FAILED(ToNativePath(name, nameBytes)))
        return wstring(path) + wstring(suffix);
    char tag[20];
    std::snprintf(tag, sizeof tag, "~%016llx", static_cast<unsigned long long>(HashOf(nameBytes)));
    const wstring hash(tag, tag + 17);
    const std::size_t room = kMaxFileNameBytes - std::min(kMaxFileNameBytes, suffixBytes + hash.size());
    return wstring(path.substr(0, nameStart)) + wstring(PrefixWithin(name, room)) + hash + wstring(suffix);
}
} // namespace qm
