// Conversions between the system's 16-bit strings and UTF-8.
#pragma once

#include "qm/Platform/Com/HResult.h"

#include <stdexcept>
#include <string>

namespace win32
{
// Thrown by the strict conversions; carries the platform's error code and the direction
// (1: UTF-16 to UTF-8, 2: UTF-8 to UTF-16).
class QM_API Utf8ConversionException : public std::runtime_error
{
public:
    enum ConversionType : std::uint32_t
    {
        FromUtf16ToUtf8 = 1,
        FromUtf8ToUtf16 = 2,
    };

    Utf8ConversionException(const char* message, std::uint32_t errorCode, ConversionType type)
        : std::runtime_error(message), m_errorCode(errorCode), m_conversionType(type)
    {
    }

    std::uint32_t ErrorCode() const noexcept { return m_errorCode; }
    ConversionType Type() const noexcept { return m_conversionType; }

private:
    std::uint32_t m_errorCode;
    ConversionType m_conversionType;
};

// Strict UTF-16 to UTF-8: an unpaired surrogate throws Utf8ConversionException
// ("Invalid UTF-16 sequence found in input string."); an input longer than 0x7FFFFFFF
// code units throws std::overflow_error.
QM_API std::string Utf16ToUtf8(wstring_view text);
// Strict UTF-8 to UTF-16: malformed UTF-8 throws Utf8ConversionException.
QM_API wstring Utf8ToUtf16(std::string_view text);
} // namespace win32

namespace qm
{
// Non-throwing forms: E_INVALIDARG (and last error ERROR_NO_UNICODE_TRANSLATION) for
// malformed input; the output is left empty then.
QM_API HRESULT ToUtf8(wstring_view text, std::string& out);
QM_API HRESULT ToUtf16(std::string_view text, wstring& out);

// Whether text is well-formed UTF-16 (no unpaired surrogate).
QM_API bool IsValidUtf16(wstring_view text) noexcept;
} // namespace qm
