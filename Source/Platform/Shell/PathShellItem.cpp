#include "Platform/Shell/PathShellItem.h"

#include "Platform/Kernel/FileSystem.h"
#include "Platform/Kernel/Path.h"
#include "qm/Platform/Com/CoTaskMem.h"

#include <new>
#include <sys/stat.h>

namespace qm
{
namespace
{
HRESULT CopyText(wstring_view text, LPWSTR* out)
{
    *out = CoTaskMemStrDup(text);
    return *out ? S_OK : E_OUTOFMEMORY;
}
} // namespace

HRESULT PathShellItem::Create(wstring_view path, IShellItem2** item)
{
    if (item == nullptr)
        return E_POINTER;
    *item = nullptr;
    if (path.empty() || PathIsRelativeW(path))
        return E_INVALIDARG;
    // The path as the shell parses it: "." and ".." folded before it is looked up.
    wstring normalized = PathCombineW(u"", path);
    HRESULT hr = FileSystem().Exists(normalized);
    if (FAILED(hr))
        return hr;
    if (hr == S_FALSE)
        return HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
    *item = new (std::nothrow) PathShellItem(std::move(normalized));
    return *item ? S_OK : E_OUTOFMEMORY;
}

HRESULT PathShellItem::BindToHandler(void*, REFGUID, REFIID, void** ppv)
{
    if (ppv)
        *ppv = nullptr;
    return E_NOTIMPL;
}

HRESULT PathShellItem::GetParent(IShellItem** parent)
{
    if (parent == nullptr)
        return E_POINTER;
    *parent = nullptr;
    wstring folder = m_path;
    if (!PathRemoveFileSpecW(folder))
        return E_FAIL;
    IShellItem2* item = nullptr;
    HRESULT hr = Create(folder, &item);
    *parent = item;
    return hr;
}

HRESULT PathShellItem::GetDisplayName(SIGDN form, LPWSTR* name)
{
    if (name == nullptr)
        return E_POINTER;
    *name = nullptr;
    if (form == SIGDN_FILESYSPATH || form == SIGDN_DESKTOPABSOLUTEPARSING)
        return CopyText(m_path, name);
    return CopyText(PathFindFileNameW(m_path), name);
}

HRESULT PathShellItem::GetAttributes(SFGAOF mask, SFGAOF* attributes)
{
    if (attributes == nullptr)
        return E_POINTER;
    FileAttributes file;
    HRESULT hr = FileSystem().GetAttributes(m_path, file, false);
    if (FAILED(hr))
        return hr;
    SFGAOF all = SFGAO_FILESYSTEM;
    if (file.isDirectory)
        all |= SFGAO_FOLDER | SFGAO_FILESYSANCESTOR;
    if (file.readOnly)
        all |= SFGAO_READONLY;
    if (PathFindFileNameW(m_path).starts_with(u'.'))
        all |= SFGAO_HIDDEN;
    *attributes = all & mask;
    return *attributes == mask ? S_OK : S_FALSE;
}

HRESULT PathShellItem::Compare(IShellItem* other, SICHINTF, int* order)
{
    if (other == nullptr || order == nullptr)
        return E_INVALIDARG;
    LPWSTR otherPath = nullptr;
    HRESULT hr = other->GetDisplayName(SIGDN_FILESYSPATH, &otherPath);
    if (FAILED(hr))
        return hr;
    *order = m_path.compare(otherPath);
    CoTaskMemFree(otherPath);
    return *order == 0 ? S_OK : S_FALSE;
}

HRESULT PathShellItem::GetPropertyStore(DWORD, REFIID, void** ppv)
{
    if (ppv)
        *ppv = nullptr;
    return E_NOTIMPL;
}

HRESULT PathShellItem::Update(void*) { return S_OK; }

HRESULT PathShellItem::GetProperty(REFPROPERTYKEY key, PROPVARIANT* value)
{
    if (value == nullptr)
        return E_POINTER;
    PropVariantInit(value);
    if (key == PKEY_FileName)
        return InitPropVariantFromString(wstring(PathFindFileNameW(m_path)).c_str(), value);
    if (key == PKEY_FileExtension)
        return InitPropVariantFromString(wstring(PathFindExtensionW(m_path)).c_str(), value);
    if (key == PKEY_Size || key == PKEY_DateModified)
    {
        FileAttributes file;
        HRESULT hr = FileSystem().GetAttributes(m_path, file, false);
        if (FAILED(hr))
            return hr;
        if (key == PKEY_Size)
        {
            value->vt = VT_UI8;
            value->uhVal = file.size;
        }
        else
        {
            value->vt = VT_FILETIME;
            value->filetime = file.lastWriteTime;
        }
    }
    return S_OK;
}

HRESULT PathShellItem::GetString(REFPROPERTYKEY key, LPWSTR* value)
{
    if (value == nullptr)
        return E_POINTER;
    *value = nullptr;
    PROPVARIANT property;
    HRESULT hr = GetProperty(key, &property);
    if (SUCCEEDED(hr))
        hr = property.vt == VT_LPWSTR ? PropVariantToStringAlloc(property, value) : DISP_E_TYPEMISMATCH;
    PropVariantClear(&property);
    return hr;
}

HRESULT PathShellItem::GetUInt64(REFPROPERTYKEY key, ULONGLONG* value)
{
    if (value == nullptr)
        return E_POINTER;
    PROPVARIANT property;
    HRESULT hr = GetProperty(key, &property);
    if (SUCCEEDED(hr))
    {
        if (property.vt == VT_UI8)
            *value = property.uhVal;
        else
            hr = DISP_E_TYPEMISMATCH;
    }
    PropVariantClear(&property);
    return hr;
}
} // namespace qm

HRESULT SHCreateItemFromParsingName(LPCWSTR path, void*, REFIID riid, void** ppv)
{
    if (ppv == nullptr)
        return E_POINTER;
    *ppv = nullptr;
    if (path == nullptr)
        return E_INVALIDARG;
    ComPtr<IShellItem2> item;
    HRESULT hr = qm::PathShellItem::Create(path, item.GetAddressOf());
    if (FAILED(hr))
        return hr;
    return item->QueryInterface(riid, ppv);
}
