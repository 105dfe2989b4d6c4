// GUID, interface identifiers and their text form.
#pragma once

#include "qm/Platform/Com/HResult.h"

#include <compare>

struct GUID
{
    std::uint32_t Data1;
    std::uint16_t Data2;
    std::uint16_t Data3;
    std::uint8_t Data4[8];

    friend constexpr bool operator==(const GUID& a, const GUID& b)
    {
        if (a.Data1 != b.Data1 || a.Data2 != b.Data2 || a.Data3 != b.Data3)
            return false;
        for (int i = 0; i < 8; ++i)
            if (a.Data4[i] != b.Data4[i])
                return false;
        return true;
    }
};

using IID = GUID;
using CLSID = GUID;
using REFGUID = const GUID&;
using REFIID = const IID&;
using REFCLSID = const CLSID&;

namespace qm
{
namespace detail
{
consteval std::uint32_t HexValue(char c)
{
    if (c >= '0' && c <= '9')
        return static_cast<std::uint32_t>(c - '0');
    if (c >= 'a' && c <= 'f')
        return static_cast<std::uint32_t>(c - 'a' + 10);
    if (c >= 'A' && c <= 'F')
        return static_cast<std::uint32_t>(c - 'A' + 10);
    throw "not a hexadecimal digit";
}

consteval std::uint32_t HexField(const char* text, int first, int digits)
{
    std::uint32_t value = 0;
    for (int i = 0; i < digits; ++i)
        value = (value << 4) | HexValue(text[first + i]);
    return value;
}
} // namespace detail

// Reads "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}" at compile time.
template <std::size_t N>
consteval GUID ParseGuid(const char (&text)[N])
{
    static_assert(N == 39, "a GUID is written with braces, 38 characters");
    if (text[0] != '{' || text[9] != '-' || text[14] != '-' || text[19] != '-' || text[24] != '-' || text[37] != '}')
        throw "malformed GUID";
    GUID g{};
    g.Data1 = detail::HexField(text, 1, 8);
    g.Data2 = static_cast<std::uint16_t>(detail::HexField(text, 10, 4));
    g.Data3 = static_cast<std::uint16_t>(detail::HexField(text, 15, 4));
    g.Data4[0] = static_cast<std::uint8_t>(detail::HexField(text, 20, 2));
    g.Data4[1] = static_cast<std::uint8_t>(detail::HexField(text, 22, 2));
    for (int i = 0; i < 6; ++i)
        g.Data4[2 + i] = static_cast<std::uint8_t>(detail::HexField(text, 25 + 2 * i, 2));
    return g;
}

// The identifier of interface T, found through the QmIidOf declaration beside T.
template <class T>
constexpr const IID& IidOf()
{
    return QmIidOf(static_cast<T*>(nullptr));
}
} // namespace qm

inline constexpr GUID GUID_NULL{};

// Declares IID_<Name> and ties it to the interface, in the interface's own namespace.
#define QM_DECLARE_IID(Name, text)                                         \
    inline constexpr IID IID_##Name = ::qm::ParseGuid(text);               \
    constexpr const IID& QmIidOf(Name*) { return IID_##Name; }

// The "{XXXXXXXX-XXXX-...}" form, upper case, 38 characters; returns the count written
// including the terminating NUL, or 0 when cchMax is below 39.
QM_API int StringFromGUID2(REFGUID guid, LPOLESTR buffer, int cchMax);

// A random (version 4) GUID.
QM_API HRESULT CoCreateGuid(GUID* pguid);

namespace qm
{
// The 38-character text form.
QM_API wstring GuidToString(const GUID& guid);
// Reads the 38-character form (either case); false for anything else.
QM_API bool GuidFromString(wstring_view text, GUID& guid);
} // namespace qm
