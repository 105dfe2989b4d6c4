#include "DataAccess/Library/XmlNodeAccess.h"

#include "qm/Platform/Com/Bstr.h"

namespace Quillmar::Library::Native
{
HRESULT SelectNode(IXMLDOMNode* node, wstring_view query, ComPtr<IXMLDOMNode>& result)
{
    if (node == nullptr)
        return E_INVALIDARG;
    return node->selectSingleNode(CComBSTR(query), result.ReleaseAndGetAddressOf());
}

HRESULT SelectNodes(IXMLDOMNode* node, wstring_view query, NodeList& result)
{
    result.clear();
    if (node == nullptr)
        return E_INVALIDARG;
    ComPtr<IXMLDOMNodeList> list;
    HRESULT hr = node->selectNodes(CComBSTR(query), list.GetAddressOf());
    if (FAILED(hr) || !list)
        return hr;
    LONG length = 0;
    if (FAILED(hr = list->get_length(&length)))
        return hr;
    result.reserve(static_cast<size_t>(length));
    for (LONG i = 0; i < length; ++i)
    {
        ComPtr<IXMLDOMNode> item;
        if (FAILED(hr = list->get_item(i, item.GetAddressOf())))
            return hr;
        result.push_back(std::move(item));
    }
    return S_OK;
}

HRESULT OwnerDocument(IXMLDOMNode* node, ComPtr<IXMLDOMDocument>& document)
{
    if (node == nullptr)
        return E_INVALIDARG;
    HRESULT hr = node->get_ownerDocument(document.ReleaseAndGetAddressOf());
    if (FAILED(hr))
        return hr;
    if (!document)
        hr = node->QueryInterface(IID_IXMLDOMDocument, reinterpret_cast<void**>(document.GetAddressOf()));
    return document ? S_OK : (FAILED(hr) ? hr : E_UNEXPECTED);
}

HRESULT CreateElement(IXMLDOMNode* node, wstring_view name, ComPtr<IXMLDOMElement>& element)
{
    ComPtr<IXMLDOMDocument> document;
    HRESULT hr = OwnerDocument(node, document);
    if (FAILED(hr))
        return hr;
    return document->createElement(CComBSTR(name), element.ReleaseAndGetAddressOf());
}

HRESULT AsElement(IXMLDOMNode* node, ComPtr<IXMLDOMElement>& element)
{
    if (node == nullptr)
        return E_INVALIDARG;
    return node->QueryInterface(IID_IXMLDOMElement, reinterpret_cast<void**>(element.ReleaseAndGetAddressOf()));
}

HRESULT GetAttributeText(IXMLDOMElement* element, wstring_view name, std::optional<wstring>& value)
{
    value.reset();
    if (element == nullptr)
        return E_INVALIDARG;
    CComVariant text;
    const HRESULT hr = element->getAttribute(CComBSTR(name), &text);
    if (hr != S_OK)
        return hr;
    if (text.vt == VT_BSTR)
        value = wstring(qm::BstrView(text.bstrVal));
    return value ? S_OK : S_FALSE;
}

HRESULT SetAttribute(IXMLDOMElement* element, wstring_view name, const CComVariant& value)
{
    if (element == nullptr)
        return E_INVALIDARG;
    return element->setAttribute(CComBSTR(name), value);
}

HRESULT RemoveAttribute(IXMLDOMElement* element, wstring_view name)
{
    if (element == nullptr)
        return E_INVALIDARG;
    return element->removeAttribute(CComBSTR(name));
}

HRESULT GetNodeText(IXMLDOMNode* node, wstring& text)
{
    if (node == nullptr)
        return E_INVALIDARG;
    CComBSTR value;
    const HRESULT hr = node->get_text(value.GetAddressOf());
    if (SUCCEEDED(hr))
        text = wstring(value.View());
    return hr;
}

HRESULT SetNodeText(IXMLDOMNode* node, wstring_view text)
{
    if (node == nullptr)
        return E_INVALIDARG;
    return node->put_text(CComBSTR(text));
}

HRESULT AppendCData(IXMLDOMElement* element, wstring_view text)
{
    ComPtr<IXMLDOMDocument> document;
    HRESULT hr = OwnerDocument(element, document);
    if (FAILED(hr))
        return hr;
    ComPtr<IXMLDOMCDATASection> section;
    if (FAILED(hr = document->createCDATASection(CComBSTR(text), section.GetAddressOf())))
        return hr;
    return element->appendChild(section.Get(), nullptr);
}

HRESULT RemoveSelected(IXMLDOMNode* parent, wstring_view query)
{
    ComPtr<IXMLDOMNode> child;
    HRESULT hr = SelectNode(parent, query, child);
    if (hr != S_OK)
        return hr;
    return parent->removeChild(child.Get(), nullptr);
}

HRESULT RemoveAllSelected(IXMLDOMNode* parent, wstring_view query)
{
    NodeList children;
    HRESULT hr = SelectNodes(parent, query, children);
    if (FAILED(hr))
        return hr;
    for (const auto& child : children)
        if (FAILED(hr = parent->removeChild(child.Get(), nullptr)))
            return hr;
    return children.empty() ? S_FALSE : S_OK;
}
} // namespace Quillmar::Library::Native
