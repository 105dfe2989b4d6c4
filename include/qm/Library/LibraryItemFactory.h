// The root object of the library: one live item per media path, and the file operations
// of the model.
#pragma once

#include "qm/Library/Culture.h"
#include "qm/Library/Document.h"
#include "qm/Library/LibraryItemCollection.h"
#include "qm/Library/MetadataExtensions.h"
#include "qm/Library/Repository.h"
#include "qm/Platform/Shell/FileOperation.h"

struct ILibraryItemFactory : IUnknown
{
    // A new detached item of kind -1, outside the cache.
    virtual HRESULT CreateLibraryItem(ILibraryItem** pp) = 0;
    virtual HRESULT GetLibraryItem(LPCWSTR path, ILibraryItem** pp) = 0;
    // The one way to an attached item; load false leaves it unloaded after a first read.
    virtual HRESULT GetLibraryItemEx(LPCWSTR path, bool load, ILibraryItem** ppLibraryItem) = 0;
    virtual HRESULT GetLibraryItemFromNode(IXMLDOMNode* node, ILibraryItem** pp) = 0;
    virtual std::int32_t GetItemKindOfPath(LPCWSTR path) = 0;
    virtual std::int32_t GetItemKindOfExtension(LPCWSTR extension) = 0;
    virtual HRESULT CreateRepository(ILibraryRepository** pp) = 0;
    virtual HRESULT CreateCollectionFrom(const std::vector<ILibraryItem*>& items, ILibraryItemCollection** pp) = 0;
    virtual HRESULT CreateCollection(ILibraryItemCollection** pp) = 0;
    virtual HRESULT CreateExtensionObject(REFGUID type, REFIID iid, void** ppv) = 0;
    virtual HRESULT ReleaseIndexes() = 0;
    virtual HRESULT StopIndexing() = 0;
    virtual HRESULT RemoveItemFromSourceCache(ILibraryItem* item) = 0;
    virtual HRESULT RemoveItemsFromSourceCache(const std::vector<ILibraryItem*>& items) = 0;
    virtual HRESULT DeleteItem(ILibraryItem* item, bool allowUndo) = 0;
    // newName is a file name without extension.
    virtual HRESULT RenameItem(ILibraryItem* pLibraryItem, LPCWSTR newName) = 0;
    virtual HRESULT DeleteItems(const std::vector<ILibraryItem*>& items, bool allowUndo,
                                std::vector<ILibraryItem*>& deleted) = 0;
    virtual HRESULT RemoveFromCache(const wstring& path, bool flush) = 0;
    virtual HRESULT GetIndexFilePath(LPCWSTR mediaPath, WCHAR* dst, size_t size) = 0;
    virtual HRESULT GetItemsFromShellItems(IShellItemArray* items, ILibraryItemCollection** pp,
                                           std::int32_t kind) = 0;
    // S_FALSE when kind is not -1 and the path is of another kind.
    virtual HRESULT GetLibraryItemFromShellItem(IShellItem* psiItem, ILibraryItem** ppLibraryItem,
                                                std::int32_t kind) = 0;
    virtual HRESULT CreateDocumentObject(LPCWSTR title, IDocument** pp) = 0;
    virtual HRESULT GetDocument(ILibraryItem* pLibraryItem, IDocument** ppDocument) = 0;
    virtual HRESULT GetDocumentFromShellItem(IShellItem* item, IDocument** pp) = 0;
    virtual HRESULT GetDocumentFromPath(LPCWSTR path, IDocument** pp) = 0;
    virtual HRESULT DeleteDocument(IDocument* pDocument, bool allowUndo, bool removeFolder,
                                   std::vector<ILibraryItem*>& deleted) = 0;
    virtual HRESULT CreateDeviceTrack(IDeviceTrack** pp) = 0;
    virtual HRESULT CreateQuery(ILibraryItemQuery** pp) = 0;
    // The values of a text written by GetValuesAsString.
    virtual std::vector<wstring> ParseValueList(LPCWSTR text) = 0;
    // A new sidecar for the path, replacing what the process knew of it.
    virtual HRESULT CreateNewItemFile(const wstring& path, ILibraryItem** pp) = 0;
};
QM_DECLARE_IID(ILibraryItemFactory, "{A9B8F500-A984-48B2-A54F-B0A0395B5409}")

namespace Quillmar::Library::Native
{
struct ILibraryItemFactoryEx : IUnknown
{
    // Takes the media engine's source cache and the host's culture.
    virtual HRESULT Initialize(ISourceCache* sourceCache, Standard::ICultureInfo* culture) = 0;
    // Lets the cache and the culture go and empties the item cache.
    virtual HRESULT Terminate() = 0;
};
QM_DECLARE_IID(ILibraryItemFactoryEx, "{4FA984A0-6385-444E-BA86-D82BA638AF4F}")
} // namespace Quillmar::Library::Native

QM_API HRESULT CreateLibraryItemFactory(ILibraryItemFactory** pp);

// Copies title, comment, colour, keywords, cue points and, if asked, the named data of
// src to dst.
QM_API HRESULT CopyLibraryItemMetadata(ILibraryItem* dst, ILibraryItem* src, bool copyDataBlob);
