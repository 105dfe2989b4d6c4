// Deletes and renames of clips with their sidecar and index file, as one batch of the
// shell's file operation; the factory is the sink that keeps its cache right.
#include "DataAccess/Library/LibraryItemFactory.h"

#include "DataAccess/Library/ShellItemAccess.h"
#include "DataAccess/Library/SourceCache.h"
#include "Logging/QMLog.h"
#include "Runtime/Guarded.h"
#include "Platform/Kernel/FileSystem.h"
#include "Platform/Kernel/Path.h"
#include "qm/Platform/Text/CaseFolding.h"

#include <algorithm>
#include <climits>

namespace Quillmar::Library::Native
{
namespace
{
constexpr wstring_view kSidecarExtension = u".quilclip";
constexpr wstring_view kIndexExtension = u".qmidx";

HRESULT RenameResult(HRESULT hr)
{
    if (hr == COPYENGINE_E_USER_CANCELLED)
        return E_ABORT;
    if (hr == QM_HR(0x80270027u) || hr == QM_HR(0x80270028u))
        return E_ACCESSDENIED;
    return hr;
}

void FlushSourceCache()
{
    if (g_sourceCache)
        QMLogHRESULT(g_sourceCache->Flush(0));
}

// One file of a clip's rename; the media comes first and is the one the factory follows.
struct PlannedRename
{
    wstring from;
    wstring to;
    bool media = false;
};

// A new name stays in the clip's folder and is neither hidden nor the folder's own entry.
bool IsPlainName(wstring_view name)
{
    return !name.empty() && name.front() != u'.' && name.find(u'/') == wstring_view::npos;
}

// A name the rename will make: it must fit the file system and name nothing yet.
HRESULT CheckTarget(const wstring& folder, const wstring& name)
{
    std::string native;
    QMCheckHRESULT(qm::ToNativePath(name, native));
    QMCheckCondition(native.size() <= NAME_MAX, HRESULT_FROM_WIN32(ERROR_FILENAME_EXCED_RANGE));
    QMCheckCondition(!PathFileExistsW(PathCombineW(folder, name)), HRESULT_FROM_WIN32(ERROR_ALREADY_EXISTS));
    return S_OK;
}

// The files to move, after every name they need has been checked: a side file's new name
// is refused while it is taken even where the clip has no such file, since the clip would
// adopt it under its new name.
HRESULT PlanRenames(const wstring& mediaPath, const wstring& newFileName, std::vector<PlannedRename>& renames)
{
    wstring folder = mediaPath;
    PathRemoveFileSpecW(folder);
    QMCheckHRESULT(CheckTarget(folder, newFileName));
    renames.push_back({mediaPath, PathCombineW(folder, newFileName), true});
    for (const wstring_view sideExtension : {kSidecarExtension, kIndexExtension})
    {
        const wstring newSideName = newFileName + wstring(sideExtension);
        QMCheckHRESULT(CheckTarget(folder, newSideName));
        const wstring sideFile = mediaPath + wstring(sideExtension);
        if (PathFileExistsW(sideFile))
            renames.push_back({sideFile, PathCombineW(folder, newSideName), false});
    }
    return S_OK;
}

HRESULT QueueRenames(IFileOperation* operation, const std::vector<PlannedRename>& renames,
                     IFileOperationProgressSink* mediaSink)
{
    for (const PlannedRename& rename : renames)
    {
        ComPtr<IShellItem> item;
        QMCheckHRESULT(ShellItemOf(rename.from, item));
        const wstring newName(PathFindFileNameW(rename.to));
        QMCheckHRESULT(operation->RenameItem(item.Get(), newName.c_str(), rename.media ? mediaSink : nullptr));
    }
    return S_OK;
}

HRESULT PerformRenames(IFileOperation* operation, const std::vector<PlannedRename>& renames,
                       IFileOperationProgressSink* mediaSink)
{
    QMCheckHRESULT(QueueRenames(operation, renames, mediaSink));
    return operation->PerformOperations();
}

// The moves of a batch that stopped part way, backwards: each file found under its new
// name and missing under its old one was moved by the batch, since the new names were free.
std::vector<PlannedRename> MovesToUndo(const std::vector<PlannedRename>& renames)
{
    std::vector<PlannedRename> undo;
    for (auto it = renames.rbegin(); it != renames.rend(); ++it)
        if (PathFileExistsW(it->to) && !PathFileExistsW(it->from))
            undo.push_back({it->to, it->from, it->media});
    return undo;
}
} // namespace

HRESULT CLibraryItemFactory::CreateFileOperation(DWORD flags, ComPtr<IFileOperation>& operation)
{
    QMCheckHRESULT(CoCreateInstance(CLSID_FileOperation, nullptr, CLSCTX_ALL, IID_IFileOperation,
                                    reinterpret_cast<void**>(operation.ReleaseAndGetAddressOf())));
    QMCheckHRESULT(operation->SetOwnerWindow(nullptr));
    QMCheckHRESULT(operation->SetOperationFlags(flags));
    return S_OK;
}

HRESULT CLibraryItemFactory::QueueDelete(IFileOperation* operation, ILibraryItem* item)
{
    const ComPtr<CLibraryItem> libraryItemPrivate = CLibraryItem::From(item);
    QMCheckCondition(libraryItemPrivate, E_NOINTERFACE);
    QMCheckCondition(libraryItemPrivate->IsRootNode(), E_UNEXPECTED);
    const wstring mediaPath = item->get_MediaPath();
    ComPtr<IShellItem> shellItem;
    QMCheckHRESULT(ShellItemOf(mediaPath, shellItem));
    QMCheckHRESULT(operation->DeleteItem(shellItem.Get(), this));
    for (const wstring_view extension : {kSidecarExtension, kIndexExtension})
    {
        const wstring sideFile = mediaPath + wstring(extension);
        if (!PathFileExistsW(sideFile))
            continue;
        QMCheckHRESULT(ShellItemOf(sideFile, shellItem));
        QMCheckHRESULT(operation->DeleteItem(shellItem.Get(), this));
    }
    return S_OK;
}

HRESULT CLibraryItemFactory::PerformDelete(const std::vector<ILibraryItem*>& items, bool allowUndo,
                                           std::vector<ILibraryItem*>& deleted)
{
    for (ILibraryItem* item : deleted)
        item->Release();
    deleted.clear();
    if (items.empty())
        return S_OK;
    ComPtr<IFileOperation> operation;
    QMCheckHRESULT(CreateFileOperation(FOF_NOCONFIRMATION | FOF_NOERRORUI | (allowUndo ? FOF_ALLOWUNDO : 0), operation));
    for (ILibraryItem* item : items)
    {
        QMCheckHRESULT(QueueDelete(operation.Get(), item));
        item->AddRef();
        deleted.push_back(item);
    }
    QMCheckHRESULT(operation->PerformOperations());
    for (ILibraryItem* item : deleted)
        RemoveFromCache(item->get_MediaPath(), false);
    FlushSourceCache();
    return S_OK;
}

HRESULT CLibraryItemFactory::DeleteItem(ILibraryItem* item, bool allowUndo)
{
    QMCheckCondition(item != nullptr, E_INVALIDARG);
    std::vector<ILibraryItem*> deleted;
    const HRESULT hr = PerformDelete({item}, allowUndo, deleted);
    for (ILibraryItem* done : deleted)
        done->Release();
    return hr;
}

HRESULT CLibraryItemFactory::DeleteItems(const std::vector<ILibraryItem*>& items, bool allowUndo,
                                         std::vector<ILibraryItem*>& deleted)
{
    std::vector<ILibraryItem*> list;
    for (ILibraryItem* item : items)
        if (item && !item->get_IsReadOnly() && std::find(list.begin(), list.end(), item) == list.end())
            list.push_back(item);
    return PerformDelete(list, allowUndo, deleted);
}

HRESULT CLibraryItemFactory::PostDeleteItem(DWORD, IShellItem* item, HRESULT result, IShellItem*)
{
    wstring path;
    QMCheckHRESULT(DisplayName(item, SIGDN_FILESYSPATH, path));
    if (FAILED(result))
    {
        QMLog(2, u"Failed to delete item '%s', error 0x%08x", path.c_str(), static_cast<unsigned>(result));
        return S_OK;
    }
    RemoveFromCache(path, false);
    return S_OK;
}

HRESULT CLibraryItemFactory::RenameItem(ILibraryItem* pLibraryItem, LPCWSTR newName)
{
    return qm::Guarded([&] { return RenameItemUnguarded(pLibraryItem, newName); });
}

HRESULT CLibraryItemFactory::RenameItemUnguarded(ILibraryItem* pLibraryItem, LPCWSTR newName)
{
    QMCheckCondition(pLibraryItem, E_INVALIDARG);
    QMCheckCondition(newName && IsPlainName(newName), E_INVALIDARG);
    if (pLibraryItem->get_IsReadOnly())
        return S_FALSE;
    ComPtr<IFileOperation> operation;
    QMCheckHRESULT(CreateFileOperation(FOF_SILENT | FOF_ALLOWUNDO | FOFX_EARLYFAILURE, operation));
    const ComPtr<CLibraryItem> libraryItemPrivate = CLibraryItem::From(pLibraryItem);
    QMCheckCondition(libraryItemPrivate, E_NOINTERFACE);
    QMCheckCondition(libraryItemPrivate->IsRootNode(), E_UNEXPECTED);

    const wstring mediaPath = pLibraryItem->get_MediaPath();
    ComPtr<IShellItem> shellItem;
    QMCheckHRESULT(ShellItemOf(mediaPath, shellItem));
    wstring extension, fileName;
    QMCheckHRESULT(StringProperty(shellItem.Get(), PKEY_FileExtension, extension));
    QMCheckHRESULT(StringProperty(shellItem.Get(), PKEY_FileName, fileName));
    const wstring newFileName = wstring(newName) + extension;
    if (qm::EqualsNoCase(fileName, newFileName))
        return S_FALSE;
    std::vector<PlannedRename> renames;
    QMCheckHRESULT(PlanRenames(mediaPath, newFileName, renames));
    HRESULT hr = RenameResult(PerformRenames(operation.Get(), renames, this));
    BOOL aborted = FALSE;
    operation->GetAnyOperationsAborted(&aborted);
    if (SUCCEEDED(hr) && aborted)
        hr = E_ABORT;
    if (FAILED(hr))
    {
        // A clip is renamed whole or not at all: its sidecar never stays behind.
        const std::vector<PlannedRename> undo = MovesToUndo(renames);
        ComPtr<IFileOperation> undoOperation;
        if (!undo.empty() &&
            SUCCEEDED(QMLogHRESULT(CreateFileOperation(FOF_SILENT | FOF_NOCONFIRMATION | FOF_NOERRORUI, undoOperation))))
            QMLogHRESULT(PerformRenames(undoOperation.Get(), undo, this));
        QMCheckHRESULT(hr);
    }
    FlushSourceCache();
    return S_OK;
}

HRESULT CLibraryItemFactory::PreRenameItem(DWORD, IShellItem* item, LPCWSTR newName)
{
    ComPtr<IShellItem> parent;
    QMCheckHRESULT(item->GetParent(parent.GetAddressOf()));
    wstring folder;
    QMCheckHRESULT(DisplayName(parent.Get(), SIGDN_FILESYSPATH, folder));
    if (PathFileExistsW(PathCombineW(folder, newName ? newName : u"")))
        return HRESULT_FROM_WIN32(ERROR_ALREADY_EXISTS);
    return S_OK;
}

HRESULT CLibraryItemFactory::PostRenameItem(DWORD, IShellItem* item, LPCWSTR newName, HRESULT result, IShellItem*)
{
    const wstring name = newName ? wstring(newName) : wstring();
    if (FAILED(result))
    {
        QMLog(1, u"Failed to rename %s, hr = 0x%08x", name.c_str(), static_cast<unsigned>(result));
        return result;
    }
    wstring oldPath;
    QMCheckHRESULT(DisplayName(item, SIGDN_FILESYSPATH, oldPath));
    wstring folder = oldPath;
    PathRemoveFileSpecW(folder);
    const wstring newPath = PathCombineW(folder, name);
    {
        Standard::ScopedLock lock(m_cacheLock);
        if (ILibraryItem* cached = FindCached(oldPath))
        {
            RekeyCached(oldPath, newPath);
            cached->put_MediaPath(newPath, false);
        }
    }
    if (g_sourceCache)
        QMLogHRESULT(g_sourceCache->Rename(oldPath.c_str(), newPath.c_str()));
    return S_OK;
}
} // namespace Quillmar::Library::Native
