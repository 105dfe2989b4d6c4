#include "DataAccess/Library/LibraryItemCollection.h"

#include "Logging/QMLog.h"
#include "Runtime/Guarded.h"

#include <algorithm>
#include <limits>
#include <new>
#include <utility>

namespace Quillmar::Library::Native
{
namespace
{
constexpr std::uint32_t kNoIndex = 0xFFFFFFFF;

// The identity of an item as COM defines it; null for a null item.
ComPtr<IUnknown> IdentityOf(ILibraryItem* item)
{
    ComPtr<IUnknown> identity;
    if (item != nullptr && FAILED(item->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(identity.GetAddressOf()))))
        identity = item;
    return identity;
}

HRESULT AnswerIndex(size_t position, size_t count, std::uint32_t* pIndex)
{
    const bool found = position < count;
    if (pIndex != nullptr)
        *pIndex = found ? static_cast<std::uint32_t>(position) : kNoIndex;
    return found ? S_OK : S_FALSE;
}

HRESULT QueryEntry(ILibraryItem* item, REFIID iid, void** ppv)
{
    QMCheckCondition(ppv != 0, E_POINTER);
    *ppv = nullptr;
    return item != nullptr ? item->QueryInterface(iid, ppv) : E_NOINTERFACE;
}

// Out minus in with an unset point read as 0, never negative; sums saturate rather than wrap.
REFERENCE_TIME MarkerDuration(ILibraryItem* item)
{
    ComPtr<ILibraryItemMarker> marker;
    if (item == nullptr || FAILED(item->QueryInterface(IID_ILibraryItemMarker, reinterpret_cast<void**>(marker.GetAddressOf()))))
        return 0;
    REFERENCE_TIME in = 0;
    REFERENCE_TIME out = 0;
    if (FAILED(marker->get_CueIn(&in)))
        in = 0;
    if (FAILED(marker->get_CueOut(&out)))
        out = 0;
    if (out <= in)
        return 0;
    REFERENCE_TIME duration = 0;
    return __builtin_sub_overflow(out, in, &duration) ? std::numeric_limits<REFERENCE_TIME>::max() : duration;
}
} // namespace

CLibraryItemCollection::~CLibraryItemCollection()
{
    ReleaseAll();
}

HRESULT CLibraryItemCollection::get_Count(std::int32_t* pnCount)
{
    QMCheckCondition(pnCount != 0, E_POINTER);
    *pnCount = static_cast<std::int32_t>(m_items.size());
    return S_OK;
}

HRESULT CLibraryItemCollection::get_Item(std::int32_t n, ILibraryItem** ppItem)
{
    QMCheckCondition(ppItem != 0, E_POINTER);
    QMCheckCondition(n >= 0 && n < long(m_items.size()), E_INVALIDARG);
    *ppItem = m_items[n];
    if (*ppItem != nullptr)
        (*ppItem)->AddRef();
    return S_OK;
}

HRESULT CLibraryItemCollection::get_Enumerator(IUnknown** ppEnumerator)
{
    if (ppEnumerator != nullptr)
        *ppEnumerator = nullptr;
    return E_NOTIMPL;
}

HRESULT CLibraryItemCollection::Reserve(size_t extra)
{
    const size_t needed = m_items.size() + extra;
    if (needed <= m_items.capacity())
        return S_OK;
    return qm::Guarded([&] {
        m_items.reserve(std::max(needed, 2 * m_items.capacity()));
        return S_OK;
    });
}

HRESULT CLibraryItemCollection::Append(std::span<ILibraryItem* const> items)
{
    QMCheckHRESULT(Reserve(items.size()));
    for (ILibraryItem* item : items)
    {
        if (item != nullptr)
            item->AddRef();
        m_items.push_back(item);
    }
    return S_OK;
}

