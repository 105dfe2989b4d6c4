// The kind of a media path, from its extension, and the sidecar that goes with it.
#pragma once

#include "qm/Platform/Types.h"

namespace Quillmar::Library::Native
{
// The extension with its dot, compared ignoring case; -1 when it is in no row.
std::int32_t ItemKindOfExtension(wstring_view extension);
std::int32_t ItemKindOfPath(wstring_view path);
// The path plus ".quilclip", or the path itself for a notebook, which is its own sidecar.
wstring SidecarPathOf(wstring_view mediaPath, std::int32_t kind);
wstring SidecarPathOf(wstring_view mediaPath);
} // namespace Quillmar::Library::Native
