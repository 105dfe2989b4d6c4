// The list of items the model hands around: a repository's content, a query's result, the
// host's selection. It keeps order, allows duplicates (and a null the caller added), owns
// one reference per non-null entry, and does not watch its items.
#pragma once

#include "qm/Library/LibraryItemCollection.h"
#include "qm/Platform/Com/ObjectRoot.h"

#include <functional>
#include <span>
#include <vector>

namespace Quillmar::Library::Native
{
class CLibraryItemCollection final : public Standard::CComObjectRootEx<Standard::CComMultiThreadModel>,
                                     public ILibraryItemCollection,
                                     public Standard::AllocatedResource<CLibraryItemCollection>
{
public:
    CLibraryItemCollection() = default;
    ~CLibraryItemCollection();

    QM_IUNKNOWN_IMPL(CLibraryItemCollection, ILibraryItemCollection)

    HRESULT get_Count(std::int32_t* pnCount) override;
    HRESULT get_Item(std::int32_t n, ILibraryItem** ppItem) override;
    HRESULT get_Enumerator(IUnknown** ppEnumerator) override;
    HRESULT AddRange(const std::vector<ILibraryItem*>& items) override { return Append(items); }
    HRESULT Add(ILibraryItem* item) override { return Append({&item, 1}); }
    HRESULT AddUnique(ILibraryItemCollection* pOther, std::int32_t* pAdded) override;
    HRESULT Remove(ILibraryItem* item) override;
    HRESULT Clear() override;
    HRESULT Contains(ILibraryItem* item) override;
    HRESULT Clone(ILibraryItemCollection** ppInstance) override;
    bool AnyReadOnly() override;
    HRESULT RemoveKeywordOnAll(const Keyword& keyword, bool save) override;
    HRESULT RenameCategoryOnAll(const wstring& oldCategory, const wstring& newCategory, bool save) override;
    HRESULT ReplaceKeywordOnAll(const Keyword& oldKeyword, const Keyword& newKeyword, bool save) override;
    HRESULT Replace(ILibraryItem* pItem) override;
    HRESULT RemoveCollection(ILibraryItemCollection* pLibraryItemCollection) override;
    HRESULT IndexOf(ILibraryItem* item, std::uint32_t* pIndex) override;
    HRESULT IndexOfId(LPCWSTR id, std::uint32_t* pIndex) override;
    HRESULT GetItemAs(std::int32_t index, REFIID iid, void** ppv) override;
    HRESULT SaveAll() override;
    HRESULT QueryFirst(REFIID iid, void** ppv) override;
    REFERENCE_TIME get_TotalDuration() override;
    const std::vector<ILibraryItem*>& get_Items() override { return m_items; }

private:
    using ItemChange = std::function<HRESULT(ILibraryItem*)>;

    // Makes room for more entries up front, so that adding them cannot fail half-way.
    HRESULT Reserve(size_t extra);
    HRESULT Append(std::span<ILibraryItem* const> items);
    // Removes every entry with that pointer and gives how many there were.
    size_t RemoveAll(ILibraryItem* item);
    void ReleaseAll();
    // The position of the first entry that is the same object as item; size() for none.
    size_t FindSameObject(ILibraryItem* item) const;
    // Applies a change to each entry in order and saves it; stops at the first failure.
    HRESULT ChangeAll(const ItemChange& change, bool save, bool saveUnchanged);

    std::vector<ILibraryItem*> m_items;
};

// A new collection holding the items, each with a reference of its own.
HRESULT CreateLibraryItemCollection(const std::vector<ILibraryItem*>& items, ILibraryItemCollection** ppInstance);
} // namespace Quillmar::Library::Native
