// The host's view of all its clips: root folders, and the clips a scan of them found. The
// scan runs on the repository's own queue; the lists are touched only on the host's
// thread and, through EndUpdate, in the host's callback.
#pragma once

#include "Runtime/WorkQueue.h"

#include "qm/Library/LibraryItemFactory.h"
#include "qm/Library/Repository.h"
#include "qm/PersistXML.h"
#include "qm/Platform/Com/ObjectRoot.h"

#include <atomic>
#include <vector>

namespace Quillmar::Library::Native
{
class CLibraryRepository final : public Standard::CComObjectRootEx<Standard::CComMultiThreadModel>,
                                 public ILibraryRepository,
                                 public ILibraryRepositoryRaw,
                                 public IQMPersistXMLImpl<CLibraryRepository>,
                                 public ILibraryRepositoryCollection,
                                 public Standard::AllocatedResource<CLibraryRepository>
{
public:
    explicit CLibraryRepository(ILibraryItemFactory* factory);
    ~CLibraryRepository();

    QM_IUNKNOWN_IMPL(CLibraryRepository, ILibraryRepository, ILibraryRepositoryRaw, IQMPersistXML,
                     ILibraryRepositoryCollection)

    // ILibraryRepository
    HRESULT ResetDirectories() override;
    HRESULT AddLibraryItem(ILibraryItem* pNewItem, ILibraryItem** ppNewItem) override;
    HRESULT RemoveLibraryItem(ILibraryItem* pLibraryItem) override;
    HRESULT GetLibraryItems(ILibraryItemCollection** ppItems) override;
    HRESULT QueryLibraryItems(ILibraryItemQuery* pQuery, ILibraryItemCollection** ppItems) override;

    // ILibraryRepositoryRaw
    HRESULT BeginUpdate(Standard::IAsyncCallback* pCallback, IUnknown* pState) override;
    HRESULT EndUpdate(Standard::IAsyncResult* pResult) override;
    bool get_IsUpdating() override { return m_updating; }
    HRESULT StopUpdate() override;
    bool IsSupportedFile(const wstring& path) override;

    // ILibraryRepositoryCollection
    HRESULT AddDirectory(const wstring& path) override;
    void SetDirectories(std::vector<wstring>&& directories) override;
    std::vector<wstring> GetDirectories() override { return m_directories; }
    MVVM::Event& get_DirectoriesChanged() override { return m_directoriesChanged; }
    bool ContainsPath(const wstring& path) override;

    // The text form of the folders.
    HRESULT LoadXmlText(BSTR xmlText);
    HRESULT SaveXmlText(BSTR* pXmlText);

private:
    // Runs on the queue's thread: the scan, then the host's callback.
    HRESULT Update(Standard::IAsyncResult* pResult);
    HRESULT SetDirectoriesUnguarded(std::vector<wstring>&& directories);
    HRESULT LoadXmlTextUnguarded(BSTR xmlText);
    HRESULT SaveXmlTextUnguarded(BSTR* pXmlText);
    // The position of the entry with that media path; size() for none.
    std::size_t FindItem(const wstring& path) const;

    std::vector<ComPtr<ILibraryItem>> m_items;
    std::vector<wstring> m_directories;
    ComPtr<ILibraryItemFactory> m_factory;
    Standard::CAsyncCallback<CLibraryRepository> m_updateCallback;
    Standard::WorkQueue m_workQueue;
    std::atomic<bool> m_updating{false};
    MVVM::Event m_directoriesChanged;
};
} // namespace Quillmar::Library::Native
