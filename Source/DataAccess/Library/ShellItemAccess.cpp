#include "DataAccess/Library/ShellItemAccess.h"

#include "qm/Platform/Com/CoTaskMem.h"

namespace Quillmar::Library::Native
{
namespace
{
HRESULT TakeText(HRESULT hr, LPWSTR text, wstring& value)
{
    if (SUCCEEDED(hr))
        value = text ? wstring(text) : wstring();
    CoTaskMemFree(text);
    return hr;
}
} // namespace

HRESULT DisplayName(IShellItem* item, SIGDN form, wstring& name)
{
    LPWSTR text = nullptr;
    const HRESULT hr = item->GetDisplayName(form, &text);
    return TakeText(hr, text, name);
}

HRESULT ShellItemOf(const wstring& path, ComPtr<IShellItem>& item)
{
    return SHCreateItemFromParsingName(path.c_str(), nullptr, IID_IShellItem,
                                       reinterpret_cast<void**>(item.ReleaseAndGetAddressOf()));
}

HRESULT StringProperty(IShellItem* item, const PROPERTYKEY& key, wstring& value)
{
    ComPtr<IShellItem2> item2;
    const HRESULT hr = item->QueryInterface(IID_IShellItem2, reinterpret_cast<void**>(item2.GetAddressOf()));
    if (FAILED(hr))
        return hr;
    LPWSTR text = nullptr;
    const HRESULT got = item2->GetString(key, &text);
    return TakeText(got, text, value);
}
} // namespace Quillmar::Library::Native