HRESULT CLibraryItemCollection::AddUnique(ILibraryItemCollection* pOther, std::int32_t* pAdded)
{
    if (pAdded != nullptr)
        *pAdded = 0;
    std::int32_t count = 0;
    if (pOther != nullptr)
        QMCheckHRESULT(pOther->get_Count(&count));

    // Only the entries already here are searched: a duplicate inside the other goes in twice.
    std::vector<ComPtr<ILibraryItem>> added;
    for (std::int32_t i = 0; i < count; ++i)
    {
        ComPtr<ILibraryItem> item;
        QMCheckHRESULT(pOther->get_Item(i, item.GetAddressOf()));
        if (FindSameObject(item.Get()) == m_items.size())
            added.push_back(std::move(item));
    }

    QMCheckHRESULT(Reserve(added.size()));
    for (ComPtr<ILibraryItem>& item : added)
        m_items.push_back(item.Detach());
    if (pAdded != nullptr)
        *pAdded = static_cast<std::int32_t>(added.size());
    return S_OK;
}

size_t CLibraryItemCollection::RemoveAll(ILibraryItem* item)
{
    const auto removed = std::remove(m_items.begin(), m_items.end(), item);
    const size_t count = static_cast<size_t>(m_items.end() - removed);
    m_items.erase(removed, m_items.end());
    // Released only once the list is consistent again, in case a release ends up here.
    for (size_t i = 0; item != nullptr && i < count; ++i)
        item->Release();
    return count;
}

HRESULT CLibraryItemCollection::Remove(ILibraryItem* item)
{
    return RemoveAll(item) != 0 ? S_OK : S_FALSE;
}

void CLibraryItemCollection::ReleaseAll()
{
    std::vector<ILibraryItem*> items;
    items.swap(m_items);
    for (ILibraryItem* item : items)
    {
        if (item != nullptr)
            item->Release();
    }
}

HRESULT CLibraryItemCollection::Clear()
{
    ReleaseAll();
    return S_OK;
}

size_t CLibraryItemCollection::FindSameObject(ILibraryItem* item) const
{
    const ComPtr<IUnknown> identity = IdentityOf(item);
    const auto found = std::find_if(m_items.begin(), m_items.end(), [&](ILibraryItem* entry) {
        return entry == item || IdentityOf(entry) == identity;
    });
    return static_cast<size_t>(found - m_items.begin());
}

HRESULT CLibraryItemCollection::Contains(ILibraryItem* item)
{
    return FindSameObject(item) < m_items.size() ? S_OK : S_FALSE;
}

HRESULT CLibraryItemCollection::Clone(ILibraryItemCollection** ppInstance)
{
    QMCheckCondition(ppInstance != nullptr, E_POINTER);
    return CreateLibraryItemCollection(m_items, ppInstance);
}

bool CLibraryItemCollection::AnyReadOnly()
{
    return std::any_of(m_items.begin(), m_items.end(),
                       [](ILibraryItem* item) { return item != nullptr && item->get_IsReadOnly(); });
}

HRESULT CLibraryItemCollection::ChangeAll(const ItemChange& change, bool save, bool saveUnchanged)
{
    for (ILibraryItem* item : m_items)
    {
        if (item == nullptr)
            continue;
        const HRESULT hr = change(item);
        QMCheckHRESULT(hr);
        if (save && (hr == S_OK || saveUnchanged))
            QMCheckHRESULT(item->Save());
    }
    return S_OK;
}

HRESULT CLibraryItemCollection::RemoveKeywordOnAll(const Keyword& keyword, bool save)
{
    return ChangeAll([&](ILibraryItem* item) { return item->RemoveKeyword(keyword); }, save, true);
}

HRESULT CLibraryItemCollection::RenameCategoryOnAll(const wstring& oldCategory, const wstring& newCategory, bool save)
{
    QMCheckCondition(!oldCategory.empty(), E_INVALIDARG);
    return ChangeAll([&](ILibraryItem* item) { return item->RenameCategory(oldCategory, newCategory); }, save, false);
}

