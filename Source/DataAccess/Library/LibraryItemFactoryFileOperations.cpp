// Deletes and renames of clips with their sidecar and index file, as one batch of the
// shell's file operation; the factory is the sink that keeps its cache right.
#include "DataAccess/Library/LibraryItemFactory.h"

#include "DataAccess/Library/ShellItemAccess.h"
#include "DataAccess/Library/SourceCache.h"
#include "Logging/QMLog.h"
#include "Platform/Kernel/Path.h"
#include "qm/Platform/Text/CaseFolding.h"

#include <algorithm>

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
    QMCheckCondition(pLibraryItem, E_INVALIDARG);
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
    const wstring newFileName = (newName ? wstring(newName) : wstring()) + extension;
    if (qm::EqualsNoCase(fileName, newFileName))
        return S_FALSE;
    QMCheckHRESULT(operation->RenameItem(shellItem.Get(), newFileName.c_str(), this));
    for (const wstring_view sideExtension : {kSidecarExtension, kIndexExtension})
    {
        const wstring sideFile = mediaPath + wstring(sideExtension);
        if (!PathFileExistsW(sideFile))
            continue;
        ComPtr<IShellItem> sideItem;
        QMCheckHRESULT(ShellItemOf(sideFile, sideItem));
        QMCheckHRESULT(operation->RenameItem(sideItem.Get(), (newFileName + wstring(sideExtension)).c_str(), nullptr));
    }
    QMCheckHRESULT(RenameResult(operation->PerformOperations()));
    BOOL aborted = FALSE;
    operation->GetAnyOperationsAborted(&aborted);
    if (aborted)
        return E_ABORT;
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
