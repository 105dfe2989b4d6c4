#include "Platform/Xml/XmlElement.h"

#include "Platform/Xml/XmlAttribute.h"
#include "Platform/Xml/XmlChars.h"
#include "Platform/Xml/XmlDocument.h"

#include <algorithm>
#include <new>

namespace qm::xml
{
XmlElement::XmlElement(XmlDocument* owner, XmlString name) noexcept
    : XmlNode(NODE_ELEMENT, owner), m_name(std::move(name))
{
}

XmlElement* XmlElement::Create(XmlDocument* owner, XmlString name, XmlArena* arena)
{
    return Make<XmlElement>(arena, owner, std::move(name));
}

const XmlString* XmlElement::FindAttribute(wstring_view name) const noexcept
{
    for (const Attribute& attribute : m_attributes)
        if (attribute.name.View() == name)
            return &attribute.Value();
    return nullptr;
}

XmlElement::Attribute* XmlElement::Find(wstring_view name) noexcept
{
    return std::find_if(m_attributes.begin(), m_attributes.end(),
                        [name](const Attribute& attribute) { return attribute.name.View() == name; });
}

HRESULT XmlElement::SetAttributeText(wstring_view name, wstring_view value)
{
    if (!IsValidName(name) || !IsValidText(value))
        return E_INVALIDARG;
    auto found = Find(name);
    if (found == m_attributes.end())
        m_attributes.Append({XmlString(name), XmlString(value)});
    else if (found->node)
        found->node->SetValue(XmlString(value));
    else
        found->value = XmlString(value);
    return S_OK;
}

XmlAttribute* XmlElement::AttributeNode(std::size_t index)
{
    Attribute& attribute = m_attributes[index];
    if (attribute.node == nullptr)
    {
        // The node may outlive this element and its arena: it owns copies.
        attribute.node = XmlAttribute::Create(Owner(), XmlString(attribute.name.View()), XmlString(attribute.value.View()));
        attribute.node->SetParent(this);
        attribute.value = XmlString();
    }
    return attribute.node;
}

HRESULT XmlElement::get_tagName(BSTR* name) { return get_nodeName(name); }

HRESULT XmlElement::getAttribute(BSTR name, VARIANT* value)
{
    if (value == nullptr)
        return E_POINTER;
    VariantInit(value);
    const XmlString* found = FindAttribute(qm::BstrView(name));
    if (found == nullptr)
    {
        value->vt = VT_NULL;
        return S_FALSE;
    }
    value->bstrVal = SysAllocStringLen(found->data(), static_cast<UINT>(found->size()));
    if (value->bstrVal == nullptr)
        return E_OUTOFMEMORY;
    value->vt = VT_BSTR;
    return S_OK;
}

HRESULT XmlElement::setAttribute(BSTR name, VARIANT value)
{
    CComVariant text;
    HRESULT hr = VariantChangeType(&text, &value, 0, VT_BSTR);
    if (FAILED(hr))
        return hr;
    try
    {
        return SetAttributeText(qm::BstrView(name), qm::BstrView(text.bstrVal));
    }
    catch (const std::bad_alloc&)
    {
        return E_OUTOFMEMORY;
    }
}

HRESULT XmlElement::removeAttribute(BSTR name)
{
    auto found = Find(qm::BstrView(name));
    if (found == m_attributes.end())
        return S_OK;
    if (XmlAttribute* node = found->node)
    {
        RemoveChild(node);
        XmlNodeCore::ReleaseIfUnheld(node);
    }
    else
    {
        m_attributes.Erase(found);
    }
    return S_OK;
}

HRESULT XmlElement::getAttributeNode(BSTR name, IXMLDOMAttribute** attribute)
{
    if (attribute == nullptr)
        return E_POINTER;
    *attribute = nullptr;
    auto found = Find(qm::BstrView(name));
    if (found == m_attributes.end())
        return S_FALSE;
    try
    {
        XmlAttribute* node = AttributeNode(static_cast<std::size_t>(found - m_attributes.begin()));
        node->Hold();
        *attribute = node;
        return S_OK;
    }
    catch (const std::bad_alloc&)
    {
        return E_OUTOFMEMORY;
    }
}

void* XmlElement::QueryTyped(REFIID riid) noexcept
{
    return riid == IID_IXMLDOMElement ? static_cast<IXMLDOMElement*>(this) : nullptr;
}

XmlNodeCore* XmlElement::CloneSelf(XmlDocument* owner) const
{
    XmlElement* copy = Create(owner, XmlString(m_name.View()));
    try
    {
        copy->m_attributes.Reserve(m_attributes.size());
        for (const Attribute& attribute : m_attributes)
            copy->m_attributes.Append({XmlString(attribute.name.View()), XmlString(attribute.Value().View())});
    }
    catch (...)
    {
        DestroySubtree(copy);
        throw;
    }
    return copy;
}

XmlElement::~XmlElement()
{
    // Attribute nodes of an element that dies are held by nobody.
    for (Attribute& attribute : m_attributes)
        if (attribute.node)
            DestroySubtree(attribute.node);
}

void XmlElement::DetachAttribute(XmlNodeCore* node) noexcept
{
    auto found = std::find_if(m_attributes.begin(), m_attributes.end(),
                              [node](const Attribute& attribute) { return attribute.node == node; });
    if (found != m_attributes.end())
        m_attributes.Erase(found);
}

void XmlElement::OnOwnerChanged(XmlDocument* owner) noexcept
{
    for (Attribute& attribute : m_attributes)
        if (attribute.node)
            attribute.node->SetOwner(owner);
}
} // namespace qm::xml
