// The root object of the library. It keeps one live item per exact media path for as
// long as it lives, reads sidecars under its cache lock, picks up sidecars that another
// program rewrote, and deletes and renames clips with their side files through the
// shell's file operation.
#pragma once

#include "DataAccess/Library/CultureInfoAware.h"
#include "qm/Runtime/CriticalSection.h"
#include "qm/Library/CLibraryItem.h"
#include "qm/Library/LibraryItemFactory.h"

#include <unordered_map>

namespace Quillmar::Library::Native
{
class CLibraryItemFactory final : public Standard::CComObjectRootEx<Standard::CComMultiThreadModel>,
                            public ILibraryItemFactory,
                            public IFileOperationProgressSink,
                            public ILibraryItemFactoryEx,
                            public Standard::CultureInfoAware<CLibraryItemFactory, 1>,
                            public Standard::AllocatedResource<CLibraryItemFactory>
{
public:
    QM_IUNKNOWN_IMPL(CLibraryItemFactory, ILibraryItemFactory, IFileOperationProgressSink, ILibraryItemFactoryEx)

    CLibraryItemFactory() = default;

    // ILibraryItemFactoryEx
    HRESULT Initialize(ISourceCache* sourceCache, Standard::ICultureInfo* culture) override;
    HRESULT Terminate() override;

    // ILibraryItemFactory
    HRESULT CreateLibraryItem(ILibraryItem** pp) override;
    HRESULT GetLibraryItem(LPCWSTR path, ILibraryItem** pp) override;
    HRESULT GetLibraryItemEx(LPCWSTR path, bool load, ILibraryItem** ppLibraryItem) override;
    HRESULT GetLibraryItemFromNode(IXMLDOMNode* node, ILibraryItem** pp) override;
    std::int32_t GetItemKindOfPath(LPCWSTR path) override;
    std::int32_t GetItemKindOfExtension(LPCWSTR extension) override;
    HRESULT CreateRepository(ILibraryRepository** pp) override;
    HRESULT CreateCollectionFrom(const std::vector<ILibraryItem*>& items, ILibraryItemCollection** pp) override;
    HRESULT CreateCollection(ILibraryItemCollection** pp) override;
    HRESULT CreateExtensionObject(REFGUID type, REFIID iid, void** ppv) override;
    HRESULT ReleaseIndexes() override;
    HRESULT StopIndexing() override;
    HRESULT RemoveItemFromSourceCache(ILibraryItem* item) override;
    HRESULT RemoveItemsFromSourceCache(const std::vector<ILibraryItem*>& items) override;
    HRESULT DeleteItem(ILibraryItem* item, bool allowUndo) override;
    HRESULT RenameItem(ILibraryItem* pLibraryItem, LPCWSTR newName) override;
    HRESULT DeleteItems(const std::vector<ILibraryItem*>& items, bool allowUndo,
                        std::vector<ILibraryItem*>& deleted) override;
    HRESULT RemoveFromCache(const wstring& path, bool flush) override;
    HRESULT GetIndexFilePath(LPCWSTR mediaPath, WCHAR* dst, size_t size) override;
    HRESULT GetItemsFromShellItems(IShellItemArray* items, ILibraryItemCollection** pp, std::int32_t kind) override;
    HRESULT GetLibraryItemFromShellItem(IShellItem* psiItem, ILibraryItem** ppLibraryItem, std::int32_t kind) override;
    HRESULT CreateDocumentObject(LPCWSTR title, IDocument** pp) override;
    HRESULT GetDocument(ILibraryItem* pLibraryItem, IDocument** ppDocument) override;
    HRESULT GetDocumentFromShellItem(IShellItem* item, IDocument** pp) override;
    HRESULT GetDocumentFromPath(LPCWSTR path, IDocument** pp) override;
    HRESULT DeleteDocument(IDocument* pDocument, bool allowUndo, bool removeFolder,
                           std::vector<ILibraryItem*>& deleted) override;
    HRESULT CreateDeviceTrack(IDeviceTrack** pp) override;
    HRESULT CreateQuery(ILibraryItemQuery** pp) override;
    std::vector<wstring> ParseValueList(LPCWSTR text) override;
    HRESULT CreateNewItemFile(const wstring& path, ILibraryItem** pp) override;

    // IFileOperationProgressSink: the rename and delete steps keep the cache right.
    HRESULT StartOperations() override { return S_OK; }
    HRESULT FinishOperations(HRESULT) override { return S_OK; }
    HRESULT PreRenameItem(DWORD flags, IShellItem* item, LPCWSTR newName) override;
    HRESULT PostRenameItem(DWORD flags, IShellItem* item, LPCWSTR newName, HRESULT result,
                           IShellItem* newItem) override;
    HRESULT PreMoveItem(DWORD, IShellItem*, IShellItem*, LPCWSTR) override { return S_OK; }
    HRESULT PostMoveItem(DWORD, IShellItem*, IShellItem*, LPCWSTR, HRESULT, IShellItem*) override { return S_OK; }
    HRESULT PreCopyItem(DWORD, IShellItem*, IShellItem*, LPCWSTR) override { return S_OK; }
    HRESULT PostCopyItem(DWORD, IShellItem*, IShellItem*, LPCWSTR, HRESULT, IShellItem*) override { return S_OK; }
    HRESULT PreDeleteItem(DWORD, IShellItem*) override { return S_OK; }
    HRESULT PostDeleteItem(DWORD flags, IShellItem* item, HRESULT result, IShellItem* newItem) override;
    HRESULT PreNewItem(DWORD, IShellItem*, LPCWSTR) override { return S_OK; }
    HRESULT PostNewItem(DWORD, IShellItem*, LPCWSTR, LPCWSTR, DWORD, HRESULT, IShellItem*) override { return S_OK; }
    HRESULT UpdateProgress(UINT, UINT) override { return S_OK; }
    HRESULT ResetTimer() override { return S_OK; }
    HRESULT PauseTimer() override { return S_OK; }
    HRESULT ResumeTimer() override { return S_OK; }

private:
    HRESULT GetLibraryItemExUnguarded(LPCWSTR pathText, bool load, ILibraryItem** ppLibraryItem);
    HRESULT GetLibraryItemFromNodeUnguarded(IXMLDOMNode* node, ILibraryItem** pp);
    HRESULT GetLibraryItemFromShellItemUnguarded(IShellItem* psiItem, ILibraryItem** ppLibraryItem, std::int32_t kind);
    HRESULT GetItemsFromShellItemsUnguarded(IShellItemArray* items, ILibraryItemCollection** pp, std::int32_t kind);
    HRESULT GetIndexFilePathUnguarded(LPCWSTR mediaPath, WCHAR* dst, size_t size);
    HRESULT RenameItemUnguarded(ILibraryItem* pLibraryItem, LPCWSTR newName);
    struct CacheEntry
    {
        wstring path;
        ComPtr<ILibraryItem> item;
    };

    ~CLibraryItemFactory() = default;

    // The cache: entries in order of insertion, and an index by exact path beside them.
    ILibraryItem* FindCached(const wstring& path) const;
    void AppendCached(const wstring& path, ILibraryItem* item);
    void EraseCached(const wstring& path);
    void RekeyCached(const wstring& oldPath, const wstring& newPath);

    HRESULT LoadNewItem(const wstring& path, bool load, ComPtr<ILibraryItem>& item);
    HRESULT RefreshCachedItem(const wstring& path, bool load, ILibraryItem* item);
    HRESULT PerformDelete(const std::vector<ILibraryItem*>& items, bool allowUndo, std::vector<ILibraryItem*>& deleted);
    HRESULT QueueDelete(IFileOperation* operation, ILibraryItem* item);
    HRESULT CreateFileOperation(DWORD flags, ComPtr<IFileOperation>& operation);

    std::vector<CacheEntry> m_cache;
    std::unordered_map<wstring, ILibraryItem*> m_cacheIndex;
    std::vector<ComPtr<IDocument>> m_documents;
    Standard::CriticalSection m_cacheLock;
};
} // namespace Quillmar::Library::Native
