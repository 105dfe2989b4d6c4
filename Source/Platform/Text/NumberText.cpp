#include "Platform/Text/NumberText.h"

#include "qm/Platform/Text/CaseFolding.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <string>

namespace qm
{
namespace
{
wstring_view Trim(wstring_view text)
{
    while (!text.empty() && IsSpace(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && IsSpace(text.back()))
        text.remove_suffix(1);
    return text;
}

// Removes one leading sign; true when it was "-".
bool TakeSign(wstring_view& text)
{
    if (text.empty() || (text.front() != u'+' && text.front() != u'-'))
        return false;
    const bool negative = text.front() == u'-';
    text.remove_prefix(1);
    return negative;
}

bool IsDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

// ASCII letters compared without case; word is lower case.
bool IsWord(wstring_view text, std::string_view word)
{
    return std::equal(text.begin(), text.end(), word.begin(), word.end(), [](char16_t c, char w) {
        return (c >= u'A' && c <= u'Z' ? c + (u'a' - u'A') : c) == static_cast<char16_t>(w);
    });
}

// Reads an optional sign and decimal digits: the magnitude and whether it is negative.
HRESULT ParseMagnitude(wstring_view text, std::uint64_t& magnitude, bool& negative)
{
    text = Trim(text);
    negative = TakeSign(text);
    if (text.empty())
        return DISP_E_TYPEMISMATCH;
    std::uint64_t result = 0;
    bool overflow = false;
    for (char16_t c : text)
    {
        if (!IsDigit(c))
            return DISP_E_TYPEMISMATCH;
        const auto digit = static_cast<std::uint64_t>(c - u'0');
        // Further digits are still checked: "99999999999999999999x" is not a number at all.
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

// Whether a well-formed number that no floating type holds is tiny rather than huge: its
// first significant digit stands below the units place once the exponent is applied.
bool IsTiny(std::string_view number)
{
    const std::size_t e = number.find_first_of("eE");
    const std::string_view mantissa = number.substr(0, e);
    long long exponent = 0;
    if (e != std::string_view::npos)
    {
        std::string_view digits = number.substr(e + 1);
        const bool negative = digits.front() == '-';
        if (digits.front() == '+' || digits.front() == '-')
            digits.remove_prefix(1);
        int power = 0;
        // An exponent beyond 32 bits outweighs any mantissa.
        if (std::from_chars(digits.data(), digits.data() + digits.size(), power).ec != std::errc())
            return negative;
        exponent = negative ? -static_cast<long long>(power) : power;
    }
    const std::size_t point = std::min(mantissa.find('.'), mantissa.size());
    const std::size_t first = mantissa.find_first_of("123456789");
    if (first == std::string_view::npos)
        return true;
    const long long place = first < point ? static_cast<long long>(point - first) - 1
                                          : -static_cast<long long>(first - point);
    return place + exponent < 0;
}

// Digits, an optional "." and an optional exponent, nothing else.
template <class Float>
HRESULT ReadDecimal(std::string_view number, Float& result)
{
    // from_chars would also take words such as "infinity" and hexadecimal "0x" forms.
    if (number.empty() || !(IsDigit(number.front()) || number.front() == '.'))
        return DISP_E_TYPEMISMATCH;
    const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), result);
    if (end != number.data() + number.size())
        return DISP_E_TYPEMISMATCH;
    if (error == std::errc::result_out_of_range)
    {
        if (!IsTiny(number))
            return DISP_E_OVERFLOW;
        result = 0;
        return S_OK;
    }
    return error == std::errc() ? S_OK : DISP_E_TYPEMISMATCH;
}

template <class Float>
HRESULT ParseFloating(wstring_view text, Float& value)
{
    text = Trim(text);
    const bool negative = TakeSign(text);
    Float result{};
    if (IsWord(text, "nan"))
        result = std::numeric_limits<Float>::quiet_NaN();
    else if (IsWord(text, "inf"))
        result = std::numeric_limits<Float>::infinity();
    else
    {
        std::string ascii;
        for (char16_t c : text)
        {
            if (c >= 0x80)
                return DISP_E_TYPEMISMATCH;
            ascii += static_cast<char>(c);
        }
        HRESULT hr = ReadDecimal(ascii, result);
        if (FAILED(hr))
            return hr;
    }
    value = negative ? -result : result;
    return S_OK;
}

void AppendAscii(wstring& out, std::string_view text) { out.append(text.begin(), text.end()); }

// The shortest round-trip digits come from the scientific form ("3.4e+38"); they are then
// placed around the decimal point, so that large values end in zeros rather than in the
// digits of their binary expansion.
template <class Float>
wstring FormatFloating(Float value)
{
    if (std::isnan(value))
        return u"NaN";
    if (std::isinf(value))
        return value < 0 ? u"-INF" : u"INF";
    char buffer[64];
    const auto written = std::to_chars(buffer, buffer + sizeof(buffer), value, std::chars_format::scientific);
    std::string_view text(buffer, static_cast<std::size_t>(written.ptr - buffer));
    wstring out;
    if (text.front() == '-')
    {
        out += u'-';
        text.remove_prefix(1);
    }
    const std::size_t e = text.find('e');
    const char* exponentText = text.data() + e + 1;
    if (*exponentText == '+')
        ++exponentText;
    int exponent = 0;
    std::from_chars(exponentText, text.data() + text.size(), exponent);
    std::string digits(text.substr(0, e));
    digits.erase(std::remove(digits.begin(), digits.end(), '.'), digits.end());

    const auto units = static_cast<std::size_t>(std::max(exponent + 1, 0));
    if (exponent < 0)
    {
        out += u"0.";
        out.append(static_cast<std::size_t>(-exponent - 1), u'0');
        AppendAscii(out, digits);
    }
    else if (digits.size() <= units)
    {
        AppendAscii(out, digits);
        out.append(units - digits.size(), u'0');
    }
    else
    {
        AppendAscii(out, std::string_view(digits).substr(0, units));
        out += u'.';
        AppendAscii(out, std::string_view(digits).substr(units));
    }
    return out;
}

template <class Int>
wstring FormatInteger(Int value)
{
    char buffer[24];
    const auto written = std::to_chars(buffer, buffer + sizeof(buffer), value);
    return wstring(buffer, written.ptr);
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
    const wstring_view word = Trim(text);
    if (IsWord(word, "true") || IsWord(word, "false"))
    {
        value = IsWord(word, "true");
        return S_OK;
    }
    double number = 0;
    HRESULT hr = ParseDouble(word, number);
    if (FAILED(hr))
        return hr;
    // "NaN" and "INF" are words, not numbers, to a boolean.
    if (!std::isfinite(number))
        return DISP_E_TYPEMISMATCH;
    value = number != 0;
    return S_OK;
}

wstring FormatInt64(std::int64_t value) { return FormatInteger(value); }
wstring FormatUInt64(std::uint64_t value) { return FormatInteger(value); }
wstring FormatFloat(float value) { return FormatFloating(value); }
wstring FormatDouble(double value) { return FormatFloating(value); }
wstring FormatBool(bool value) { return value ? u"True" : u"False"; }
} // namespace qm
