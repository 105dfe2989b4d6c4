// A fixed array of shell items.
#pragma once

#include "qm/Platform/Com/ObjectRoot.h"
#include "qm/Platform/Shell/ShellItem.h"

#include <vector>

namespace qm
{
class ShellItemArray final : public Standard::CComObjectRootEx<Standard::CComMultiThreadModel>,
                             public IShellItemArray,
                             private Standard::AllocatedResource<ShellItemArray>
{
public:
    static HRESULT Create(IShellItem* const* items, UINT count, IShellItemArray** array);

    QM_IUNKNOWN_IMPL(ShellItemArray, IShellItemArray)

    HRESULT GetCount(DWORD* count) override;
    HRESULT GetItemAt(DWORD index, IShellItem** item) override;

private:
    ShellItemArray() = default;
    ~ShellItemArray() = default;

    std::vector<ComPtr<IShellItem>> m_items;
};
} // namespace qm
