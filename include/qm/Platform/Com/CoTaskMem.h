// The task allocator: blocks that cross interfaces and are freed by the receiver.
#pragma once

#include "qm/Platform/Types.h"

void* CoTaskMemAlloc(std::size_t size);
void* CoTaskMemRealloc(void* block, std::size_t size);
void CoTaskMemFree(void* block);

namespace qm
{
// A NUL-terminated copy from the task allocator; null on exhaustion.
char16_t* CoTaskMemStrDup(wstring_view text);
} // namespace qm
