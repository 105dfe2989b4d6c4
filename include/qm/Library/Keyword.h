// A keyword: a value under a category. Comparisons ignore case.
#pragma once

#include "qm/Platform/Types.h"

#include <utility>

struct Keyword : std::pair<wstring, wstring>
{
    Keyword() = default;
    Keyword(wstring category, wstring value) : std::pair<wstring, wstring>(std::move(category), std::move(value)) {}

    // Both the category and the value are given.
    bool IsValid() const noexcept { return !first.empty() && !second.empty(); }
};
