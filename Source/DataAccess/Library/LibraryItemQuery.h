// The query: keyword criteria and a free text, matched against one clip at a time.
#pragma once

#include "qm/Library/LibraryItemQuery.h"
#include "qm/Platform/Com/ObjectRoot.h"
#include "qm/Platform/Text/CaseFolding.h"

#include <map>
#include <set>

namespace Quillmar::Library::Native
{
class CLibraryItemQuery final : public Standard::CComObjectRootEx<Standard::CComMultiThreadModel>,
                                public ILibraryItemQuery,
                                public Standard::AllocatedResource<CLibraryItemQuery>
{
public:
    QM_IUNKNOWN_IMPL(CLibraryItemQuery, ILibraryItemQuery)

    bool Match(ILibraryItem* pLibraryItem) override;
    void Clear() override;
    wstring get_SearchText() override { return m_searchText; }
    void put_SearchText(const wstring& text) override;
    void AddKeyword(const Keyword& keyword) override;
    bool RemoveKeyword(const Keyword& keyword) override;
    void RemoveCategory(const wstring& category) override;
    bool HasKeyword(const Keyword& keyword) override;
    bool HasCategory(const wstring& category) override;
    HRESULT Clone(ILibraryItemQuery** ppQuery) override;
    bool RenameCategory(const wstring& oldCategory, const wstring& newCategory) override;
    HRESULT PruneAgainstCategories(ICategoryManager* pManager) override;

private:
    using Values = std::set<wstring, qm::NoCaseLess>;
    using Criteria = std::map<wstring, Values, qm::NoCaseLess>;

    using KeywordRef = std::pair<const wstring*, const wstring*>;

    // The clip's keywords into m_keywords: in place for a clip of this library, else
    // through a copy its interface gives.
    void CollectKeywords(ILibraryItem* item) const;
    bool MatchesCriteria() const;
    bool MatchesText(ILibraryItem* item) const;
    // The text, folded into a reused buffer, holds the folded search text.
    bool Contains(wstring_view text) const;

    wstring m_searchText;
    wstring m_searchTextFolded;
    Criteria m_criteria;
    // Reused from clip to clip, so that a match over a library allocates little.
    mutable wstring m_foldBuffer;
    mutable std::vector<KeywordRef> m_keywords;
    mutable std::vector<Keyword> m_keywordCopy;
};
} // namespace Quillmar::Library::Native
