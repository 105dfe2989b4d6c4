// An ordered list of items that owns its references and allows duplicates, with batch
// forms of the keyword operations.
#pragma once

#include "qm/Library/LibraryItem.h"

struct ILibraryItemCollection : IUnknown
{
    virtual HRESULT get_Count(std::int32_t* pnCount) = 0;
    virtual HRESULT get_Item(std::int32_t n, ILibraryItem** ppItem) = 0;
    virtual HRESULT get_Enumerator(IUnknown** ppEnumerator) = 0;
    virtual HRESULT AddRange(const std::vector<ILibraryItem*>& items) = 0;
    virtual HRESULT Add(ILibraryItem* item) = 0;
    // Adds the items of the other that are not here yet; *pAdded counts them.
    virtual HRESULT AddUnique(ILibraryItemCollection* pOther, std::int32_t* pAdded) = 0;
    // Removes every entry with that pointer; S_FALSE when there was none.
    virtual HRESULT Remove(ILibraryItem* item) = 0;
    virtual HRESULT Clear() = 0;
    virtual HRESULT Contains(ILibraryItem* item) = 0;
    virtual HRESULT Clone(ILibraryItemCollection** ppInstance) = 0;
    virtual bool AnyReadOnly() = 0;
    virtual HRESULT RemoveKeywordOnAll(const Keyword& keyword, bool save) = 0;
    virtual HRESULT RenameCategoryOnAll(const wstring& oldCategory, const wstring& newCategory, bool save) = 0;
    virtual HRESULT ReplaceKeywordOnAll(const Keyword& oldKeyword, const Keyword& newKeyword, bool save) = 0;
    virtual HRESULT Replace(ILibraryItem* pItem) = 0;
    virtual HRESULT RemoveCollection(ILibraryItemCollection* pLibraryItemCollection) = 0;
    // 0xFFFFFFFF in *pIndex and S_FALSE when the item is not there.
    virtual HRESULT IndexOf(ILibraryItem* item, std::uint32_t* pIndex) = 0;
    virtual HRESULT IndexOfId(LPCWSTR id, std::uint32_t* pIndex) = 0;
    // The index must be in range.
    virtual HRESULT GetItemAs(std::int32_t index, REFIID iid, void** ppv) = 0;
    virtual HRESULT SaveAll() = 0;
    virtual HRESULT QueryFirst(REFIID iid, void** ppv) = 0;
    virtual REFERENCE_TIME get_TotalDuration() = 0;
    // Valid while the collection is not changed.
    virtual const std::vector<ILibraryItem*>& get_Items() = 0;
};
QM_DECLARE_IID(ILibraryItemCollection, "{FCA4BC6A-A8D4-45BF-ABDB-68155D6FEA9A}")
