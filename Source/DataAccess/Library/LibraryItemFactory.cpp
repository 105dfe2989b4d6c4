#include "DataAccess/Library/LibraryItemFactory.h"

#include "DataAccess/Library/DeviceTrack.h"
#include "DataAccess/Library/ItemKinds.h"
#include "DataAccess/Library/LibraryItemCollection.h"
#include "DataAccess/Library/LibraryItemQuery.h"
#include "DataAccess/Library/LibraryRepository.h"
#include "DataAccess/Library/MDExtensionFactory.h"
#include "DataAccess/Library/ShellItemAccess.h"
#include "DataAccess/Library/SourceCache.h"
#include "DataAccess/Library/ValueList.h"
#include "DataAccess/Library/XMLLibraryParser.h"
#include "Logging/QMLog.h"
#include "Runtime/Guarded.h"
#include "Platform/Kernel/FileSystem.h"
#include "Platform/Kernel/Path.h"
#include "qm/LibrarySettings.h"
#include "qm/Platform/Com/CoTaskMem.h"
#include "qm/Platform/Kernel/Time.h"

#include <algorithm>

namespace Quillmar::Library::Native
{
namespace
{
constexpr HRESULT kFileNotFound = HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);

// The element of the clip a node stands for: the node itself, or for a marker its clip's.
// Its FILE_NAME is the one the clip writes into its own node from the path it was opened
// with; a marker holds none.
ComPtr<IXMLDOMNode> ClipElementOf(IXMLDOMNode* node)
{
    ComPtr<IXMLDOMNode> element(node);
    ComPtr<IXMLDOMNode> parent;
    if (!CLibraryItem::IsRootNode(node) && node->get_parentNode(parent.GetAddressOf()) == S_OK && parent)
        element = parent;
    return element;
}
} // namespace

// The cache

ILibraryItem* CLibraryItemFactory::FindCached(const wstring& path) const
{
    const auto it = m_cacheIndex.find(path);
    return it == m_cacheIndex.end() ? nullptr : it->second;
}

void CLibraryItemFactory::AppendCached(const wstring& path, ILibraryItem* item)
{
    m_cache.push_back({path, ComPtr<ILibraryItem>(item)});
    m_cacheIndex[path] = item;
}

void CLibraryItemFactory::EraseCached(const wstring& path)
{
    std::erase_if(m_cache, [&](const CacheEntry& entry) { return entry.path == path; });
    m_cacheIndex.erase(path);
}

void CLibraryItemFactory::RekeyCached(const wstring& oldPath, const wstring& newPath)
{
    const auto entry = std::find_if(m_cache.begin(), m_cache.end(), [&](const CacheEntry& e) { return e.path == oldPath; });
    if (entry == m_cache.end())
        return;
    entry->path = newPath;
    m_cacheIndex.erase(oldPath);
    m_cacheIndex[newPath] = entry->item.Get();
}

// Set-up

HRESULT CLibraryItemFactory::Initialize(ISourceCache*, Standard::ICultureInfo* culture)
{
    // The cache is taken once the media engine can be bound; until then clips have no
    // cache entries, whatever the host hands in.
    g_sourceCache.Reset();
    SetCulture(culture);
    return S_OK;
}

HRESULT CLibraryItemFactory::Terminate()
{
    SetCulture(nullptr);
    g_sourceCache.Reset();
    std::vector<CacheEntry> released;
    {
        Standard::ScopedLock lock(m_cacheLock);
        released.swap(m_cache);
        m_cacheIndex.clear();
    }
    return S_OK;
}

// Items

HRESULT CLibraryItemFactory::CreateLibraryItem(ILibraryItem** pp)
{
    QMCheckCondition(pp != nullptr, E_POINTER);
    ComPtr<CLibraryItem> item;
    QMCheckHRESULT(CLibraryItem::Create(false, ItemKindUnknown, item));
    *pp = static_cast<ILibraryItem*>(item.Detach());
    return S_OK;
}

HRESULT CLibraryItemFactory::GetLibraryItem(LPCWSTR path, ILibraryItem** pp) { return GetLibraryItemEx(path, true, pp); }

HRESULT CLibraryItemFactory::LoadNewItem(const wstring& path, bool load, ComPtr<ILibraryItem>& result)
{
    ComPtr<CLibraryItem> item;
    QMCheckHRESULT(CLibraryItem::CreateLoaded(path, item));
    if (!load)
        QMCheckHRESULT(item->UnloadNode());
    result = static_cast<ILibraryItem*>(item.Get());
    return S_OK;
}

