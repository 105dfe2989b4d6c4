#include "Utilities/TimeFormats.h"

#include "Platform/Text/Format.h"
#include "Platform/Text/Scan.h"
#include "qm/Platform/Kernel/Time.h"

namespace quillmar::Library::Model::Utility
{
wstring FormatSystemTime(const SYSTEMTIME& time)
{
    return qm::FormatW(u"%04d.%02d.%02dT%02d:%02d:%02d.%03d", time.wYear, time.wMonth, time.wDay, time.wHour,
                       time.wMinute, time.wSecond, time.wMilliseconds);
}

wstring FormatFileTime(const FILETIME& time)
{
    SYSTEMTIME calendar{};
    FileTimeToSystemTime(&time, &calendar);
    return FormatSystemTime(calendar);
}

HRESULT ParseSystemTime(const char16_t* text, SYSTEMTIME* pValue)
{
    if (text == nullptr || pValue == nullptr)
        return E_POINTER;
    wstring compact;
    for (const char16_t* p = text; *p; ++p)
        if (*p != u' ' && *p != u'\t' && *p != u'\r' && *p != u'\n' && *p != u'-' && *p != u':' && *p != u'.')
            compact += *p;
    int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0, millisecond = 0;
    const int fields = qm::ScanW(compact.c_str(), u"%04d%02d%02dT%02d%02d%02d%03d", &year, &month, &day, &hour,
                                 &minute, &second, &millisecond);
    if (fields < 6)
        return E_FAIL;
    *pValue = SYSTEMTIME{static_cast<WORD>(year),   static_cast<WORD>(month),  0,
                         static_cast<WORD>(day),    static_cast<WORD>(hour),   static_cast<WORD>(minute),
                         static_cast<WORD>(second), static_cast<WORD>(fields == 7 ? millisecond : 0)};
    return S_OK;
}

HRESULT ParseFileTime(const char16_t* text, FILETIME* pValue)
{
    if (pValue == nullptr)
        return E_POINTER;
    SYSTEMTIME time{};
    HRESULT hr = ParseSystemTime(text, &time);
    if (FAILED(hr))
        return hr;
    // A calendar time that names no instant leaves the file time as it was.
    SystemTimeToFileTime(&time, pValue);
    return S_OK;
}
} // namespace quillmar::Library::Model::Utility