HRESULT CLibraryItemCollection::ReplaceKeywordOnAll(const Keyword& oldKeyword, const Keyword& newKeyword, bool save)
{
    return ChangeAll([&](ILibraryItem* item) { return item->ReplaceKeyword(oldKeyword, newKeyword); }, save, false);
}

HRESULT CLibraryItemCollection::Replace(ILibraryItem* pItem)
{
    const size_t position = FindSameObject(pItem);
    if (position == m_items.size())
        return S_FALSE;
    if (pItem != nullptr)
        pItem->AddRef();
    ILibraryItem* previous = std::exchange(m_items[position], pItem);
    if (previous != nullptr)
        previous->Release();
    return S_OK;
}

HRESULT CLibraryItemCollection::RemoveCollection(ILibraryItemCollection* pLibraryItemCollection)
{
    QMCheckCondition(pLibraryItemCollection != 0, E_INVALIDARG);
    // Held for the walk: the other may be this collection, whose entries go as we remove them.
    const std::vector<ILibraryItem*>& others = pLibraryItemCollection->get_Items();
    const std::vector<ComPtr<ILibraryItem>> items(others.begin(), others.end());
    for (const ComPtr<ILibraryItem>& item : items)
    {
        if (RemoveAll(item.Get()) == 0)
        {
            QMLogMessage(1, u"Attempting to remove an inexistant item from the collection.");
            return E_FAIL;
        }
    }
    return S_OK;
}

HRESULT CLibraryItemCollection::IndexOf(ILibraryItem* item, std::uint32_t* pIndex)
{
    return AnswerIndex(FindSameObject(item), m_items.size(), pIndex);
}

HRESULT CLibraryItemCollection::IndexOfId(LPCWSTR id, std::uint32_t* pIndex)
{
    if (id == nullptr)
        return AnswerIndex(m_items.size(), m_items.size(), pIndex);
    const wstring_view wanted(id);
    const auto found = std::find_if(m_items.begin(), m_items.end(),
                                    [&](ILibraryItem* item) { return item != nullptr && item->HasId(wanted); });
    return AnswerIndex(static_cast<size_t>(found - m_items.begin()), m_items.size(), pIndex);
}

HRESULT CLibraryItemCollection::GetItemAs(std::int32_t index, REFIID iid, void** ppv)
{
    QMCheckCondition(index >= 0 && index < long(m_items.size()), E_INVALIDARG);
    return QueryEntry(m_items[index], iid, ppv);
}

HRESULT CLibraryItemCollection::SaveAll()
{
    for (ILibraryItem* item : m_items)
    {
        if (item != nullptr)
            QMCheckHRESULT(item->Save());
    }
    return S_OK;
}

HRESULT CLibraryItemCollection::QueryFirst(REFIID iid, void** ppv)
{
    if (m_items.empty())
    {
        if (ppv != nullptr)
            *ppv = nullptr;
        return S_FALSE;
    }
    return QueryEntry(m_items.front(), iid, ppv);
}

REFERENCE_TIME CLibraryItemCollection::get_TotalDuration()
{
    REFERENCE_TIME total = 0;
    for (ILibraryItem* item : m_items)
    {
        if (__builtin_add_overflow(total, MarkerDuration(item), &total))
            return std::numeric_limits<REFERENCE_TIME>::max();
    }
    return total;
}

HRESULT CreateLibraryItemCollection(const std::vector<ILibraryItem*>& items, ILibraryItemCollection** ppInstance)
{
    QMCheckCondition(ppInstance != 0, E_POINTER);
    *ppInstance = nullptr;
    auto collection = qm::MakeObject<CLibraryItemCollection>();
    QMCheckCondition(collection, E_OUTOFMEMORY);
    QMCheckHRESULT(collection->AddRange(items));
    *ppInstance = collection.Detach();
    return S_OK;
}
} // namespace Quillmar::Library::Native
