#include "qm/Platform/Text/Utf8Conversion.h"

#include "Platform/Com/LastError.h"

#include <limits>

namespace
{
constexpr char32_t kInvalid = 0xFFFFFFFF;

bool IsHighSurrogate(char16_t c) { return c >= 0xD800 && c <= 0xDBFF; }
bool IsLowSurrogate(char16_t c) { return c >= 0xDC00 && c <= 0xDFFF; }

// Appends the UTF-8 form of text to out; false at the first unpaired surrogate.
bool EncodeUtf8(wstring_view text, std::string& out)
{
    out.reserve(out.size() + text.size());
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        char32_t cp = text[i];
        if (IsHighSurrogate(text[i]))
        {
            if (i + 1 >= text.size() || !IsLowSurrogate(text[i + 1]))
                return false;
            cp = 0x10000 + ((cp - 0xD800) << 10) + (text[i + 1] - 0xDC00);
            ++i;
        }
        else if (IsLowSurrogate(text[i]))
        {
            return false;
        }
        if (cp < 0x80)
        {
            out.push_back(static_cast<char>(cp));
        }
        else if (cp < 0x800)
        {
            out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
            out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
        }
        else if (cp < 0x10000)
        {
            out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
            out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
        }
        else
        {
            out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
            out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
        }
    }
    return true;
}

// Decodes one code point at text[i], advancing i; kInvalid for a malformed, overlong or
// surrogate sequence.
char32_t DecodeOne(std::string_view text, std::size_t& i)
{
    const auto lead = static_cast<unsigned char>(text[i++]);
    if (lead < 0x80)
        return lead;
    int extra;
    char32_t cp;
    char32_t minimum;
    if ((lead & 0xE0) == 0xC0)
    {
        extra = 1, cp = lead & 0x1F, minimum = 0x80;
    }
    else if ((lead & 0xF0) == 0xE0)
    {
        extra = 2, cp = lead & 0x0F, minimum = 0x800;
    }
    else if ((lead & 0xF8) == 0xF0)
    {
        extra = 3, cp = lead & 0x07, minimum = 0x10000;
    }
    else
    {
        return kInvalid;
    }
    for (int k = 0; k < extra; ++k)
    {
        if (i >= text.size())
            return kInvalid;
        const auto next = static_cast<unsigned char>(text[i]);
        if ((next & 0xC0) != 0x80)
            return kInvalid;
        cp = (cp << 6) | (next & 0x3F);
        ++i;
    }
    if (cp < minimum || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF))
        return kInvalid;
    return cp;
}

bool DecodeUtf8(std::string_view text, wstring& out)
{
    // UTF-16 never needs more code units than UTF-8 has bytes: write into room made once.
    const std::size_t start = out.size();
    out.resize(start + text.size());
    char16_t* target = out.data() + start;
    std::size_t i = 0;
    while (i < text.size())
    {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte < 0x80)
        {
            *target++ = byte;
            ++i;
            continue;
        }
        char32_t cp = DecodeOne(text, i);
        if (cp == kInvalid)
        {
            out.resize(start);
            return false;
        }
        if (cp < 0x10000)
        {
            *target++ = static_cast<char16_t>(cp);
        }
        else
        {
            cp -= 0x10000;
            *target++ = static_cast<char16_t>(0xD800 + (cp >> 10));
            *target++ = static_cast<char16_t>(0xDC00 + (cp & 0x3FF));
        }
    }
    out.resize(static_cast<std::size_t>(target - out.data()));
    return true;
}
} // namespace

namespace win32
{
std::string Utf16ToUtf8(wstring_view text)
{
    std::string out;
    if (text.empty())
        return out;
    if (text.size() > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        throw std::overflow_error("Input string too long: size_t-length doesn't fit into int.");
    if (!EncodeUtf8(text, out))
        throw Utf8ConversionException("Invalid UTF-16 sequence found in input string.",
                                      ERROR_NO_UNICODE_TRANSLATION, Utf8ConversionException::FromUtf16ToUtf8);
    return out;
}

wstring Utf8ToUtf16(std::string_view text)
{
    wstring out;
    if (text.empty())
        return out;
    if (text.size() > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        throw std::overflow_error("Input string too long: size_t-length doesn't fit into int.");
    if (!DecodeUtf8(text, out))
        throw Utf8ConversionException("Invalid UTF-8 sequence found in input string.",
                                      ERROR_NO_UNICODE_TRANSLATION, Utf8ConversionException::FromUtf8ToUtf16);
    return out;
}
} // namespace win32

namespace qm
{
HRESULT ToUtf8(wstring_view text, std::string& out)
{
    out.clear();
    if (!EncodeUtf8(text, out))
    {
        out.clear();
        SetLastError(ERROR_NO_UNICODE_TRANSLATION);
        return E_INVALIDARG;
    }
    return S_OK;
}

HRESULT ToUtf16(std::string_view text, wstring& out)
{
    out.clear();
    if (!DecodeUtf8(text, out))
    {
        out.clear();
        SetLastError(ERROR_NO_UNICODE_TRANSLATION);
        return E_INVALIDARG;
    }
    return S_OK;
}

bool IsValidUtf16(wstring_view text) noexcept
{
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        if (IsHighSurrogate(text[i]))
        {
            if (i + 1 >= text.size() || !IsLowSurrogate(text[i + 1]))
                return false;
            ++i;
        }
        else if (IsLowSurrogate(text[i]))
        {
            return false;
        }
    }
    return true;
}
} // namespace qm
