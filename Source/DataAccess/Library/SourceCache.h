// The media engine's source cache of the process. It stays null until the media engine
// is bound; every caller has its branch for no cache.
#pragma once

#include "qm/Library/MediaEngine.h"
#include "qm/Platform/Com/ComPtr.h"

namespace Quillmar::Library::Native
{
extern ComPtr<ISourceCache> g_sourceCache;
} // namespace Quillmar::Library::Native
