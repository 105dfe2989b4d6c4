// The path of a file that lives beside another one (a temporary copy, a backup): the
// path with a suffix. Where that name would be longer than a file name may be, the name
// is shortened and made unique by a hash of the whole name, so that the same file always
// has the same side file and a stale one is found again rather than multiplied.
#pragma once

#include "qm/Platform/Com/HResult.h"

#include <cstddef>

namespace qm
{
// The longest file name, in UTF-8 bytes, that Linux file systems take.
constexpr std::size_t kMaxFileNameBytes = 255;

wstring SideFilePath(wstring_view path, wstring_view suffix);
} // namespace qm
