// The keywords of a clip or marker in memory: an ordered map from category to its
// values, with the flag that tells whether the item's CATEGORIES element lags behind.
// Categories are ordered and looked up ignoring case, and keep the spelling they were
// first added with; within a category the values keep their order of insertion and
// occur once, ignoring case. The item loads its XML before a writing operation; these
// members work on the map as it stands.
#pragma once

#include "qm/Platform/Text/CaseFolding.h"
#include "qm/Library/Keyword.h"
#include "qm/Library/KeywordValues.h"
#include "qm/Platform/Xml/XmlDom.h"

#include <cstdint>
#include <map>
#include <vector>

namespace Quillmar::Library::Native
{
class QM_API KeywordMap
{
public:
    using Values = KeywordValues;
    using Map = std::map<wstring, Values, qm::NoCaseLess>;

    // Reading: never fails, an unknown category gives an empty answer.
    std::vector<Keyword> get_Keywords() const;
    std::vector<wstring> get_Categories() const;
    std::vector<Keyword> GetKeywordsOfCategory(const wstring& category) const;
    std::uint64_t GetValueCount(const wstring& category) const;
    // GetValuesAsString cut to size with a terminator; dst is left alone for an empty text.
    HRESULT GetValuesIntoBuffer(const wstring& category, WCHAR* dst, size_t size) const;
    wstring GetValuesAsString(const wstring& category) const;
    wstring GetValueAt(const wstring& category, std::uint64_t index) const;
    wstring GetValueAtIndex(const wstring& category, std::uint64_t index) const;
    bool get_HasKeywords() const noexcept { return !m_keywords.empty(); }
    // Each keyword as (category, value), in the order of get_Keywords, without a copy.
    template <class Visit>
    void ForEachKeyword(Visit visit) const
    {
        for (const auto& entry : m_keywords)
            entry.second.ForEach([&](const wstring& value) { visit(entry.first, value); });
    }
    bool HasValues(const wstring& category) const;
    bool HasKeyword(const wstring& category, const wstring& value) const;
    bool HasCategory(const wstring& category) const;
    // For sorting items by the values of one category; a missing category or an empty
    // one on both sides gives 1.
    std::int32_t CompareCategory(const KeywordMap& other, const wstring& category) const;

    // Writing.
    HRESULT SetCategoryValues(const wstring& category, const std::vector<wstring>& values);
    HRESULT SetCategoryValue(wstring_view category, wstring_view value);
    HRESULT SetKeyword(const Keyword& keyword);
    HRESULT AddCategoryValues(const wstring& category, const std::vector<wstring>& values);
    // S_FALSE, and the flag untouched, when there is no such category.
    HRESULT RemoveCategory(const wstring& category);
    HRESULT ClearKeywords();
    // S_FALSE when either is empty. A value that is there moves to the end with the new
    // spelling.
    HRESULT AddCategoryValue(wstring_view category, wstring_view value);
    HRESULT AddKeyword(const Keyword& keyword);
    // An empty value removes the whole category. Marks the map dirty even when nothing
    // was there to remove.
    HRESULT RemoveKeyword(const Keyword& keyword);
    // An empty newCategory removes oldCategory. Renaming into a category that exists
    // keeps that entry and its values and appends the values it does not hold yet.
    HRESULT RenameCategory(const wstring& oldCategory, const wstring& newCategory);
    // The new value, if any, goes to the end of the old keyword's category.
    HRESULT ReplaceKeyword(const Keyword& oldKeyword, const Keyword& newKeyword);

    // Replaces the map by the CATEGORY elements under the item's CATEGORIES; S_FALSE when
    // there is no CATEGORIES. Leaves the map clean.
    HRESULT Read(IXMLDOMNode* itemNode);
    // Rewrites every CATEGORY element of the item from the map; S_FALSE when the map is
    // clean. On a failure the map stays dirty.
    HRESULT Flush(IXMLDOMNode* itemNode);

    bool IsDirty() const noexcept { return m_keywordsDirty; }

private:
    const Values* Find(wstring_view category) const;
    // Adds one value without touching the flag: the step that the adding operations
    // and Read share.
    HRESULT AddValue(wstring_view category, wstring_view value);
    HRESULT InsertCategory(wstring_view category, Values&& values);
    // False when there was no such category.
    bool Erase(wstring_view category);
    // One CATEGORY element; S_FALSE for one without a name or text.
    HRESULT ReadCategory(IXMLDOMNode* node);
    HRESULT WriteCategories(IXMLDOMNode* categories) const;

    Map m_keywords;
    bool m_keywordsDirty = false;
};
} // namespace Quillmar::Library::Native
