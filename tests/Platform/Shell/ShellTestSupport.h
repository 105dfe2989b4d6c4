// A progress sink that records what it is told, and can refuse a step.
#pragma once

#include "qm/Platform/Com/CoTaskMem.h"
#include "qm/Platform/Shell/FileOperation.h"

#include <string>
#include <vector>

namespace qmtest
{
inline std::u16string DisplayName(IShellItem* item, SIGDN form)
{
    LPWSTR text = nullptr;
    if (FAILED(item->GetDisplayName(form, &text)))
        return u"?";
    std::u16string name(text);
    CoTaskMemFree(text);
    return name;
}

class RecordingSink : public IFileOperationProgressSink
{
public:
    HRESULT QueryInterface(REFIID riid, void** ppv) override
    {
        *ppv = (riid == IID_IUnknown || riid == IID_IFileOperationProgressSink) ? this : nullptr;
        return *ppv ? S_OK : E_NOINTERFACE;
    }
    ULONG AddRef() override { return 2; }
    ULONG Release() override { return 1; }

    HRESULT StartOperations() override { return Log(u"start"); }
    HRESULT FinishOperations(HRESULT) override { return Log(u"finish"); }
    HRESULT PreRenameItem(DWORD, IShellItem* item, LPCWSTR name) override
    {
        Log(u"pre-rename " + Name(item) + u" " + name);
        return refuseRename;
    }
    HRESULT PostRenameItem(DWORD, IShellItem* item, LPCWSTR name, HRESULT result, IShellItem* newItem) override
    {
        return Log(u"post-rename " + Name(item) + u" " + name + Result(result) + (newItem ? u" new" : u""));
    }
    HRESULT PreMoveItem(DWORD, IShellItem*, IShellItem*, LPCWSTR) override { return S_OK; }
    HRESULT PostMoveItem(DWORD, IShellItem*, IShellItem*, LPCWSTR, HRESULT, IShellItem*) override { return S_OK; }
    HRESULT PreCopyItem(DWORD, IShellItem*, IShellItem*, LPCWSTR) override { return S_OK; }
    HRESULT PostCopyItem(DWORD, IShellItem*, IShellItem*, LPCWSTR, HRESULT, IShellItem*) override { return S_OK; }
    HRESULT PreDeleteItem(DWORD, IShellItem* item) override { return Log(u"pre-delete " + Name(item)); }
    HRESULT PostDeleteItem(DWORD, IShellItem* item, HRESULT result, IShellItem*) override
    {
        return Log(u"post-delete " + Name(item) + Result(result));
    }
    HRESULT PreNewItem(DWORD, IShellItem*, LPCWSTR) override { return S_OK; }
    HRESULT PostNewItem(DWORD, IShellItem*, LPCWSTR, LPCWSTR, DWORD, HRESULT, IShellItem*) override { return S_OK; }
    HRESULT UpdateProgress(UINT, UINT) override { return S_OK; }
    HRESULT ResetTimer() override { return S_OK; }
    HRESULT PauseTimer() override { return S_OK; }
    HRESULT ResumeTimer() override { return S_OK; }

    std::vector<std::u16string> log;
    HRESULT refuseRename = S_OK;

private:
    static std::u16string Name(IShellItem* item) { return DisplayName(item, SIGDN_NORMALDISPLAY); }
    static std::u16string Result(HRESULT hr) { return SUCCEEDED(hr) ? u" ok" : u" failed"; }
    HRESULT Log(std::u16string entry)
    {
        log.push_back(std::move(entry));
        return S_OK;
    }
};
} // namespace qmtest
