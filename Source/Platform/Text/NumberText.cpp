#include "Platform/Text/NumberText.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <string>

namespace qm
{
namespace
{
bool IsBlank(char16_t c) { return c == u' ' || c == u'\t' || c == u'\r' || c == u'\n'; }

wstring_view Trim(wstring_view text)
{
    while (!text.empty() && IsBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

// Reads an optional sign and decimal digits: the magnitude and whether it is negative.
HRESULT ParseMagnitude(wstring_view text, std::uint64_t& magnitude, bool& negative)
{
    text = Trim(text);
    negative = false;
    if (!text.empty() && (text.front() == u'+' || text.front() == u'-'))
    {
        negative = text.front() == u'-';
        text.remove_prefix(1);
    }
    if (text.empty())
        return DISP_E_TYPEMISMATCH;
    std::uint64_t result = 0;
    bool overflow = false;
    for (char16_t c : text)
    {
        if (c < u'0' || c > u'9')
            return DISP_E_TYPEMISMATCH;
        const auto digit = static_cast<std::uint64_t>(c - u'0');
        if (result > (std::numeric_limits<std::uint64_t>::max() - digit) / 10)
            overflow = true;
        else
            result = result * 10 + digit;
    }
    if (overflow)
        return DISP_E_OVERFLOW;
    magnitude = result;
    return S_OK;
}

template <class Int>
HRESULT ParseSigned(wstring_view text, Int& value)
{
    std::uint64_t magnitude = 0;
    bool negative = false;
    HRESULT hr = ParseMagnitude(text, magnitude, negative);
    if (FAILED(hr))
        return hr;
    const auto limit = static_cast<std::uint64_t>(std::numeric_limits<Int>::max());
    if (magnitude > limit + (negative ? 1 : 0))
        return DISP_E_OVERFLOW;
    value = negative ? static_cast<Int>(0 - magnitude) : static_cast<Int>(magnitude);
    return S_OK;
}

template <class Int>
HRESULT ParseUnsigned(wstring_view text, Int& value)
{
    std::uint64_t magnitude = 0;
    bool negative = false;
    HRESULT hr = ParseMagnitude(text, magnitude, negative);
    if (FAILED(hr))
        return hr;
    if ((negative && magnitude != 0) || magnitude > std::numeric_limits<Int>::max())
        return DISP_E_OVERFLOW;
    value = static_cast<Int>(magnitude);
    return S_OK;
}

// ASCII copy of a trimmed number, or empty when it holds anything else.
std::string Ascii(wstring_view text)
{
    std::string out;
    out.reserve(text.size());
    for (char16_t c : text)
    {
        if (c >= 0x80)
            return {};
        out += static_cast<char>(c);
    }
    return out;
}

bool EqualsIgnoringCase(std::string_view a, std::string_view b)
{
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i)
    {
        const char x = (a[i] >= 'A' && a[i] <= 'Z') ? static_cast<char>(a[i] + 32) : a[i];
        const char y = (b[i] >= 'A' && b[i] <= 'Z') ? static_cast<char>(b[i] + 32) : b[i];
        if (x != y)
            return false;
    }
    return true;
}

template <class Float>
HRESULT ParseFloating(wstring_view text, Float& value)
{
    std::string ascii = Ascii(Trim(text));
    std::string_view digits = ascii;
    if (digits.empty())
        return DISP_E_TYPEMISMATCH;
    const bool negative = digits.front() == '-';
    if (digits.front() == '+' || digits.front() == '-')
        digits.remove_prefix(1);
    if (EqualsIgnoringCase(digits, "nan"))
    {
        value = std::numeric_limits<Float>::quiet_NaN();
        return S_OK;
    }
    if (EqualsIgnoringCase(digits, "inf"))
    {
        value = negative ? -std::numeric_limits<Float>::infinity() : std::numeric_limits<Float>::infinity();
        return S_OK;
    }
    // from_chars takes neither a sign of '+' nor words: only digits, '.', an exponent.
    if (digits.empty() || !((digits.front() >= '0' && digits.front() <= '9') || digits.front() == '.'))
        return DISP_E_TYPEMISMATCH;
    Float result{};
    auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), result);
    if (end != digits.data() + digits.size())
        return DISP_E_TYPEMISMATCH;
    if (error == std::errc::result_out_of_range)
        return DISP_E_OVERFLOW;
    if (error != std::errc())
        return DISP_E_TYPEMISMATCH;
    value = negative ? -result : result;
    return S_OK;
}

template <class Float>
wstring FormatFloating(Float value)
{
    if (std::isnan(value))
        return u"NaN";
    if (std::isinf(value))
        return value < 0 ? u"-INF" : u"INF";
    char buffer[512];
    auto [end, error] = std::to_chars(buffer, buffer + sizeof(buffer), value, std::chars_format::fixed);
    (void)error; // the buffer holds the longest fixed form of a double
    return wstring(buffer, end);
}

template <class Int>
wstring FormatInteger(Int value)
{
    char buffer[24];
    auto [end, error] = std::to_chars(buffer, buffer + sizeof(buffer), value);
    (void)error;
    return wstring(buffer, end);
}
} // namespace

HRESULT ParseInt32(wstring_view text, std::int32_t& value) { return ParseSigned(text, value); }
HRESULT ParseInt64(wstring_view text, std::int64_t& value) { return ParseSigned(text, value); }
HRESULT ParseUInt32(wstring_view text, std::uint32_t& value) { return ParseUnsigned(text, value); }
HRESULT ParseUInt64(wstring_view text, std::uint64_t& value) { return ParseUnsigned(text, value); }
HRESULT ParseFloat(wstring_view text, float& value) { return ParseFloating(text, value); }
HRESULT ParseDouble(wstring_view text, double& value) { return ParseFloating(text, value); }

HRESULT ParseBool(wstring_view text, bool& value)
{
    const std::string word = Ascii(Trim(text));
    if (EqualsIgnoringCase(word, "true") || EqualsIgnoringCase(word, "false"))
    {
        value = EqualsIgnoringCase(word, "true");
        return S_OK;
    }
    double number = 0;
    HRESULT hr = ParseDouble(text, number);
    if (FAILED(hr))
        return hr;
    value = number != 0;
    return S_OK;
}

wstring FormatInt64(std::int64_t value) { return FormatInteger(value); }
wstring FormatUInt64(std::uint64_t value) { return FormatInteger(value); }
wstring FormatFloat(float value) { return FormatFloating(value); }
wstring FormatDouble(double value) { return FormatFloating(value); }
wstring FormatBool(bool value) { return value ? u"True" : u"False"; }
} // namespace qm
