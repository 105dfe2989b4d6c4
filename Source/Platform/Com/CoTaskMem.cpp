#include "qm/Platform/Com/CoTaskMem.h"

#include <cstdlib>
#include <cstring>

void* CoTaskMemAlloc(std::size_t size) { return std::malloc(size == 0 ? 1 : size); }

void* CoTaskMemRealloc(void* block, std::size_t size) { return std::realloc(block, size == 0 ? 1 : size); }

void CoTaskMemFree(void* block) { std::free(block); }

namespace qm
{
char16_t* CoTaskMemStrDup(wstring_view text)
{
    auto* copy = static_cast<char16_t*>(CoTaskMemAlloc((text.size() + 1) * sizeof(char16_t)));
    if (copy == nullptr)
        return nullptr;
    if (!text.empty())
        std::memcpy(copy, text.data(), text.size() * sizeof(char16_t));
    copy[text.size()] = u'\0';
    return copy;
}
} // namespace qm