HRESULT CLibraryItemFactory::RefreshCachedItem(const wstring& path, bool load, ILibraryItem* item)
{
    qm::FileAttributes sidecar;
    if (FAILED(qm::FileSystem().GetAttributes(SidecarPathOf(path), sidecar, false)))
        return S_OK;
    const ComPtr<CLibraryItem> libraryItemPrivate = CLibraryItem::From(item);
    QMCheckCondition(libraryItemPrivate, E_NOINTERFACE);
    // The whole stamp: a change within the second of the last read, or one that kept the
    // time, is another program's as much as any.
    const bool changed = sidecar.stamp != libraryItemPrivate->get_SidecarStamp();
    if (!changed && !load)
        return S_OK;
    if (changed)
    {
        if (load)
            QMLog(3, u"Force loading QUILCLIP for file '%s'", path.c_str());
        // Refused, and the item kept as it is, when it has unsaved changes.
        QMCheckHRESULT(libraryItemPrivate->UnloadNode());
    }
    if (load)
        QMCheckHRESULT(libraryItemPrivate->EnsureLoaded());
    return S_OK;
}

HRESULT CLibraryItemFactory::GetLibraryItemEx(LPCWSTR pathText, bool load, ILibraryItem** ppLibraryItem)
{
    return qm::Guarded([&] { return GetLibraryItemExUnguarded(pathText, load, ppLibraryItem); });
}

HRESULT CLibraryItemFactory::GetLibraryItemExUnguarded(LPCWSTR pathText, bool load, ILibraryItem** ppLibraryItem)
{
    QMCheckCondition(ppLibraryItem != 0, E_POINTER);
    *ppLibraryItem = nullptr;
    const wstring path = pathText ? wstring(pathText) : wstring();
    Standard::ScopedLock lock(m_cacheLock);
    if (ILibraryItem* cached = FindCached(path))
    {
        QMCheckHRESULT(RefreshCachedItem(path, load, cached));
        cached->AddRef();
        *ppLibraryItem = cached;
        return S_OK;
    }
    if (!PathFileExistsW(path))
    {
        QMLog(1, u"File not found '%s'", path.c_str());
        return kFileNotFound;
    }
    ComPtr<ILibraryItem> item;
    QMCheckHRESULT(LoadNewItem(path, load, item));
    AppendCached(path, item.Get());
    *ppLibraryItem = item.Detach();
    return S_OK;
}

HRESULT CLibraryItemFactory::GetLibraryItemFromNode(IXMLDOMNode* node, ILibraryItem** pp)
{
    return qm::Guarded([&] { return GetLibraryItemFromNodeUnguarded(node, pp); });
}

HRESULT CLibraryItemFactory::GetLibraryItemFromNodeUnguarded(IXMLDOMNode* node, ILibraryItem** pp)
{
    QMCheckCondition(node != nullptr, E_INVALIDARG);
    QMCheckCondition(pp != nullptr, E_POINTER);
    *pp = nullptr;
    wstring path;
    QMCheckHRESULT(ReadElementText(ClipElementOf(node).Get(), u"FILE_NAME", path));
    if (!PathFileExistsW(path))
        return kFileNotFound;
    return GetLibraryItemEx(path.c_str(), true, pp);
}

std::int32_t CLibraryItemFactory::GetItemKindOfPath(LPCWSTR path)
{
    return ItemKindOfPath(path ? wstring_view(path) : wstring_view());
}

std::int32_t CLibraryItemFactory::GetItemKindOfExtension(LPCWSTR extension)
{
    return ItemKindOfExtension(extension ? wstring_view(extension) : wstring_view());
}

HRESULT CLibraryItemFactory::GetLibraryItemFromShellItem(IShellItem* psiItem, ILibraryItem** ppLibraryItem,
                                                         std::int32_t kind)
{
    return qm::Guarded([&] { return GetLibraryItemFromShellItemUnguarded(psiItem, ppLibraryItem, kind); });
}

