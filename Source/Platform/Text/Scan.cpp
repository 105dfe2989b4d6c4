#include "Platform/Text/Scan.h"

#include <cstdarg>
#include <limits>
#include <string>

namespace qm
{
namespace
{
bool IsSpace(char16_t c) { return c == u' ' || c == u'\t' || c == u'\n' || c == u'\r' || c == u'\v' || c == u'\f'; }

// Reads a signed decimal number of at most width characters (0: no limit); false when
// there is none or it does not fit in [low, high].
bool ReadNumber(const char16_t*& text, int width, bool allowSign, std::int64_t low, std::uint64_t high,
                std::int64_t& value)
{
    while (IsSpace(*text))
        ++text;
    const char16_t* p = text;
    int left = width > 0 ? width : std::numeric_limits<int>::max();
    bool negative = false;
    if (allowSign && left > 0 && (*p == u'-' || *p == u'+'))
    {
        negative = *p == u'-';
        ++p;
        --left;
    }
    std::uint64_t magnitude = 0;
    bool any = false;
    while (left > 0 && *p >= u'0' && *p <= u'9')
    {
        const auto digit = static_cast<std::uint64_t>(*p - u'0');
        if (magnitude > (std::numeric_limits<std::uint64_t>::max() - digit) / 10)
            return false;
        magnitude = magnitude * 10 + digit;
        any = true;
        ++p;
        --left;
    }
    if (!any)
        return false;
    if (negative)
    {
        if (magnitude > static_cast<std::uint64_t>(-(low + 1)) + 1)
            return false;
        value = magnitude == 0 ? 0 : -static_cast<std::int64_t>(magnitude - 1) - 1;
    }
    else
    {
        if (magnitude > high)
            return false;
        value = static_cast<std::int64_t>(magnitude);
    }
    text = p;
    return true;
}

int VScan(const char16_t* text, const char16_t* format, va_list arguments)
{
    int assigned = 0;
    bool converted = false;
    while (*format)
    {
        if (IsSpace(*format))
        {
            while (IsSpace(*format))
                ++format;
            while (IsSpace(*text))
                ++text;
            continue;
        }
        const bool literalPercent = format[0] == u'%' && format[1] == u'%';
        if (*format != u'%' || literalPercent)
        {
            if (literalPercent)
                ++format;
            if (*text != *format)
                break;
            ++text;
            ++format;
            continue;
        }
        ++format;
        int width = 0;
        while (*format == u'0')
            ++format;
        while (*format >= u'0' && *format <= u'9')
            width = width * 10 + (*format++ - u'0');
        bool wide = false;
        if (format[0] == u'I' && format[1] == u'6' && format[2] == u'4')
        {
            wide = true;
            format += 3;
        }
        else if (format[0] == u'l' && format[1] == u'l')
        {
            wide = true;
            format += 2;
        }
        const char16_t conversion = *format++;
        if (conversion != u'd' && conversion != u'i' && conversion != u'u')
            break;
        {
            const char16_t* probe = text;
            while (IsSpace(*probe))
                ++probe;
            if (*probe == u'\0')
                return converted || assigned > 0 ? assigned : -1;
        }
        converted = true;
        std::int64_t value = 0;
        if (wide)
        {
            if (!ReadNumber(text, width, true, std::numeric_limits<std::int64_t>::min(),
                            std::numeric_limits<std::int64_t>::max(), value))
                break;
            *va_arg(arguments, std::int64_t*) = value;
        }
        else if (conversion == u'u')
        {
            if (!ReadNumber(text, width, false, 0, std::numeric_limits<unsigned>::max(), value))
                break;
            *va_arg(arguments, unsigned*) = static_cast<unsigned>(value);
        }
        else
        {
            if (!ReadNumber(text, width, true, std::numeric_limits<int>::min(), std::numeric_limits<int>::max(),
                            value))
                break;
            *va_arg(arguments, int*) = static_cast<int>(value);
        }
        ++assigned;
    }
    return assigned;
}
} // namespace

int ScanW(const char16_t* text, const char16_t* format, ...)
{
    if (text == nullptr || format == nullptr)
        return -1;
    va_list arguments;
    va_start(arguments, format);
    const int result = VScan(text, format, arguments);
    va_end(arguments);
    return result;
}

bool ScanInt64(wstring_view text, std::int64_t& value)
{
    const std::u16string copy(text);
    std::int64_t scanned = 0;
    if (ScanW(copy.c_str(), u"%I64d", &scanned) != 1)
        return false;
    value = scanned;
    return true;
}
} // namespace qm
