// A batch of deletes and renames, run in the order they were queued.
#pragma once

#include "qm/Platform/Com/ObjectRoot.h"
#include "qm/Platform/Shell/FileOperation.h"

#include <map>
#include <vector>

namespace qm
{
class FileOperation final : public Standard::CComObjectRootEx<Standard::CComMultiThreadModel>,
                            public IFileOperation,
                            private Standard::AllocatedResource<FileOperation>
{
public:
    static HRESULT Create(IFileOperation** operation);

    QM_IUNKNOWN_IMPL(FileOperation, IFileOperation)

    HRESULT Advise(IFileOperationProgressSink* sink, DWORD* cookie) override;
    HRESULT Unadvise(DWORD cookie) override;
    HRESULT SetOperationFlags(DWORD flags) override;
    HRESULT SetOwnerWindow(void* window) override;
    HRESULT RenameItem(IShellItem* item, LPCWSTR newName, IFileOperationProgressSink* sink) override;
    HRESULT DeleteItem(IShellItem* item, IFileOperationProgressSink* sink) override;
    HRESULT DeleteItems(IUnknown* items) override;
    HRESULT PerformOperations() override;
    HRESULT GetAnyOperationsAborted(BOOL* aborted) override;

private:
    enum class Kind
    {
        Rename,
        Delete,
    };
    struct Operation
    {
        Kind kind;
        ComPtr<IShellItem> item;
        wstring newName;
        ComPtr<IFileOperationProgressSink> sink;
    };

    FileOperation() = default;
    ~FileOperation() = default;

    // A copy of the sinks, each with a reference of its own: a sink may unadvise itself,
    // or be released, while it is being told.
    using Sinks = std::vector<ComPtr<IFileOperationProgressSink>>;
    Sinks AdvisedSinks() const;
    // The sinks told of an operation: its own, then the advised ones.
    Sinks SinksOf(const Operation& operation) const;
    HRESULT Run(const Operation& operation);
    HRESULT Rename(const Operation& operation, const Sinks& sinks);
    HRESULT Delete(const Operation& operation, const Sinks& sinks);

    DWORD m_flags = 0;
    std::vector<Operation> m_operations;
    std::map<DWORD, ComPtr<IFileOperationProgressSink>> m_advised;
    DWORD m_nextCookie = 1;
    bool m_anyAborted = false;
};
} // namespace qm
