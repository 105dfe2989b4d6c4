// A batch of file deletes and renames, run by PerformOperations, with sinks told of each
// step. A rename never replaces an existing file; a delete that allows undo moves the
// file to the freedesktop.org Trash.
#pragma once

#include "qm/Platform/Shell/ShellItem.h"

constexpr DWORD FOF_SILENT = 0x0004;
constexpr DWORD FOF_NOCONFIRMATION = 0x0010;
constexpr DWORD FOF_ALLOWUNDO = 0x0040;
constexpr DWORD FOF_NOERRORUI = 0x0400;
constexpr DWORD FOFX_EARLYFAILURE = 0x00100000;

// The copy engine's "cancelled by the user".
#define COPYENGINE_E_USER_CANCELLED QM_HR(0x80270000u)

struct IFileOperationProgressSink : IUnknown
{
    virtual HRESULT StartOperations() = 0;
    virtual HRESULT FinishOperations(HRESULT result) = 0;
    // A failure from a Pre step refuses that operation.
    virtual HRESULT PreRenameItem(DWORD flags, IShellItem* item, LPCWSTR newName) = 0;
    virtual HRESULT PostRenameItem(DWORD flags, IShellItem* item, LPCWSTR newName, HRESULT result,
                                   IShellItem* newItem) = 0;
    virtual HRESULT PreMoveItem(DWORD flags, IShellItem* item, IShellItem* destination, LPCWSTR newName) = 0;
    virtual HRESULT PostMoveItem(DWORD flags, IShellItem* item, IShellItem* destination, LPCWSTR newName,
                                 HRESULT result, IShellItem* newItem) = 0;
    virtual HRESULT PreCopyItem(DWORD flags, IShellItem* item, IShellItem* destination, LPCWSTR newName) = 0;
    virtual HRESULT PostCopyItem(DWORD flags, IShellItem* item, IShellItem* destination, LPCWSTR newName,
                                 HRESULT result, IShellItem* newItem) = 0;
    virtual HRESULT PreDeleteItem(DWORD flags, IShellItem* item) = 0;
    virtual HRESULT PostDeleteItem(DWORD flags, IShellItem* item, HRESULT result, IShellItem* newItem) = 0;
    virtual HRESULT PreNewItem(DWORD flags, IShellItem* destination, LPCWSTR newName) = 0;
    virtual HRESULT PostNewItem(DWORD flags, IShellItem* destination, LPCWSTR newName, LPCWSTR templateName,
                                DWORD attributes, HRESULT result, IShellItem* newItem) = 0;
    virtual HRESULT UpdateProgress(UINT total, UINT done) = 0;
    virtual HRESULT ResetTimer() = 0;
    virtual HRESULT PauseTimer() = 0;
    virtual HRESULT ResumeTimer() = 0;
};
QM_DECLARE_IID(IFileOperationProgressSink, "{04B0F1A7-9490-44BC-96E1-4296A31252E2}")

struct IFileOperation : IUnknown
{
    // A sink told of every operation of the batch; the cookie ends it.
    virtual HRESULT Advise(IFileOperationProgressSink* sink, DWORD* cookie) = 0;
    virtual HRESULT Unadvise(DWORD cookie) = 0;
    virtual HRESULT SetOperationFlags(DWORD flags) = 0;
    // Kept for the callers; there is no window to own anything here.
    virtual HRESULT SetOwnerWindow(void* window) = 0;
    // newName is a file name in the item's folder.
    virtual HRESULT RenameItem(IShellItem* item, LPCWSTR newName, IFileOperationProgressSink* sink) = 0;
    virtual HRESULT DeleteItem(IShellItem* item, IFileOperationProgressSink* sink) = 0;
    virtual HRESULT DeleteItems(IUnknown* items) = 0;
    // Runs what was queued, in order. With FOFX_EARLYFAILURE the first failure stops the
    // rest; what was done stays done. The result is the first failure, or S_OK.
    virtual HRESULT PerformOperations() = 0;
    // TRUE when an operation was refused by a sink or not run after an early failure.
    virtual HRESULT GetAnyOperationsAborted(BOOL* aborted) = 0;
};
QM_DECLARE_IID(IFileOperation, "{947AAB5F-0A5C-4C13-B4D6-4BF7836FC9F8}")

inline constexpr CLSID CLSID_FileOperation = qm::ParseGuid("{3AD05575-8857-4850-9277-11B85BDB8E09}");

// The platform's classes made by identifier: the file operation.
QM_API HRESULT CoCreateInstance(REFCLSID clsid, IUnknown* outer, DWORD context, REFIID riid, void** ppv);
constexpr DWORD CLSCTX_ALL = 0x17;
