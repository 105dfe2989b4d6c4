// The repository: the host's root folders, and the clips that a scan of them found. A
// scan runs on the repository's own worker thread and reaches the host through its
// callback, on that thread.
#pragma once

#include "qm/Library/LibraryItemQuery.h"
#include "qm/Runtime/Async.h"
#include "qm/Runtime/Event.h"

#include <vector>

struct ILibraryRepository : IUnknown
{
    // Replaces the folders by the user's videos folder and the notebooks folder under
    // the documents folder; fires no event.
    virtual HRESULT ResetDirectories() = 0;
    // S_FALSE, and *ppNewItem left alone, for a clip outside every root folder; an entry
    // of the same media path is replaced, the new one going to the end.
    virtual HRESULT AddLibraryItem(ILibraryItem* pNewItem, ILibraryItem** ppNewItem) = 0;
    virtual HRESULT RemoveLibraryItem(ILibraryItem* pLibraryItem) = 0;
    virtual HRESULT GetLibraryItems(ILibraryItemCollection** ppItems) = 0;
    // The items that match, in list order; a null query gives all of them.
    virtual HRESULT QueryLibraryItems(ILibraryItemQuery* pQuery, ILibraryItemCollection** ppItems) = 0;
};
QM_DECLARE_IID(ILibraryRepository, "{EBBC3EF0-3D74-4FE0-96A2-75746E6A740D}")

namespace Quillmar::Library::Native
{
struct ILibraryRepositoryRaw : IUnknown
{
    // Starts a scan of the folders; S_FALSE while one runs. The callback runs on the
    // repository's thread with the scan's status (S_OK or E_ABORT) and calls EndUpdate.
    virtual HRESULT BeginUpdate(Standard::IAsyncCallback* pCallback, IUnknown* pState) = 0;
    // Takes over what the scan found (nothing after a stop).
    virtual HRESULT EndUpdate(Standard::IAsyncResult* pResult) = 0;
    virtual bool get_IsUpdating() = 0;
    // Stops a running scan and waits for its thread.
    virtual HRESULT StopUpdate() = 0;
    // The extension of the path is one of the item kinds.
    virtual bool IsSupportedFile(const wstring& path) = 0;
};
QM_DECLARE_IID(ILibraryRepositoryRaw, "{A6C94D4A-582D-4873-AC4C-7C2020CF5B3A}")
} // namespace Quillmar::Library::Native

struct ILibraryRepositoryCollection : IUnknown
{
    // E_INVALIDARG for a relative path; S_OK and no change for a folder inside a root.
    virtual HRESULT AddDirectory(const wstring& path) = 0;
    // Absolute paths only, none inside another, sorted by code unit.
    virtual void SetDirectories(std::vector<wstring>&& directories) = 0;
    virtual std::vector<wstring> GetDirectories() = 0;
    virtual MVVM::Event& get_DirectoriesChanged() = 0;
    // The path is a root folder or lies under one.
    virtual bool ContainsPath(const wstring& path) = 0;
};
QM_DECLARE_IID(ILibraryRepositoryCollection, "{21C499C0-F77A-40EE-A25A-9B2990D85544}")
