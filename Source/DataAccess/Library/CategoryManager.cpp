#include "DataAccess/Library/CategoryManager.h"

#include "Logging/QMLog.h"
#include "Runtime/Guarded.h"

namespace Quillmar::Library::Native
{
namespace
{
wstring TextOf(const WCHAR* text) { return text ? wstring(text) : wstring(); }

HRESULT CopyOut(const wstring& text, BSTR* out)
{
    *out = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    return *out ? S_OK : E_OUTOFMEMORY;
}
} // namespace

HRESULT CCategoryManager::EnumCategories(IEnumString** ppEnum)
{
    QMCheckCondition(ppEnum != nullptr, E_POINTER);
    return qm::Guarded([&] { return qm::CreateEnumString(GetCategories(), ppEnum); });
}

HRESULT CCategoryManager::EnumKeywords(const wstring& category, IEnumString** ppEnum)
{
    QMCheckCondition(ppEnum != nullptr, E_POINTER);
    return qm::Guarded([&] { return qm::CreateEnumString(GetKeywords(category), ppEnum); });
}

HRESULT CCategoryManager::AddCategory(const wstring& category)
{
    QMCheckCondition(!category.empty(), E_INVALIDARG);
    return qm::Guarded([&] {
        if (!m_categories.emplace(category, Keywords()).second)
            return S_FALSE;
        m_categoryAdded.Fire(nullptr, category);
        return S_OK;
    });
}

HRESULT CCategoryManager::RemoveCategory(const wstring& category)
{
    QMCheckCondition(!category.empty(), E_INVALIDARG);
    return qm::Guarded([&] {
        if (m_categories.erase(category) == 0)
            return S_FALSE;
        // Image associations are keyed by the exact spelling: only that one goes.
        m_categorieInfos.erase(category);
        m_categoryRemoved.Fire(nullptr, category);
        return S_OK;
    });
}

HRESULT CCategoryManager::RenameCategory(const wstring& oldCategory, const wstring& newCategory)
{
    QMCheckCondition(!oldCategory.empty(), E_INVALIDARG);
    QMCheckCondition(!newCategory.empty(), E_INVALIDARG);
    return qm::Guarded([&] {
        const auto found = m_categories.find(oldCategory);
        if (found == m_categories.end())
            return S_FALSE;
        Keywords keywords = found->second;
        m_categories.erase(found);
        // Onto an existing category, that one stays as it is.
        m_categories.emplace(newCategory, std::move(keywords));
        m_categoryRenamed.Fire(nullptr, oldCategory, newCategory);
        return S_OK;
    });
}

void CCategoryManager::InsertKeyword(const Keyword& keyword)
{
    Keywords keywords;
    if (const auto found = m_categories.find(keyword.first); found != m_categories.end())
    {
        keywords = std::move(found->second);
        m_categories.erase(found);
    }
    keywords.insert(keyword.second);
    // The category takes the spelling given here.
    m_categories.emplace(keyword.first, std::move(keywords));
}

void CCategoryManager::EraseKeywordExactly(const Keyword& keyword)
{
    const auto found = m_categories.find(keyword.first);
    if (found == m_categories.end())
        return;
    Keywords& keywords = found->second;
    for (auto it = keywords.begin(); it != keywords.end(); ++it)
        if (*it == keyword.second)
        {
            keywords.erase(it);
            return;
        }
}

HRESULT CCategoryManager::AddKeyword(const Keyword& keyword)
{
    QMCheckCondition(!keyword.first.empty(), E_INVALIDARG);
    QMCheckCondition(!keyword.second.empty(), E_INVALIDARG);
    return qm::Guarded([&] {
        InsertKeyword(keyword);
        m_keywordAdded.Fire(nullptr, keyword);
        return S_OK;
    });
}

HRESULT CCategoryManager::RemoveKeyword(const Keyword& keyword)
{
    return qm::Guarded([&] {
        EraseKeywordExactly(keyword);
        m_keywordRemoved.Fire(nullptr, keyword);
        return S_OK;
    });
}

HRESULT CCategoryManager::RenameKeyword(const Keyword& oldKeyword, const Keyword& newKeyword)
{
    return qm::Guarded([&] {
        EraseKeywordExactly(oldKeyword);
        InsertKeyword(newKeyword);
        m_keywordRenamed.Fire(nullptr, oldKeyword, newKeyword);
        return S_OK;
    });
}

HRESULT CCategoryManager::AddKeywordsFromItem(ILibraryItem* pLibraryItem)
{
    QMCheckCondition(pLibraryItem, E_INVALIDARG);
    return qm::Guarded([&] {
        for (const Keyword& keyword : pLibraryItem->get_Keywords())
            QMCheckHRESULT(static_cast<ICategoryManager*>(this)->AddKeyword(keyword));
        return S_OK;
    });
}

std::vector<wstring> CCategoryManager::GetCategories()
{
    std::vector<wstring> categories;
    categories.reserve(m_categories.size());
    for (const auto& entry : m_categories)
        categories.push_back(entry.first);
    return categories;
}

std::vector<wstring> CCategoryManager::GetKeywords(const wstring& category)
{
    const auto found = m_categories.find(category);
    return found == m_categories.end() ? std::vector<wstring>() : std::vector<wstring>(found->second.begin(), found->second.end());
}

std::vector<wstring> CCategoryManager::GetMatchingKeywords(const wstring& category, const wstring& filter)
{
    if (filter.empty())
        return GetKeywords(category);
    std::vector<wstring> matching;
    const auto found = m_categories.find(category);
    if (found == m_categories.end())
        return matching;
    // The filter itself is not lowered: callers pass it in lower case.
    for (const wstring& keyword : found->second)
        if (qm::ToLower(keyword).find(filter) != wstring::npos)
            matching.push_back(keyword);
    return matching;
}

bool CCategoryManager::HasKeywords(const wstring& category)
{
    const auto found = m_categories.find(category);
    return found != m_categories.end() && !found->second.empty();
}

bool CCategoryManager::HasKeyword(const Keyword& keyword)
{
    const auto found = m_categories.find(keyword.first);
    return found != m_categories.end() && found->second.count(keyword.second) != 0;
}

HRESULT CCategoryManager::GetCategoryImage(const WCHAR* category, BSTR* pFileName)
{
    QMCheckCondition(pFileName != nullptr, E_POINTER);
    return qm::Guarded([&] {
        const auto found = m_categorieInfos.find(TextOf(category));
        return found == m_categorieInfos.end() ? S_FALSE : CopyOut(found->second.fileName, pFileName);
    });
}

HRESULT CCategoryManager::SetCategoryImage(const WCHAR* category, const WCHAR* fileName)
{
    return qm::Guarded([&] {
        // A new association: the tag of an old one goes with it.
        m_categorieInfos.insert_or_assign(TextOf(category), CategoryInfo{TextOf(fileName), 0});
        return S_OK;
    });
}

HRESULT CCategoryManager::RemoveCategoryImage(const WCHAR* category)
{
    return qm::Guarded([&] {
        m_categorieInfos.erase(TextOf(category));
        return S_OK;
    });
}

HRESULT CCategoryManager::GetCategoryImageCount(unsigned int* pCount)
{
    QMCheckCondition(pCount != nullptr, E_POINTER);
    *pCount = static_cast<unsigned int>(m_categorieInfos.size());
    return S_OK;
}

HRESULT CCategoryManager::ImageAt(long index, std::map<wstring, CategoryInfo>::iterator& entry)
{
    QMCheckCondition(index >= 0, E_INVALIDARG);
    QMCheckCondition(index < long(m_categorieInfos.size()), E_INVALIDARG);
    entry = std::next(m_categorieInfos.begin(), index);
    return S_OK;
}

HRESULT CCategoryManager::GetCategoryImageAt(long index, BSTR* pFileName)
{
    QMCheckCondition(pFileName != nullptr, E_POINTER);
    std::map<wstring, CategoryInfo>::iterator entry;
    QMCheckHRESULT(ImageAt(index, entry));
    return qm::Guarded([&] { return CopyOut(entry->second.fileName, pFileName); });
}

HRESULT CCategoryManager::SetCategoryImageAt(long index, const WCHAR* fileName)
{
    std::map<wstring, CategoryInfo>::iterator entry;
    QMCheckHRESULT(ImageAt(index, entry));
    return qm::Guarded([&] {
        entry->second.fileName = TextOf(fileName);
        return S_OK;
    });
}

unsigned int CCategoryManager::GetCategoryImageTag(const WCHAR* category)
{
    try
    {
        const auto found = m_categorieInfos.find(TextOf(category));
        return found == m_categorieInfos.end() ? 0 : found->second.tag;
    }
    catch (const std::exception&)
    {
        return 0;
    }
}

HRESULT CCategoryManager::SetCategoryImageTag(const WCHAR* category, unsigned int tag)
{
    return qm::Guarded([&] {
        m_categorieInfos[TextOf(category)].tag = tag;
        return S_OK;
    });
}
} // namespace Quillmar::Library::Native

QM_API HRESULT CreateCategoryManager(ICategoryManager** ppManager)
{
    QMCheckCondition(ppManager != nullptr, E_POINTER);
    return qm::CreateObject<Quillmar::Library::Native::CCategoryManager>(ppManager);
}