HRESULT CLibraryItemFactory::GetLibraryItemFromShellItemUnguarded(IShellItem* psiItem, ILibraryItem** ppLibraryItem, std::int32_t kind)
{
    QMCheckCondition(psiItem != nullptr, E_INVALIDARG);
    QMCheckCondition(ppLibraryItem != nullptr, E_POINTER);
    *ppLibraryItem = nullptr;
    wstring path;
    QMCheckHRESULT(DisplayName(psiItem, SIGDN_DESKTOPABSOLUTEPARSING, path));
    if (kind != ItemKindUnknown && ItemKindOfPath(path) != kind)
        return S_FALSE;
    return GetLibraryItem(path.c_str(), ppLibraryItem);
}

HRESULT CLibraryItemFactory::GetItemsFromShellItems(IShellItemArray* items, ILibraryItemCollection** pp,
                                                    std::int32_t kind)
{
    return qm::Guarded([&] { return GetItemsFromShellItemsUnguarded(items, pp, kind); });
}

HRESULT CLibraryItemFactory::GetItemsFromShellItemsUnguarded(IShellItemArray* items, ILibraryItemCollection** pp, std::int32_t kind)
{
    QMCheckCondition(pp != nullptr, E_POINTER);
    *pp = nullptr;
    std::vector<ComPtr<ILibraryItem>> found;
    DWORD count = 0;
    if (items)
        QMCheckHRESULT(items->GetCount(&count));
    for (DWORD i = 0; i < count; ++i)
    {
        ComPtr<IShellItem> shellItem;
        QMCheckHRESULT(items->GetItemAt(i, shellItem.GetAddressOf()));
        ComPtr<ILibraryItem> item;
        QMCheckHRESULT(GetLibraryItemFromShellItem(shellItem.Get(), item.GetAddressOf(), kind));
        if (item)
            found.push_back(std::move(item));
    }
    std::vector<ILibraryItem*> raw;
    for (const auto& item : found)
        raw.push_back(item.Get());
    return CreateLibraryItemCollection(raw, pp);
}

HRESULT CLibraryItemFactory::RemoveFromCache(const wstring& path, bool flush)
{
    Standard::ScopedLock lock(m_cacheLock);
    ILibraryItem* item = FindCached(path);
    if (item == nullptr)
        return S_OK;
    // The item's index clean-up needs the source cache.
    if (g_sourceCache)
    {
        ComPtr<ILibraryItemNT> libraryItemNT;
        item->QueryInterface(IID_ILibraryItemNT, reinterpret_cast<void**>(libraryItemNT.GetAddressOf()));
        if (libraryItemNT)
            QMCheckHRESULT(libraryItemNT->RemoveFromSourceCache(flush));
    }
    std::erase_if(m_documents, [&](const ComPtr<IDocument>& document) { return document->IsPrimaryItem(item); });
    EraseCached(path);
    return S_OK;
}

HRESULT CLibraryItemFactory::CreateNewItemFile(const wstring& path, ILibraryItem** pp)
{
    QMCheckCondition(pp != nullptr, E_POINTER);
    *pp = nullptr;
    EraseCached(path);
    std::erase_if(m_documents, [&](const ComPtr<IDocument>& document) { return document->IsPrimaryPath(path); });
    wstring folder = path;
    PathRemoveFileSpecW(folder);
    QMCheckHRESULT(qm::FileSystem().CreateFolders(folder));
    ComPtr<ILibraryItem> item;
    QMCheckHRESULT(CreateLibraryItem(item.GetAddressOf()));
    QMCheckHRESULT(item->put_MediaPath(path, false));
    QMCheckHRESULT(item->Save());
    QMCheckHRESULT(GetLibraryItemEx(path.c_str(), true, pp));
    return S_OK;
}

// Collections, extensions, tracks and values

HRESULT CLibraryItemFactory::CreateCollectionFrom(const std::vector<ILibraryItem*>& items, ILibraryItemCollection** pp)
{
    QMCheckCondition(pp != 0, E_POINTER);
    return CreateLibraryItemCollection(items, pp);
}

HRESULT CLibraryItemFactory::CreateCollection(ILibraryItemCollection** pp) { return CreateCollectionFrom({}, pp); }

HRESULT CLibraryItemFactory::CreateExtensionObject(REFGUID type, REFIID iid, void** ppv)
{
    QMCheckCondition(ppv != nullptr, E_POINTER);
    *ppv = nullptr;
    ComPtr<IMDExtension> extension;
    QMCheckHRESULT(MDExtensionFactory::CreateExtension(type, extension.GetAddressOf()));
    return extension->QueryInterface(iid, ppv);
}

HRESULT CLibraryItemFactory::CreateDeviceTrack(IDeviceTrack** pp)
{
    QMCheckCondition(pp != nullptr, E_POINTER);
    return qm::CreateObject<DeviceTrack>(pp);
}

