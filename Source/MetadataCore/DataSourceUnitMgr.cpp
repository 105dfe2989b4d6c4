#include "MetadataCore/DataSourceUnitMgr.h"

#include "MetadataCore/RangeAttributes.h"

#include <new>

namespace qm_mdc
{
namespace
{
HRESULT TextOf(IXMLDOMNode* node, wstring& name, wstring& value)
{
    CComBSTR nameText;
    CComVariant valueText;
    HRESULT hr = node->get_nodeName(nameText.GetAddressOf());
    if (SUCCEEDED(hr))
        hr = node->get_nodeValue(&valueText);
    if (SUCCEEDED(hr))
    {
        name = wstring(nameText.View());
        value = valueText.vt == VT_BSTR ? wstring(qm::BstrView(valueText.bstrVal)) : wstring();
    }
    return hr;
}
} // namespace

HRESULT DataSourceUnitMgr::Create(DataSourceUnitMgr** manager)
{
    if (manager == nullptr)
        return E_POINTER;
    *manager = new (std::nothrow) DataSourceUnitMgr();
    return *manager ? S_OK : E_OUTOFMEMORY;
}

HRESULT DataSourceUnitMgr::GetUnitCount(LONG* count)
{
    if (count == nullptr)
        return E_POINTER;
    LONG units = 0;
    for (const Child& child : m_content.children)
        units += child.unit ? 1 : 0;
    *count = units;
    return S_OK;
}

HRESULT DataSourceUnitMgr::GetUnit(LONG index, REFIID riid, void** ppv)
{
    if (ppv == nullptr)
        return E_POINTER;
    *ppv = nullptr;
    for (const Child& child : m_content.children)
        if (child.unit && index-- == 0)
            return child.unit->QueryInterface(riid, ppv);
    return E_INVALIDARG;
}

HRESULT DataSourceUnitMgr::CloneManager(IDataSourceUnitMgrCtrl** manager)
{
    if (manager == nullptr)
        return E_POINTER;
    *manager = nullptr;
    ComPtr<DataSourceUnitMgr> copy;
    HRESULT hr = Create(copy.GetAddressOf());
    if (FAILED(hr))
        return hr;
    try
    {
        copy->m_content = m_content;
        // Units are copied, not shared: each manager owns its own.
        for (Child& child : copy->m_content.children)
            if (child.unit)
            {
                ComPtr<DataSourceUnit> unit;
                hr = child.unit->Copy(unit.GetAddressOf());
                if (FAILED(hr))
                    return hr;
                child.unit = unit;
            }
    }
    catch (const std::bad_alloc&)
    {
        return E_OUTOFMEMORY;
    }
    *manager = copy.Detach();
    return S_OK;
}

HRESULT DataSourceUnitMgr::AddUnit(IUnknown* unit)
{
    ComPtr<DataSourceUnit> own;
    if (unit == nullptr ||
        FAILED(unit->QueryInterface(DataSourceUnit::ClassId, reinterpret_cast<void**>(own.GetAddressOf()))))
        return E_INVALIDARG;
    try
    {
        m_content.children.push_back({own, nullptr});
        return S_OK;
    }
    catch (const std::bad_alloc&)
    {
        return E_OUTOFMEMORY;
    }
}

HRESULT DataSourceUnitMgr::SetRangeEnd(REFERENCE_TIME end)
{
    m_content.rangeEnd = end;
    return S_OK;
}

HRESULT DataSourceUnitMgr::SetRangeStart(REFERENCE_TIME start)
{
    m_content.rangeStart = start;
    return S_OK;
}

HRESULT DataSourceUnitMgr::GetRangeStart(REFERENCE_TIME* start)
{
    if (start == nullptr)
        return E_POINTER;
    if (!m_content.rangeStart)
        return S_FALSE;
    *start = *m_content.rangeStart;
    return S_OK;
}

HRESULT DataSourceUnitMgr::GetRangeEnd(REFERENCE_TIME* end)
{
    if (end == nullptr)
        return E_POINTER;
    if (!m_content.rangeEnd)
        return S_FALSE;
    *end = *m_content.rangeEnd;
    return S_OK;
}

HRESULT DataSourceUnitMgr::Read(IXMLDOMNode* node, Content& content)
{
    CComBSTR name;
    if (node == nullptr || FAILED(node->get_nodeName(name.GetAddressOf())) || name.View() != u"DataSource")
        return E_INVALIDARG;
    ComPtr<IXMLDOMNamedNodeMap> attributes;
    HRESULT hr = node->get_attributes(attributes.GetAddressOf());
    if (hr != S_OK)
        return E_INVALIDARG;
    ComPtr<IXMLDOMNode> attribute;
    while (attributes->nextNode(attribute.ReleaseAndGetAddressOf()) == S_OK)
    {
        wstring attributeName, value;
        if (FAILED(TextOf(attribute.Get(), attributeName, value)))
            return E_FAIL;
        if (!IsRangeAttribute(attributeName))
        {
            content.attributes.emplace_back(std::move(attributeName), std::move(value));
            continue;
        }
        REFERENCE_TIME time = 0;
        if (!ReadTime(value, time))
            return E_INVALIDARG;
        (attributeName == kRangeStart ? content.rangeStart : content.rangeEnd) = time;
    }
    ComPtr<IXMLDOMNode> child;
    hr = node->get_firstChild(child.GetAddressOf());
    while (hr == S_OK)
    {
        DOMNodeType type = NODE_INVALID;
        child->get_nodeType(&type);
        Child entry;
        if (type == NODE_ELEMENT)
        {
            hr = DataSourceUnit::Create(child.Get(), std::nullopt, entry.unit.GetAddressOf());
        }
        else
        {
            hr = child->cloneNode(VARIANT_TRUE, entry.other.GetAddressOf());
        }
        if (FAILED(hr))
            return hr;
        content.children.push_back(std::move(entry));
        ComPtr<IXMLDOMNode> next;
        hr = child->get_nextSibling(next.GetAddressOf());
        child = next;
    }
    return FAILED(hr) ? hr : S_OK;
}

bool DataSourceUnitMgr::Load(IXMLDOMNode* node, LPCWSTR)
{
    try
    {
        Content content;
        if (FAILED(Read(node, content)))
            return false;
        m_content = std::move(content);
        return true;
    }
    catch (const std::exception&)
    {
        return false;
    }
}

HRESULT DataSourceUnitMgr::Write(IXMLDOMNode* node) const
{
    ComPtr<IXMLDOMElement> element = QueryTo<IXMLDOMElement>(node);
    if (!element)
        return E_INVALIDARG;
    for (const auto& [name, value] : m_content.attributes)
    {
        HRESULT hr = element->setAttribute(CComBSTR(name), CComVariant(value));
        if (FAILED(hr))
            return hr;
    }
    if (m_content.rangeStart || m_content.rangeEnd)
    {
        HRESULT hr = WriteRange(node, m_content.rangeStart, m_content.rangeEnd);
        if (FAILED(hr))
            return hr;
    }
    for (const Child& child : m_content.children)
    {
        HRESULT hr;
        if (child.unit)
        {
            hr = child.unit->WriteInto(node);
        }
        else
        {
            ComPtr<IXMLDOMNode> copy;
            hr = child.other->cloneNode(VARIANT_TRUE, copy.GetAddressOf());
            if (SUCCEEDED(hr))
                hr = node->appendChild(copy.Get(), nullptr);
        }
        if (FAILED(hr))
            return hr;
    }
    return S_OK;
}

bool DataSourceUnitMgr::Save(IXMLDOMNode* node, LPCWSTR)
{
    try
    {
        return SUCCEEDED(Write(node));
    }
    catch (const std::exception&)
    {
        return false;
    }
}

HRESULT CreateDataSourceUnitMgr(IDataSourceUnitMgrCtrl** ppMgr)
{
    if (ppMgr == nullptr)
        return E_POINTER;
    DataSourceUnitMgr* manager = nullptr;
    HRESULT hr = DataSourceUnitMgr::Create(&manager);
    *ppMgr = manager;
    return hr;
}
} // namespace qm_mdc
