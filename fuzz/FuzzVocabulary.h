// What the vocabulary's fuzz targets share: a new manager, and its whole content as
// something to compare.
#pragma once

#include "FuzzCheck.h"

#include "qm/Library/CategoryManager.h"
#include "qm/Platform/Com/ComPtr.h"

#include <vector>

namespace qmfuzz
{
inline ComPtr<ICategoryManagerPrivate> NewManager()
{
    ComPtr<ICategoryManager> manager;
    Check(CreateCategoryManager(manager.GetAddressOf()) == S_OK, "create");
    ComPtr<ICategoryManagerPrivate> result;
    manager.As(&result);
    return result;
}

// Each category with its keywords after it, in the manager's order.
inline std::vector<std::vector<wstring>> Vocabulary(ICategoryManager* manager)
{
    std::vector<std::vector<wstring>> vocabulary;
    for (const wstring& category : manager->GetCategories())
    {
        vocabulary.push_back(manager->GetKeywords(category));
        vocabulary.back().insert(vocabulary.back().begin(), category);
    }
    return vocabulary;
}
} // namespace qmfuzz
