// A shell item for a path of the file system.
#pragma once

#include "qm/Platform/Com/ObjectRoot.h"
#include "qm/Platform/Shell/ShellItem.h"

namespace qm
{
class PathShellItem final : public Standard::CComObjectRootEx<Standard::CComMultiThreadModel>,
                            public IShellItem2,
                            private Standard::AllocatedResource<PathShellItem>
{
public:
    // An item for an absolute path that exists.
    static HRESULT Create(wstring_view path, IShellItem2** item);

    QM_IUNKNOWN_IMPL(PathShellItem, IShellItem2, IShellItem)

    HRESULT BindToHandler(void* bindContext, REFGUID handler, REFIID riid, void** ppv) override;
    HRESULT GetParent(IShellItem** parent) override;
    HRESULT GetDisplayName(SIGDN form, LPWSTR* name) override;
    HRESULT GetAttributes(SFGAOF mask, SFGAOF* attributes) override;
    HRESULT Compare(IShellItem* other, SICHINTF hint, int* order) override;
    HRESULT GetPropertyStore(DWORD flags, REFIID riid, void** ppv) override;
    HRESULT Update(void* bindContext) override;
    HRESULT GetProperty(REFPROPERTYKEY key, PROPVARIANT* value) override;
    HRESULT GetString(REFPROPERTYKEY key, LPWSTR* value) override;
    HRESULT GetUInt64(REFPROPERTYKEY key, ULONGLONG* value) override;

    const wstring& Path() const noexcept { return m_path; }

private:
    explicit PathShellItem(wstring path) : m_path(std::move(path)) {}
    ~PathShellItem() = default;

    wstring m_path;
};
} // namespace qm
