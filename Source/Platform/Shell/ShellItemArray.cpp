#include "Platform/Shell/ShellItemArray.h"

namespace qm
{
HRESULT ShellItemArray::Create(IShellItem* const* items, UINT count, IShellItemArray** array)
{
    if (array == nullptr)
        return E_POINTER;
    *array = nullptr;
    if (items == nullptr && count > 0)
        return E_INVALIDARG;
    try
    {
        ComPtr<ShellItemArray> created;
        created.Attach(new ShellItemArray());
        created->m_items.assign(items, items + count);
        *array = created.Detach();
        return S_OK;
    }
    catch (const std::bad_alloc&)
    {
        return E_OUTOFMEMORY;
    }
}

HRESULT ShellItemArray::GetCount(DWORD* count)
{
    if (count == nullptr)
        return E_POINTER;
    *count = static_cast<DWORD>(m_items.size());
    return S_OK;
}

HRESULT ShellItemArray::GetItemAt(DWORD index, IShellItem** item)
{
    if (item == nullptr)
        return E_POINTER;
    *item = nullptr;
    if (index >= m_items.size())
        return E_INVALIDARG;
    return m_items[index].CopyTo(item);
}
} // namespace qm

HRESULT SHCreateShellItemArrayFromShellItems(IShellItem* const* items, UINT count, IShellItemArray** array)
{
    return qm::ShellItemArray::Create(items, count, array);
}
