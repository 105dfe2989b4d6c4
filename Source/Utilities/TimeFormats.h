// Times as text. Absolute dates: "%04d.%02d.%02dT%02d:%02d:%02d.%03d", read back also
// without the separators ("20210304T050607") and with "-" in the date.
#pragma once

#include "qm/Platform/Com/HResult.h"
#include "qm/Platform/Kernel/FileTime.h"

namespace quillmar::Library::Model::Utility
{
wstring FormatSystemTime(const SYSTEMTIME& time);
// The file time's calendar time, with no time-zone change.
wstring FormatFileTime(const FILETIME& time);
// E_FAIL, and *pValue unchanged, unless at least six fields (year to second) read; a
// missing millisecond is 0.
HRESULT ParseSystemTime(const char16_t* text, SYSTEMTIME* pValue);
// ParseSystemTime into a zeroed calendar time, then the file time of it.
HRESULT ParseFileTime(const char16_t* text, FILETIME* pValue);
} // namespace quillmar::Library::Model::Utility