std::vector<wstring> CLibraryItemFactory::ParseValueList(LPCWSTR text)
{
    return Native::ParseValueList(text ? wstring_view(text) : wstring_view());
}

// The media engine's cache

HRESULT CLibraryItemFactory::ReleaseIndexes()
{
    if (!g_sourceCache)
        return S_OK;
    {
        Standard::ScopedLock lock(m_cacheLock);
        for (const CacheEntry& entry : m_cache)
        {
            ComPtr<ILibraryItemNT> item;
            if (SUCCEEDED(entry.item->QueryInterface(IID_ILibraryItemNT, reinterpret_cast<void**>(item.GetAddressOf()))))
                QMLogHRESULT(item->RemoveFromSourceCache(false));
        }
    }
    QMLogHRESULT(g_sourceCache->Purge());
    QMLogHRESULT(g_sourceCache->Flush(0));
    return S_OK;
}

HRESULT CLibraryItemFactory::StopIndexing() { return g_sourceCache ? g_sourceCache->StopIndexing() : S_OK; }

HRESULT CLibraryItemFactory::RemoveItemFromSourceCache(ILibraryItem*) { return E_NOTIMPL; }

HRESULT CLibraryItemFactory::RemoveItemsFromSourceCache(const std::vector<ILibraryItem*>&) { return E_NOTIMPL; }

HRESULT CLibraryItemFactory::GetIndexFilePath(LPCWSTR mediaPath, WCHAR* dst, size_t size)
{
    return qm::Guarded([&] { return GetIndexFilePathUnguarded(mediaPath, dst, size); });
}

HRESULT CLibraryItemFactory::GetIndexFilePathUnguarded(LPCWSTR mediaPath, WCHAR* dst, size_t size)
{
    QMCheckCondition(mediaPath != nullptr, E_INVALIDARG);
    QMCheckCondition(dst != nullptr, E_POINTER);
    if (!LibrarySettings::SaveMPEGIndexAsSideCarFile())
    {
        QMCheckCondition(g_sourceCache, E_UNEXPECTED);
        wstring path;
        QMCheckHRESULT(g_sourceCache->GetFileInCache(mediaPath, u".qmidx", &path));
        QMCheckCondition(path.size() < size, HRESULT_FROM_WIN32(ERROR_INSUFFICIENT_BUFFER));
        std::copy(path.begin(), path.end(), dst);
        dst[path.size()] = 0;
        return S_OK;
    }
    const wstring path = wstring(mediaPath) + u".qmidx";
    QMCheckCondition(path.size() < size, HRESULT_FROM_WIN32(ERROR_INSUFFICIENT_BUFFER));
    std::copy(path.begin(), path.end(), dst);
    dst[path.size()] = 0;
    return S_OK;
}

// What later parts of the library make

HRESULT CLibraryItemFactory::CreateRepository(ILibraryRepository** pp)
{
    QMCheckCondition(pp != nullptr, E_POINTER);
    return qm::CreateObject<CLibraryRepository>(pp, static_cast<ILibraryItemFactory*>(this));
}
HRESULT CLibraryItemFactory::CreateQuery(ILibraryItemQuery** pp)
{
    QMCheckCondition(pp != nullptr, E_POINTER);
    return qm::CreateObject<CLibraryItemQuery>(pp);
}
HRESULT CLibraryItemFactory::CreateDocumentObject(LPCWSTR, IDocument**) { return E_NOTIMPL; }
HRESULT CLibraryItemFactory::GetDocument(ILibraryItem*, IDocument**) { return E_NOTIMPL; }
HRESULT CLibraryItemFactory::GetDocumentFromShellItem(IShellItem*, IDocument**) { return E_NOTIMPL; }
HRESULT CLibraryItemFactory::GetDocumentFromPath(LPCWSTR, IDocument**) { return E_NOTIMPL; }
HRESULT CLibraryItemFactory::DeleteDocument(IDocument*, bool, bool, std::vector<ILibraryItem*>&) { return E_NOTIMPL; }
} // namespace Quillmar::Library::Native

HRESULT CreateLibraryItemFactory(ILibraryItemFactory** pp)
{
    auto* factory = new (std::nothrow) Quillmar::Library::Native::CLibraryItemFactory();
    *pp = factory;
    return factory ? S_OK : E_OUTOFMEMORY;
}
