// A filter over clips: keyword criteria (categories joined by AND, the values of one
// category by OR) and a free text that must stand in the clip's name, title, comment or
// keywords. Categories, values and the text compare ignoring case.
#pragma once

#include "qm/Library/CategoryManager.h"

struct ILibraryItemQuery : IUnknown
{
    // A null clip never matches; an empty query matches every other.
    virtual bool Match(ILibraryItem* pLibraryItem) = 0;
    virtual void Clear() = 0;
    virtual wstring get_SearchText() = 0;
    virtual void put_SearchText(const wstring& text) = 0;
    // An empty value makes the category one of any value.
    virtual void AddKeyword(const Keyword& keyword) = 0;
    // An empty value removes the category; removing its last value does too.
    virtual bool RemoveKeyword(const Keyword& keyword) = 0;
    virtual void RemoveCategory(const wstring& category) = 0;
    // With an empty value: the category is there as one of any value.
    virtual bool HasKeyword(const Keyword& keyword) = 0;
    virtual bool HasCategory(const wstring& category) = 0;
    virtual HRESULT Clone(ILibraryItemQuery** ppQuery) = 0;
    // False when oldCategory is unknown; onto an existing category, the old values go.
    virtual bool RenameCategory(const wstring& oldCategory, const wstring& newCategory) = 0;
    // Removes the categories and values that the manager does not know.
    virtual HRESULT PruneAgainstCategories(ICategoryManager* pManager) = 0;
};
QM_DECLARE_IID(ILibraryItemQuery, "{05BE0068-0B28-4288-ADB2-06C0C7F30CD8}")
