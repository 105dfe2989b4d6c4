// The keyword text file: a line "category<TAB>keyword" for each keyword. It is written as
// UTF-16LE with a byte order mark, and read as UTF-8 or UTF-16LE by its byte order mark,
// as UTF-8 without one.
#pragma once

#include "qm/Library/Keyword.h"
#include "qm/Platform/Com/HResult.h"

#include <string>
#include <vector>

namespace Quillmar::Library::Native
{
// The largest keyword file read; the whole file is held in memory.
constexpr std::uint64_t kMaxKeywordFileBytes = 64ull << 20;

// The file's text: E_UNEXPECTED for an empty file, HRESULT_FROM_WIN32(ERROR_HANDLE_EOF)
// for one shorter than 4 bytes, E_FAIL for a UTF-16BE or UTF-32 byte order mark. Text in
// UTF-8 that is not well formed gives an empty text.
HRESULT ReadKeywordText(wstring_view path, wstring& text);

// The pairs of the lines that hold exactly two non-empty tokens, split at TAB if the
// text holds one, else at ";"; E_FAIL when it holds neither.
HRESULT ParseKeywordText(wstring_view text, std::vector<Keyword>& keywords);

// A line "category<TAB>keyword<CR><LF>" as UTF-16LE bytes, appended to out.
void AppendKeywordLine(const Keyword& keyword, std::string& out);
} // namespace Quillmar::Library::Native
