#include "Platform/Shell/FileOperation.h"

#include "Platform/Kernel/FileSystem.h"
#include "Platform/Kernel/Path.h"
#include "Platform/Shell/PathShellItem.h"
#include "Platform/Shell/Trash.h"
#include "qm/Platform/Com/CoTaskMem.h"

namespace qm
{
namespace
{
HRESULT PathOf(IShellItem* item, wstring& path)
{
    LPWSTR text = nullptr;
    HRESULT hr = item->GetDisplayName(SIGDN_FILESYSPATH, &text);
    if (FAILED(hr))
        return hr;
    path = text;
    CoTaskMemFree(text);
    return S_OK;
}

// Runs a step on each sink and gives the first failure.
template <class Step>
HRESULT EachSink(const std::vector<ComPtr<IFileOperationProgressSink>>& sinks, Step step)
{
    HRESULT result = S_OK;
    for (const ComPtr<IFileOperationProgressSink>& sink : sinks)
    {
        const HRESULT hr = step(sink.Get());
        if (FAILED(hr) && SUCCEEDED(result))
            result = hr;
    }
    return result;
}
} // namespace

HRESULT FileOperation::Create(IFileOperation** operation)
{
    if (operation == nullptr)
        return E_POINTER;
    *operation = new (std::nothrow) FileOperation();
    return *operation ? S_OK : E_OUTOFMEMORY;
}

HRESULT FileOperation::Advise(IFileOperationProgressSink* sink, DWORD* cookie)
{
    if (sink == nullptr || cookie == nullptr)
        return E_INVALIDARG;
    *cookie = m_nextCookie++;
    m_advised.emplace(*cookie, sink);
    return S_OK;
}

HRESULT FileOperation::Unadvise(DWORD cookie) { return m_advised.erase(cookie) ? S_OK : E_INVALIDARG; }

HRESULT FileOperation::SetOperationFlags(DWORD flags)
{
    m_flags = flags;
    return S_OK;
}

HRESULT FileOperation::SetOwnerWindow(void*) { return S_OK; }

HRESULT FileOperation::RenameItem(IShellItem* item, LPCWSTR newName, IFileOperationProgressSink* sink)
{
    if (item == nullptr || newName == nullptr)
        return E_INVALIDARG;
    const wstring_view name(newName);
    // A new name is a name in the same folder, nothing more.
    if (name.empty() || name == u"." || name == u".." || name.find_first_of(u"/\\") != wstring_view::npos)
        return E_INVALIDARG;
    m_operations.push_back({Kind::Rename, item, wstring(name), sink});
    return S_OK;
}

HRESULT FileOperation::DeleteItem(IShellItem* item, IFileOperationProgressSink* sink)
{
    if (item == nullptr)
        return E_INVALIDARG;
    m_operations.push_back({Kind::Delete, item, {}, sink});
    return S_OK;
}

HRESULT FileOperation::DeleteItems(IUnknown* items)
{
    ComPtr<IShellItemArray> array = QueryTo<IShellItemArray>(items);
    if (!array)
        return E_INVALIDARG;
    DWORD count = 0;
    HRESULT hr = array->GetCount(&count);
    for (DWORD i = 0; SUCCEEDED(hr) && i < count; ++i)
    {
        ComPtr<IShellItem> item;
        hr = array->GetItemAt(i, item.GetAddressOf());
        if (SUCCEEDED(hr))
            hr = DeleteItem(item.Get(), nullptr);
    }
    return hr;
}

FileOperation::Sinks FileOperation::AdvisedSinks() const
{
    Sinks sinks;
    for (const auto& [cookie, sink] : m_advised)
        sinks.push_back(sink);
    return sinks;
}

FileOperation::Sinks FileOperation::SinksOf(const Operation& operation) const
{
    Sinks sinks;
    if (operation.sink)
        sinks.push_back(operation.sink);
    for (const auto& [cookie, sink] : m_advised)
        sinks.push_back(sink);
    return sinks;
}

HRESULT FileOperation::Rename(const Operation& operation, const Sinks& sinks)
{
    const DWORD flags = m_flags;
    IShellItem* item = operation.item.Get();
    const char16_t* name = operation.newName.c_str();
    HRESULT hr = EachSink(sinks, [&](IFileOperationProgressSink* sink) { return sink->PreRenameItem(flags, item, name); });
    ComPtr<IShellItem2> renamed;
    if (FAILED(hr))
    {
        m_anyAborted = true;
    }
    else
    {
        wstring from;
        hr = PathOf(item, from);
        wstring to = from;
        PathRemoveFileSpecW(to);
        to = PathCombineW(to, operation.newName);
        if (SUCCEEDED(hr))
            hr = FileSystem().Rename(from, to);
        if (SUCCEEDED(hr))
            PathShellItem::Create(to, renamed.GetAddressOf());
    }
    EachSink(sinks, [&](IFileOperationProgressSink* sink) {
        return sink->PostRenameItem(flags, item, name, hr, renamed.Get());
    });
    return hr;
}

HRESULT FileOperation::Delete(const Operation& operation, const Sinks& sinks)
{
    const DWORD flags = m_flags;
    IShellItem* item = operation.item.Get();
    HRESULT hr = EachSink(sinks, [&](IFileOperationProgressSink* sink) { return sink->PreDeleteItem(flags, item); });
    if (FAILED(hr))
    {
        m_anyAborted = true;
    }
    else
    {
        wstring path;
        hr = PathOf(item, path);
        if (SUCCEEDED(hr))
            hr = (flags & FOF_ALLOWUNDO) ? Trash::MoveToTrash(path) : FileSystem().DeleteFile(path);
    }
    EachSink(sinks, [&](IFileOperationProgressSink* sink) { return sink->PostDeleteItem(flags, item, hr, nullptr); });
    return hr;
}

HRESULT FileOperation::Run(const Operation& operation)
{
    const auto sinks = SinksOf(operation);
    return operation.kind == Kind::Rename ? Rename(operation, sinks) : Delete(operation, sinks);
}

HRESULT FileOperation::PerformOperations()
{
    // A sink may release the last reference to this operation while it runs.
    const ComPtr<IFileOperation> self(this);
    std::vector<Operation> operations;
    operations.swap(m_operations);
    EachSink(AdvisedSinks(), [](IFileOperationProgressSink* sink) { return sink->StartOperations(); });
    HRESULT result = S_OK;
    for (std::size_t i = 0; i < operations.size(); ++i)
    {
        const HRESULT hr = Run(operations[i]);
        if (FAILED(hr) && SUCCEEDED(result))
            result = hr;
        if (FAILED(hr) && (m_flags & FOFX_EARLYFAILURE))
        {
            // What was done stays done; what was not is reported as aborted.
            if (i + 1 < operations.size())
                m_anyAborted = true;
            break;
        }
    }
    EachSink(AdvisedSinks(), [&](IFileOperationProgressSink* sink) { return sink->FinishOperations(result); });
    return result;
}

HRESULT FileOperation::GetAnyOperationsAborted(BOOL* aborted)
{
    if (aborted == nullptr)
        return E_POINTER;
    *aborted = m_anyAborted ? TRUE : FALSE;
    return S_OK;
}
} // namespace qm

HRESULT CoCreateInstance(REFCLSID clsid, IUnknown* outer, DWORD, REFIID riid, void** ppv)
{
    if (ppv == nullptr)
        return E_POINTER;
    *ppv = nullptr;
    if (outer)
        return CLASS_E_NOAGGREGATION;
    if (clsid != CLSID_FileOperation)
        return QM_HR(0x80040154u); // REGDB_E_CLASSNOTREG
    ComPtr<IFileOperation> operation;
    HRESULT hr = qm::FileOperation::Create(operation.GetAddressOf());
    return FAILED(hr) ? hr : operation->QueryInterface(riid, ppv);
}
