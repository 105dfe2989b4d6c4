#include "Platform/Xml/XmlNamedNodeMap.h"

#include "Platform/Xml/XmlAttribute.h"

namespace qm::xml
{
XmlNamedNodeMap::XmlNamedNodeMap(XmlElement* element) noexcept : m_holder(element), m_element(element) {}

HRESULT XmlNamedNodeMap::Create(XmlElement* element, IXMLDOMNamedNodeMap** map)
{
    *map = new (std::nothrow) XmlNamedNodeMap(element);
    return *map ? S_OK : E_OUTOFMEMORY;
}

HRESULT XmlNamedNodeMap::getNamedItem(BSTR name, IXMLDOMNode** node)
{
    if (node == nullptr)
        return E_POINTER;
    *node = nullptr;
    ComPtr<IXMLDOMAttribute> attribute;
    HRESULT hr = m_element->getAttributeNode(name, attribute.GetAddressOf());
    if (hr != S_OK)
        return hr;
    *node = attribute.Detach();
    return S_OK;
}

HRESULT XmlNamedNodeMap::get_item(LONG index, IXMLDOMNode** node)
{
    if (node == nullptr)
        return E_POINTER;
    *node = nullptr;
    if (index < 0 || static_cast<std::size_t>(index) >= m_element->Attributes().size())
        return S_FALSE;
    try
    {
        XmlAttribute* attribute = m_element->AttributeNode(static_cast<std::size_t>(index));
        attribute->Hold();
        *node = attribute;
        return S_OK;
    }
    catch (const std::bad_alloc&)
    {
        return E_OUTOFMEMORY;
    }
}

HRESULT XmlNamedNodeMap::get_length(LONG* length)
{
    if (length == nullptr)
        return E_POINTER;
    *length = static_cast<LONG>(m_element->Attributes().size());
    return S_OK;
}

HRESULT XmlNamedNodeMap::nextNode(IXMLDOMNode** node)
{
    HRESULT hr = get_item(static_cast<LONG>(m_next), node);
    if (hr == S_OK)
        ++m_next;
    return hr;
}

HRESULT XmlNamedNodeMap::reset()
{
    m_next = 0;
    return S_OK;
}
} // namespace qm::xml
