#include "qm/Platform/Com/Bstr.h"

#include "qm/Platform/Com/HResultException.h"

#include <cstdlib>
#include <cstring>
#include <limits>

namespace
{
constexpr std::size_t kPrefix = sizeof(std::uint32_t);

// A block of prefix, byteLength bytes and a 16-bit NUL; the BSTR points past the prefix.
BSTR Allocate(std::size_t byteLength)
{
    if (byteLength > std::numeric_limits<std::uint32_t>::max() - kPrefix - sizeof(OLECHAR))
        return nullptr;
    auto* block = static_cast<char*>(std::malloc(kPrefix + byteLength + sizeof(OLECHAR)));
    if (block == nullptr)
        return nullptr;
    const auto count = static_cast<std::uint32_t>(byteLength);
    std::memcpy(block, &count, kPrefix);
    std::memset(block + kPrefix + byteLength, 0, sizeof(OLECHAR));
    return reinterpret_cast<BSTR>(block + kPrefix);
}

char* BlockOf(BSTR text) { return reinterpret_cast<char*>(text) - kPrefix; }
} // namespace

BSTR SysAllocString(const OLECHAR* text)
{
    if (text == nullptr)
        return nullptr;
    return SysAllocStringLen(text, static_cast<UINT>(std::char_traits<char16_t>::length(text)));
}

BSTR SysAllocStringLen(const OLECHAR* text, UINT length)
{
    const std::size_t bytes = static_cast<std::size_t>(length) * sizeof(OLECHAR);
    BSTR result = Allocate(bytes);
    if (result == nullptr)
        return nullptr;
    if (text)
        std::memcpy(result, text, bytes);
    else
        std::memset(result, 0, bytes);
    return result;
}

BSTR SysAllocStringByteLen(const char* bytes, UINT byteLength)
{
    BSTR result = Allocate(byteLength);
    if (result == nullptr)
        return nullptr;
    // An odd byte count leaves one byte of the terminator to clear.
    reinterpret_cast<char*>(result)[byteLength] = 0;
    if (bytes)
        std::memcpy(result, bytes, byteLength);
    else
        std::memset(result, 0, byteLength);
    return result;
}

INT SysReAllocString(BSTR* target, const OLECHAR* text)
{
    if (target == nullptr)
        return FALSE;
    BSTR copy = SysAllocString(text);
    if (copy == nullptr && text != nullptr)
        return FALSE;
    SysFreeString(*target);
    *target = copy;
    return TRUE;
}

void SysFreeString(BSTR text)
{
    if (text)
        std::free(BlockOf(text));
}

UINT SysStringByteLen(BSTR text)
{
    if (text == nullptr)
        return 0;
    std::uint32_t count;
    std::memcpy(&count, BlockOf(text), kPrefix);
    return count;
}

UINT SysStringLen(BSTR text) { return SysStringByteLen(text) / sizeof(OLECHAR); }

namespace qm
{
BSTR AllocBstr(wstring_view text)
{
    if (text.size() > std::numeric_limits<UINT>::max() / sizeof(OLECHAR))
        ThrowHResult(E_OUTOFMEMORY);
    BSTR result = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    if (result == nullptr)
        ThrowHResult(E_OUTOFMEMORY);
    return result;
}
} // namespace qm
