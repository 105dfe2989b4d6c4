#include "DataAccess/Library/LibraryRepository.h"

#include "DataAccess/Library/AsyncUpdateState.h"
#include "DataAccess/Library/ItemKinds.h"
#include "DataAccess/Library/LibraryItemCollection.h"
#include "DataAccess/Library/LibraryRepositoryLoader.h"
#include "Logging/QMLog.h"
#include "Platform/Kernel/Clock.h"
#include "Platform/Kernel/FileSystem.h"
#include "Platform/Kernel/KnownFolders.h"
#include "Platform/Kernel/Path.h"
#include "Runtime/Guarded.h"

#include <algorithm>

namespace Quillmar::Library::Native
{
namespace
{
constexpr DWORD kNoTimeLimit = 0xFFFFFFFF;

HRESULT MakeCollection(const std::vector<ComPtr<ILibraryItem>>& items, ILibraryItemQuery* query,
                       ILibraryItemCollection** ppItems)
{
    std::vector<ILibraryItem*> chosen;
    chosen.reserve(items.size());
    for (const ComPtr<ILibraryItem>& item : items)
        if (query == nullptr || query->Match(item.Get()))
            chosen.push_back(item.Get());
    return CreateLibraryItemCollection(chosen, ppItems);
}
} // namespace

CLibraryRepository::CLibraryRepository(ILibraryItemFactory* factory)
    : m_factory(factory), m_updateCallback(this, &CLibraryRepository::Update), m_workQueue("LibraryRepository", false)
{
}

CLibraryRepository::~CLibraryRepository() { StopUpdate(); }

HRESULT CLibraryRepository::ResetDirectories()
{
    return qm::Guarded([&] {
        m_directories.clear();
        wstring videos = qm::UserVideosFolder();
        if (!videos.empty())
            m_directories.push_back(std::move(videos));
        wstring notebooks = qm::UserDocumentsFolder();
        if (!notebooks.empty() && PathAppendW(notebooks, u"Quillmar") && PathAppendW(notebooks, u"Notebooks") &&
            SUCCEEDED(qm::FileSystem().CreateFolders(notebooks)))
            m_directories.push_back(std::move(notebooks));
        return S_OK;
    });
}

std::size_t CLibraryRepository::FindItem(const wstring& path) const
{
    const auto found = std::find_if(m_items.begin(), m_items.end(), [&](const ComPtr<ILibraryItem>& item) { return item->HasPath(path); });
    return static_cast<std::size_t>(found - m_items.begin());
}

HRESULT CLibraryRepository::AddLibraryItem(ILibraryItem* pNewItem, ILibraryItem** ppNewItem)
{
    QMCheckCondition(pNewItem != 0, E_INVALIDARG);
    QMCheckCondition(ppNewItem != 0, E_POINTER);
    return qm::Guarded([&] {
        const wstring path = pNewItem->get_MediaPath();
        if (!ContainsPath(path))
            return S_FALSE;
        m_items.reserve(m_items.size() + 1);
        const std::size_t present = FindItem(path);
        if (present < m_items.size())
            m_items.erase(m_items.begin() + static_cast<std::ptrdiff_t>(present));
        m_items.emplace_back(pNewItem);
        pNewItem->AddRef();
        *ppNewItem = pNewItem;
        return S_OK;
    });
}

HRESULT CLibraryRepository::RemoveLibraryItem(ILibraryItem* pLibraryItem)
{
    QMCheckCondition(pLibraryItem != nullptr, E_INVALIDARG);
    return qm::Guarded([&] {
        const std::size_t present = FindItem(pLibraryItem->get_MediaPath());
        if (present < m_items.size())
            m_items.erase(m_items.begin() + static_cast<std::ptrdiff_t>(present));
        return S_OK;
    });
}

HRESULT CLibraryRepository::GetLibraryItems(ILibraryItemCollection** ppItems) { return QueryLibraryItems(nullptr, ppItems); }

HRESULT CLibraryRepository::QueryLibraryItems(ILibraryItemQuery* pQuery, ILibraryItemCollection** ppItems)
{
    QMCheckCondition(ppItems != nullptr, E_POINTER);
    *ppItems = nullptr;
    return qm::Guarded([&] { return MakeCollection(m_items, pQuery, ppItems); });
}

HRESULT CLibraryRepository::BeginUpdate(Standard::IAsyncCallback* pCallback, IUnknown* pState)
{
    if (m_updating)
    {
        QMLog(3, u"----------> The library repository is already updating.");
        return S_FALSE;
    }
    return qm::Guarded([&] {
        ComPtr<AsyncUpdateState> state = qm::MakeObject<AsyncUpdateState>();
        QMCheckCondition(state, E_OUTOFMEMORY);
        state->callback = pCallback;
        state->state = pState;
        state->directories = m_directories;
        state->startTicks = GetTickCount64();
        m_updating = true;
        const HRESULT hr = m_workQueue.Post(&m_updateCallback, static_cast<IUnknown*>(state.Get()));
        if (FAILED(hr))
        {
            m_updating = false;
            QMCheckHRESULT(hr);
        }
        QMLog(3, u"----------> The library repository is updating its content.");
        return S_OK;
    });
}

HRESULT CLibraryRepository::Update(Standard::IAsyncResult* pResult)
{
    const ComPtr<AsyncUpdateState> state = AsyncUpdateState::From(pResult ? pResult->PeekAsyncState() : nullptr);
    QMCheckCondition(state, E_UNEXPECTED);
    HRESULT status = qm::Guarded([&] {
        LibraryRepositoryLoader loader(m_factory.Get(), m_workQueue.GetStopEvent());
        return loader.Scan(state->directories, state->items);
    });
    QMLogHRESULT(status);
    ComPtr<Standard::IAsyncResult> result;
    QMCheckHRESULT(Standard::CreateAsyncResult(static_cast<IUnknown*>(state.Get()), state->callback.Get(), state->state.Get(),
                                               result.GetAddressOf()));
    QMCheckHRESULT(result->put_Status(status));
    QMCheckHRESULT(Standard::InvokeAsyncCallback(result.Get()));
    return S_OK;
}

HRESULT CLibraryRepository::EndUpdate(Standard::IAsyncResult* pResult)
{
    QMCheckCondition(pResult != nullptr, E_INVALIDARG);
    ComPtr<IUnknown> object;
    QMCheckHRESULT(pResult->get_AsyncObject(object.GetAddressOf()));
    const ComPtr<AsyncUpdateState> state = AsyncUpdateState::From(object.Get());
    QMCheckCondition(state, E_INVALIDARG);
    QMLog(3, u"----------> The library scan completed in %f seconds, with status 0x%08x",
          static_cast<double>(GetTickCount64() - state->startTicks) / 1000.0, static_cast<unsigned>(pResult->get_Status()));
    m_updating = false;
    // A stopped scan hands over nothing, so the list empties then.
    m_items.swap(state->items);
    return S_OK;
}

HRESULT CLibraryRepository::StopUpdate()
{
    if (!m_workQueue.IsRunning())
        return S_OK;
    // From the host's callback, on the queue's own thread, a wait would never end.
    if (m_workQueue.IsCurrentThread())
    {
        m_workQueue.RequestStop();
        return S_OK;
    }
    return m_workQueue.Stop(kNoTimeLimit);
}

bool CLibraryRepository::IsSupportedFile(const wstring& path) { return ItemKindOfPath(path) != ItemKindUnknown; }

HRESULT CLibraryRepository::AddDirectory(const wstring& path)
{
    QMCheckCondition(!PathIsRelativeW(path), E_INVALIDARG);
    if (ContainsPath(path))
        return S_OK;
    return qm::Guarded([&] {
        std::vector<wstring> directories = m_directories;
        directories.push_back(path);
        return SetDirectoriesUnguarded(std::move(directories));
    });
}

void CLibraryRepository::SetDirectories(std::vector<wstring>&& directories)
{
    QMLogHRESULT(qm::Guarded([&] { return SetDirectoriesUnguarded(std::move(directories)); }));
}

HRESULT CLibraryRepository::SetDirectoriesUnguarded(std::vector<wstring>&& given)
{
    // Folders are kept in their normal form, so that a parent is always shorter than
    // what lies under it and one folder has one spelling.
    std::vector<wstring> directories;
    directories.reserve(given.size());
    for (const wstring& entry : given)
        if (!PathIsRelativeW(entry))
            directories.push_back(qm::AbsoluteNormalPath(entry));
    const bool same = directories.size() == m_directories.size() &&
                      std::all_of(directories.begin(), directories.end(), [&](const wstring& entry) {
                          return std::find(m_directories.begin(), m_directories.end(), entry) != m_directories.end();
                      });
    if (same)
        return S_OK;
    std::stable_sort(directories.begin(), directories.end(), [](const wstring& a, const wstring& b) { return a.size() < b.size(); });
    std::vector<wstring> accepted;
    for (wstring& entry : directories)
    {
        const bool inside = std::any_of(accepted.begin(), accepted.end(), [&](const wstring& a) { return qm::PathLiesInside(entry, a); });
        if (!inside)
            accepted.push_back(std::move(entry));
    }
    std::sort(accepted.begin(), accepted.end());
    m_directories.swap(accepted);
    m_directoriesChanged.Fire(nullptr);
    return S_OK;
}

bool CLibraryRepository::ContainsPath(const wstring& path)
{
    return std::any_of(m_directories.begin(), m_directories.end(), [&](const wstring& folder) { return qm::PathLiesInside(path, folder); });
}
} // namespace Quillmar::Library::Native
