#include "MetadataCore/DataSourceUnit.h"

#include "MetadataCore/RangeAttributes.h"

#include <new>

namespace qm_mdc
{
HRESULT DataSourceUnit::Create(IXMLDOMNode* element, std::optional<Range> range, DataSourceUnit** unit)
{
    *unit = nullptr;
    if (element == nullptr)
        return E_INVALIDARG;
    ComPtr<IXMLDOMNode> copy;
    HRESULT hr = element->cloneNode(VARIANT_TRUE, copy.GetAddressOf());
    if (FAILED(hr))
        return hr;
    *unit = new (std::nothrow) DataSourceUnit(std::move(copy), range);
    return *unit ? S_OK : E_OUTOFMEMORY;
}

HRESULT DataSourceUnit::CloneRange(LPCWSTR, REFERENCE_TIME start, REFERENCE_TIME end, REFIID riid, void** ppv)
{
    if (ppv == nullptr)
        return E_POINTER;
    *ppv = nullptr;
    ComPtr<DataSourceUnit> unit;
    HRESULT hr = Create(m_content.Get(), Range{start, end}, unit.GetAddressOf());
    return FAILED(hr) ? hr : unit->QueryInterface(riid, ppv);
}

HRESULT DataSourceUnit::Copy(DataSourceUnit** copy) const { return Create(m_content.Get(), m_range, copy); }

HRESULT DataSourceUnit::WriteInto(IXMLDOMNode* parent) const
{
    ComPtr<IXMLDOMNode> copy;
    HRESULT hr = m_content->cloneNode(VARIANT_TRUE, copy.GetAddressOf());
    if (SUCCEEDED(hr) && m_range)
        hr = WriteRange(copy.Get(), m_range->first, m_range->second);
    // Appending moves the copy into the parent's document.
    if (SUCCEEDED(hr))
        hr = parent->appendChild(copy.Get(), nullptr);
    return hr;
}
} // namespace qm_mdc
