#include "Platform/Text/Base64.h"

#include "Platform/Com/LastError.h"

#include <cstring>

namespace qm
{
namespace
{
constexpr char16_t kAlphabet[] = u"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::size_t kLine = 64;

int ValueOf(char16_t c)
{
    if (c >= u'A' && c <= u'Z')
        return c - u'A';
    if (c >= u'a' && c <= u'z')
        return c - u'a' + 26;
    if (c >= u'0' && c <= u'9')
        return c - u'0' + 52;
    if (c == u'+')
        return 62;
    if (c == u'/')
        return 63;
    return -1;
}

bool IsWhiteSpace(char16_t c) { return c == u' ' || c == u'\t' || c == u'\r' || c == u'\n'; }
} // namespace

wstring Base64Encode(const void* data, std::size_t size)
{
    const auto* bytes = static_cast<const BYTE*>(data);
    wstring plain;
    plain.reserve((size + 2) / 3 * 4);
    for (std::size_t i = 0; i < size; i += 3)
    {
        const std::uint32_t group = (bytes[i] << 16) | ((i + 1 < size ? bytes[i + 1] : 0) << 8) |
                                    (i + 2 < size ? bytes[i + 2] : 0);
        plain += kAlphabet[(group >> 18) & 0x3F];
        plain += kAlphabet[(group >> 12) & 0x3F];
        plain += i + 1 < size ? kAlphabet[(group >> 6) & 0x3F] : u'=';
        plain += i + 2 < size ? kAlphabet[group & 0x3F] : u'=';
    }
    wstring text;
    text.reserve(plain.size() + (plain.size() / kLine + 1) * 2);
    for (std::size_t i = 0; i < plain.size(); i += kLine)
    {
        text.append(plain, i, kLine);
        text += u"\r\n";
    }
    return text;
}

HRESULT Base64Decode(wstring_view text, std::vector<BYTE>& data)
{
    std::vector<BYTE> result;
    result.reserve(text.size() / 4 * 3);
    std::uint32_t group = 0;
    int count = 0;
    int padding = 0;
    for (char16_t c : text)
    {
        if (IsWhiteSpace(c))
            continue;
        // Nothing may follow the padding, and padding only ends a quad.
        if (c == u'=' && count >= 2)
        {
            ++padding;
            group <<= 6;
            ++count;
        }
        else
        {
            const int value = ValueOf(c);
            if (value < 0 || padding > 0)
            {
                SetLastError(ERROR_INVALID_DATA);
                return E_INVALIDARG;
            }
            group = (group << 6) | static_cast<std::uint32_t>(value);
            ++count;
        }
        if (count == 4)
        {
            result.push_back(static_cast<BYTE>(group >> 16));
            if (padding < 2)
                result.push_back(static_cast<BYTE>(group >> 8));
            if (padding < 1)
                result.push_back(static_cast<BYTE>(group));
            group = 0;
            count = 0;
            if (padding > 0)
                padding = 3; // the text must end here
        }
    }
    if (count != 0)
    {
        SetLastError(ERROR_INVALID_DATA);
        return E_INVALIDARG;
    }
    data = std::move(result);
    return S_OK;
}
} // namespace qm

namespace
{
BOOL Fail(DWORD code)
{
    SetLastError(code);
    return FALSE;
}
} // namespace

BOOL CryptBinaryToStringW(const BYTE* data, DWORD size, DWORD flags, LPWSTR text, DWORD* textSize)
{
    if (flags != CRYPT_STRING_BASE64 || textSize == nullptr || (data == nullptr && size > 0))
        return Fail(ERROR_INVALID_PARAMETER);
    const wstring encoded = qm::Base64Encode(data, size);
    if (text == nullptr)
    {
        *textSize = static_cast<DWORD>(encoded.size() + 1);
        return TRUE;
    }
    if (*textSize < encoded.size() + 1)
    {
        *textSize = static_cast<DWORD>(encoded.size() + 1);
        return Fail(ERROR_MORE_DATA);
    }
    std::memcpy(text, encoded.c_str(), (encoded.size() + 1) * sizeof(char16_t));
    // Filled, the size is the count of characters without the NUL.
    *textSize = static_cast<DWORD>(encoded.size());
    return TRUE;
}

BOOL CryptStringToBinaryW(LPCWSTR text, DWORD textSize, DWORD flags, BYTE* data, DWORD* dataSize, DWORD* skipped,
                          DWORD* usedFlags)
{
    if (flags != CRYPT_STRING_BASE64 || text == nullptr || dataSize == nullptr)
        return Fail(ERROR_INVALID_PARAMETER);
    const wstring_view view = textSize == 0 ? wstring_view(text) : wstring_view(text, textSize);
    std::vector<BYTE> decoded;
    if (FAILED(qm::Base64Decode(view, decoded)))
        return Fail(ERROR_INVALID_DATA);
    if (skipped)
        *skipped = 0;
    if (usedFlags)
        *usedFlags = CRYPT_STRING_BASE64;
    if (data == nullptr)
    {
        *dataSize = static_cast<DWORD>(decoded.size());
        return TRUE;
    }
    if (*dataSize < decoded.size())
    {
        *dataSize = static_cast<DWORD>(decoded.size());
        return Fail(ERROR_MORE_DATA);
    }
    if (!decoded.empty())
        std::memcpy(data, decoded.data(), decoded.size());
    *dataSize = static_cast<DWORD>(decoded.size());
    return TRUE;
}
