#include "qm/Platform/Com/Guid.h"

#include <random>

namespace
{
constexpr char16_t kHexDigits[] = u"0123456789ABCDEF";

void PutHex(char16_t*& out, std::uint32_t value, int digits)
{
    for (int i = digits - 1; i >= 0; --i)
        *out++ = kHexDigits[(value >> (4 * i)) & 0xF];
}

int HexDigit(char16_t c)
{
    if (c >= u'0' && c <= u'9')
        return c - u'0';
    if (c >= u'a' && c <= u'f')
        return c - u'a' + 10;
    if (c >= u'A' && c <= u'F')
        return c - u'A' + 10;
    return -1;
}

bool ReadHex(wstring_view text, std::size_t first, int digits, std::uint32_t& value)
{
    value = 0;
    for (int i = 0; i < digits; ++i)
    {
        int d = HexDigit(text[first + i]);
        if (d < 0)
            return false;
        value = (value << 4) | static_cast<std::uint32_t>(d);
    }
    return true;
}
} // namespace

int StringFromGUID2(REFGUID guid, LPOLESTR buffer, int cchMax)
{
    if (buffer == nullptr || cchMax < 39)
        return 0;
    char16_t* out = buffer;
    *out++ = u'{';
    PutHex(out, guid.Data1, 8);
    *out++ = u'-';
    PutHex(out, guid.Data2, 4);
    *out++ = u'-';
    PutHex(out, guid.Data3, 4);
    *out++ = u'-';
    PutHex(out, guid.Data4[0], 2);
    PutHex(out, guid.Data4[1], 2);
    *out++ = u'-';
    for (int i = 2; i < 8; ++i)
        PutHex(out, guid.Data4[i], 2);
    *out++ = u'}';
    *out = u'\0';
    return 39;
}

HRESULT CoCreateGuid(GUID* pguid)
{
    if (pguid == nullptr)
        return E_INVALIDARG;
    // One generator per thread, seeded from the system's entropy source.
    thread_local std::mt19937_64 generator{[] {
        std::random_device device;
        std::seed_seq seed{device(), device(), device(), device(), device(), device(), device(), device()};
        return std::mt19937_64(seed);
    }()};
    std::uint64_t high = generator();
    std::uint64_t low = generator();
    pguid->Data1 = static_cast<std::uint32_t>(high >> 32);
    pguid->Data2 = static_cast<std::uint16_t>(high >> 16);
    // Version 4 in the top bits of Data3, the variant 10xx in Data4[0].
    pguid->Data3 = static_cast<std::uint16_t>((high & 0x0FFF) | 0x4000);
    for (int i = 0; i < 8; ++i)
        pguid->Data4[i] = static_cast<std::uint8_t>(low >> (8 * (7 - i)));
    pguid->Data4[0] = static_cast<std::uint8_t>((pguid->Data4[0] & 0x3F) | 0x80);
    return S_OK;
}

namespace qm
{
wstring GuidToString(const GUID& guid)
{
    char16_t buffer[39];
    StringFromGUID2(guid, buffer, 39);
    return wstring(buffer, 38);
}

bool GuidFromString(wstring_view text, GUID& guid)
{
    if (text.size() != 38 || text[0] != u'{' || text[9] != u'-' || text[14] != u'-' || text[19] != u'-' ||
        text[24] != u'-' || text[37] != u'}')
        return false;
    GUID g{};
    std::uint32_t value;
    if (!ReadHex(text, 1, 8, g.Data1))
        return false;
    if (!ReadHex(text, 10, 4, value))
        return false;
    g.Data2 = static_cast<std::uint16_t>(value);
    if (!ReadHex(text, 15, 4, value))
        return false;
    g.Data3 = static_cast<std::uint16_t>(value);
    const std::size_t positions[8] = {20, 22, 25, 27, 29, 31, 33, 35};
    for (int i = 0; i < 8; ++i)
    {
        if (!ReadHex(text, positions[i], 2, value))
            return false;
        g.Data4[i] = static_cast<std::uint8_t>(value);
    }
    guid = g;
    return true;
}
} // namespace qm
