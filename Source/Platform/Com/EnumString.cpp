#include "qm/Platform/Com/EnumString.h"

#include "qm/Platform/Com/CoTaskMem.h"
#include "qm/Platform/Com/ObjectRoot.h"

#include <algorithm>
#include <memory>

namespace
{
using Strings = std::shared_ptr<const std::vector<wstring>>;

// Clones share the strings, which never change, and keep a position of their own.
class EnumString final : public Standard::CComObjectRootEx<Standard::CComMultiThreadModel>,
                         public IEnumString,
                         private Standard::AllocatedResource<EnumString>
{
public:
    EnumString(Strings strings, std::size_t position) noexcept
        : m_strings(std::move(strings)), m_position(position)
    {
    }

    QM_IUNKNOWN_IMPL(EnumString, IEnumString)

    HRESULT Next(ULONG count, LPOLESTR* strings, ULONG* fetched) override
    {
        if (fetched)
            *fetched = 0;
        if (strings == nullptr)
            return E_POINTER;
        if (fetched == nullptr && count != 1)
            return E_INVALIDARG;
        const std::size_t available = std::min<std::size_t>(count, Remaining());
        for (std::size_t i = 0; i < available; ++i)
        {
            strings[i] = qm::CoTaskMemStrDup((*m_strings)[m_position + i]);
            if (strings[i] == nullptr)
            {
                // All or nothing: the caller owns no string after a failure.
                std::for_each(strings, strings + i, CoTaskMemFree);
                std::fill(strings, strings + i, nullptr);
                return E_OUTOFMEMORY;
            }
        }
        m_position += available;
        if (fetched)
            *fetched = static_cast<ULONG>(available);
        return available == count ? S_OK : S_FALSE;
    }

    HRESULT Skip(ULONG count) override
    {
        const std::size_t skipped = std::min<std::size_t>(count, Remaining());
        m_position += skipped;
        return skipped == count ? S_OK : S_FALSE;
    }

    HRESULT Reset() override
    {
        m_position = 0;
        return S_OK;
    }

    HRESULT Clone(IEnumString** clone) override { return qm::CreateObject<EnumString>(clone, m_strings, m_position); }

private:
    std::size_t Remaining() const noexcept { return m_strings->size() - m_position; }

    Strings m_strings;
    std::size_t m_position;
};
} // namespace

namespace qm
{
HRESULT CreateEnumString(std::vector<wstring> strings, IEnumString** enumerator)
{
    if (enumerator == nullptr)
        return E_POINTER;
    *enumerator = nullptr;
    Strings shared;
    try
    {
        shared = std::make_shared<const std::vector<wstring>>(std::move(strings));
    }
    catch (const std::bad_alloc&)
    {
        return E_OUTOFMEMORY;
    }
    return CreateObject<EnumString>(enumerator, std::move(shared), 0);
}
} // namespace qm
