#include "Platform/Text/Format.h"

#include <charconv>
#include <cstdint>
#include <string>

namespace qm
{
namespace
{
struct Spec
{
    bool left = false;
    bool zero = false;
    int width = 0;
    int precision = -1;
    int length = 0; // 0: int, 1: long, 2: 64 bits
    char16_t conversion = 0;
};

void Pad(wstring& out, std::u16string_view body, const Spec& spec, bool numeric)
{
    const std::size_t width = spec.width > 0 ? static_cast<std::size_t>(spec.width) : 0;
    if (body.size() >= width)
    {
        out += body;
        return;
    }
    const std::size_t fill = width - body.size();
    if (spec.left)
    {
        out += body;
        out.append(fill, u' ');
    }
    else if (spec.zero && numeric)
    {
        // Zeros go after the sign.
        std::size_t sign = (!body.empty() && (body[0] == u'-' || body[0] == u'+')) ? 1 : 0;
        out += body.substr(0, sign);
        out.append(fill, u'0');
        out += body.substr(sign);
    }
    else
    {
        out.append(fill, u' ');
        out += body;
    }
}

std::u16string Ascii(const char* begin, const char* end) { return std::u16string(begin, end); }

std::u16string Integer(std::uint64_t magnitude, bool negative, int base, bool upper, int precision)
{
    char digits[24];
    auto [end, error] = std::to_chars(digits, digits + sizeof(digits), magnitude, base);
    (void)error;
    std::u16string body = Ascii(digits, end);
    if (upper)
        for (char16_t& c : body)
            if (c >= u'a' && c <= u'f')
                c = static_cast<char16_t>(c - 32);
    if (precision >= 0 && body.size() < static_cast<std::size_t>(precision))
        body.insert(0, static_cast<std::size_t>(precision) - body.size(), u'0');
    if (precision == 0 && magnitude == 0)
        body.clear();
    if (negative)
        body.insert(0, 1, u'-');
    return body;
}

std::u16string Fixed(double value, int precision)
{
    char digits[512];
    auto [end, error] = std::to_chars(digits, digits + sizeof(digits), value, std::chars_format::fixed,
                                      precision < 0 ? 6 : precision);
    if (error != std::errc())
        return u"?";
    return Ascii(digits, end);
}

// Reads the flags, width, precision and length of the conversion at format.
const char16_t* ReadSpec(const char16_t* format, Spec& spec, va_list& arguments)
{
    for (;; ++format)
    {
        if (*format == u'-')
            spec.left = true;
        else if (*format == u'0')
            spec.zero = true;
        else
            break;
    }
    if (*format == u'*')
    {
        spec.width = va_arg(arguments, int);
        if (spec.width < 0)
        {
            spec.left = true;
            spec.width = -spec.width;
        }
        ++format;
    }
    else
    {
        while (*format >= u'0' && *format <= u'9')
            spec.width = spec.width * 10 + (*format++ - u'0');
    }
    if (*format == u'.')
    {
        ++format;
        spec.precision = 0;
        if (*format == u'*')
        {
            spec.precision = va_arg(arguments, int);
            ++format;
        }
        else
        {
            while (*format >= u'0' && *format <= u'9')
                spec.precision = spec.precision * 10 + (*format++ - u'0');
        }
    }
    if (format[0] == u'I' && format[1] == u'6' && format[2] == u'4')
    {
        spec.length = 2;
        format += 3;
    }
    else if (format[0] == u'l' && format[1] == u'l')
    {
        spec.length = 2;
        format += 2;
    }
    else if (format[0] == u'l')
    {
        spec.length = 1;
        ++format;
    }
    spec.conversion = *format;
    return format;
}

std::int64_t SignedArgument(const Spec& spec, va_list& arguments)
{
    if (spec.length == 2)
        return va_arg(arguments, long long);
    if (spec.length == 1)
        return va_arg(arguments, long);
    return va_arg(arguments, int);
}

std::uint64_t UnsignedArgument(const Spec& spec, va_list& arguments)
{
    if (spec.length == 2)
        return va_arg(arguments, unsigned long long);
    if (spec.length == 1)
        return va_arg(arguments, unsigned long);
    return va_arg(arguments, unsigned int);
}

// Formats one conversion; false for one this printf does not know.
bool Convert(wstring& out, const Spec& spec, va_list& arguments)
{
    switch (spec.conversion)
    {
    case u'd':
    case u'i': {
        const std::int64_t value = SignedArgument(spec, arguments);
        const std::uint64_t magnitude = value < 0 ? 0 - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
        Pad(out, Integer(magnitude, value < 0, 10, false, spec.precision), spec, spec.precision < 0);
        return true;
    }
    case u'u':
        Pad(out, Integer(UnsignedArgument(spec, arguments), false, 10, false, spec.precision), spec, spec.precision < 0);
        return true;
    case u'x':
    case u'X':
        Pad(out, Integer(UnsignedArgument(spec, arguments), false, 16, spec.conversion == u'X', spec.precision), spec,
            spec.precision < 0);
        return true;
    case u'f':
    case u'F':
        Pad(out, Fixed(va_arg(arguments, double), spec.precision), spec, true);
        return true;
    case u'c': {
        const char16_t c = static_cast<char16_t>(va_arg(arguments, int));
        Pad(out, std::u16string_view(&c, 1), spec, false);
        return true;
    }
    case u's': {
        const char16_t* text = va_arg(arguments, const char16_t*);
        std::u16string_view body = text ? std::u16string_view(text) : std::u16string_view(u"(null)");
        if (spec.precision >= 0 && body.size() > static_cast<std::size_t>(spec.precision))
            body = body.substr(0, static_cast<std::size_t>(spec.precision));
        Pad(out, body, spec, false);
        return true;
    }
    default:
        return false;
    }
}
} // namespace

wstring VFormatW(const char16_t* format, va_list arguments)
{
    wstring out;
    if (format == nullptr)
        return out;
    va_list walk;
    va_copy(walk, arguments);
    for (const char16_t* p = format; *p; ++p)
    {
        if (*p != u'%')
        {
            out += *p;
            continue;
        }
        if (p[1] == u'%')
        {
            out += u'%';
            ++p;
            continue;
        }
        Spec spec;
        const char16_t* start = p;
        p = ReadSpec(p + 1, spec, walk);
        if (*p == u'\0')
        {
            out.append(start, p);
            break;
        }
        // The size of an unknown conversion's argument is unknown too, and every argument
        // after it would be read at the wrong place: the format is refused.
        if (!Convert(out, spec, walk))
        {
            out.clear();
            break;
        }
    }
    va_end(walk);
    return out;
}

wstring FormatW(const char16_t* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    wstring out = VFormatW(format, arguments);
    va_end(arguments);
    return out;
}
} // namespace qm
