#include "DataAccess/Library/LibraryItemQuery.h"

#include "Logging/QMLog.h"
#include "qm/Library/CLibraryItem.h"
#include "Runtime/Guarded.h"

namespace Quillmar::Library::Native
{
namespace
{
using KeywordRef = std::pair<const wstring*, const wstring*>;

bool AnyKeywordMatches(const std::vector<KeywordRef>& keywords, const wstring& category,
                       const std::set<wstring, qm::NoCaseLess>& values)
{
    for (const auto& [keywordCategory, value] : keywords)
        if (qm::EqualsNoCase(*keywordCategory, category) && (values.empty() || values.count(*value) != 0))
            return true;
    return false;
}
} // namespace

bool CLibraryItemQuery::Match(ILibraryItem* pLibraryItem)
{
    if (pLibraryItem == nullptr)
        return false;
    if (m_criteria.empty() && m_searchText.empty())
        return true;
    // A clip whose calls fail (a sidecar gone, memory short) simply does not match.
    try
    {
        CollectKeywords(pLibraryItem);
        if (!MatchesCriteria())
            return false;
        return m_searchText.empty() || MatchesText(pLibraryItem);
    }
    catch (const std::exception&)
    {
        return false;
    }
}

void CLibraryItemQuery::CollectKeywords(ILibraryItem* item) const
{
    m_keywords.clear();
    m_keywordCopy.clear();
    if (const ComPtr<CLibraryItem> clip = CLibraryItem::From(item))
    {
        clip->get_KeywordMap().ForEachKeyword(
            [&](const wstring& category, const wstring& value) { m_keywords.emplace_back(&category, &value); });
        return;
    }
    m_keywordCopy = item->get_Keywords();
    for (const Keyword& keyword : m_keywordCopy)
        m_keywords.emplace_back(&keyword.first, &keyword.second);
}

bool CLibraryItemQuery::MatchesCriteria() const
{
    for (const auto& [category, values] : m_criteria)
        if (!AnyKeywordMatches(m_keywords, category, values))
            return false;
    return true;
}

bool CLibraryItemQuery::MatchesText(ILibraryItem* item) const
{
    if (Contains(item->get_Name()))
        return true;
    ComPtr<ILibraryItemMarker> marker;
    if (SUCCEEDED(item->QueryInterface(IID_ILibraryItemMarker, reinterpret_cast<void**>(marker.GetAddressOf()))) &&
        (Contains(marker->get_Title()) || Contains(marker->get_Comment())))
        return true;
    for (const auto& [category, value] : m_keywords)
        if (Contains(*category) || Contains(*value))
            return true;
    return false;
}

bool CLibraryItemQuery::Contains(wstring_view text) const
{
    if (text.empty())
        return false;
    qm::FoldCaseInto(text, m_foldBuffer);
    return m_foldBuffer.find(m_searchTextFolded) != wstring::npos;
}

void CLibraryItemQuery::Clear()
{
    m_criteria.clear();
    m_searchText.clear();
    m_searchTextFolded.clear();
}

void CLibraryItemQuery::put_SearchText(const wstring& text)
{
    wstring folded = qm::FoldCase(text);
    m_searchText = text;
    m_searchTextFolded = std::move(folded);
}

void CLibraryItemQuery::AddKeyword(const Keyword& keyword)
{
    Values& values = m_criteria[keyword.first];
    if (keyword.second.empty())
        values.clear();
    else
        values.insert(keyword.second);
}

bool CLibraryItemQuery::RemoveKeyword(const Keyword& keyword)
{
    const auto category = m_criteria.find(keyword.first);
    if (category == m_criteria.end())
        return false;
    if (!keyword.second.empty())
    {
        if (category->second.erase(keyword.second) == 0)
            return false;
        if (!category->second.empty())
            return true;
    }
    m_criteria.erase(category);
    return true;
}

void CLibraryItemQuery::RemoveCategory(const wstring& category) { m_criteria.erase(category); }

bool CLibraryItemQuery::HasKeyword(const Keyword& keyword)
{
    const auto category = m_criteria.find(keyword.first);
    if (category == m_criteria.end())
        return false;
    return keyword.second.empty() ? category->second.empty() : category->second.count(keyword.second) != 0;
}

bool CLibraryItemQuery::HasCategory(const wstring& category) { return m_criteria.count(category) != 0; }

HRESULT CLibraryItemQuery::Clone(ILibraryItemQuery** ppQuery)
{
    QMCheckCondition(ppQuery != nullptr, E_POINTER);
    *ppQuery = nullptr;
    return qm::Guarded([&] {
        ComPtr<CLibraryItemQuery> clone = qm::MakeObject<CLibraryItemQuery>();
        QMCheckCondition(clone, E_OUTOFMEMORY);
        clone->m_searchText = m_searchText;
        clone->m_searchTextFolded = m_searchTextFolded;
        clone->m_criteria = m_criteria;
        *ppQuery = clone.Detach();
        return S_OK;
    });
}

bool CLibraryItemQuery::RenameCategory(const wstring& oldCategory, const wstring& newCategory)
{
    auto entry = m_criteria.find(oldCategory);
    if (entry == m_criteria.end())
        return false;
    Values values = std::move(entry->second);
    m_criteria.erase(entry);
    m_criteria.emplace(newCategory, std::move(values));
    return true;
}

HRESULT CLibraryItemQuery::PruneAgainstCategories(ICategoryManager* pManager)
{
    QMCheckCondition(pManager != nullptr, E_INVALIDARG);
    return qm::Guarded([&] {
        Criteria old = std::move(m_criteria);
        m_criteria.clear();
        for (auto& [category, values] : old)
        {
            if (!pManager->HasCategory(category))
                continue;
            Values kept;
            for (const wstring& value : values)
                if (pManager->HasKeyword(Keyword(category, value)))
                    kept.insert(value);
            if (values.empty() || !kept.empty())
                m_criteria.emplace(category, std::move(kept));
        }
        return S_OK;
    });
}
} // namespace Quillmar::Library::Native
