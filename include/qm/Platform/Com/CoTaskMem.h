// The task allocator: blocks that cross interfaces and are freed by the receiver.
#pragma once

#include "qm/Platform/Types.h"

QM_API void* CoTaskMemAlloc(std::size_t size);
QM_API void* CoTaskMemRealloc(void* block, std::size_t size);
QM_API void CoTaskMemFree(void* block);

namespace qm
{
// A NUL-terminated copy from the task allocator; null on exhaustion.
QM_API char16_t* CoTaskMemStrDup(wstring_view text);
} // namespace qm
