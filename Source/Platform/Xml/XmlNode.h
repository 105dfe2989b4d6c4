// XmlNode<Itf>: the IXMLDOMNode part that every kind of node shares, on top of the tree
// of XmlNodeCore. The operations themselves are plain functions of XmlNodeOps, so that
// each kind of node instantiates only the forwarding.
#pragma once

#include "Platform/Xml/XmlNodeCore.h"

namespace qm::xml
{
namespace XmlNodeOps
{
HRESULT QueryInterface(XmlNodeCore& node, REFIID riid, void** ppv);
HRESULT GetNodeName(XmlNodeCore& node, BSTR* name);
HRESULT GetNodeValue(XmlNodeCore& node, VARIANT* value);
HRESULT PutNodeValue(XmlNodeCore& node, const VARIANT& value);
HRESULT GetParentNode(XmlNodeCore& node, IXMLDOMNode** parent);
HRESULT GetChildNodes(XmlNodeCore& node, IXMLDOMNodeList** children);
HRESULT GetRelative(XmlNodeCore* relative, IXMLDOMNode** result);
HRESULT GetAttributes(XmlNodeCore& node, IXMLDOMNamedNodeMap** attributes);
HRESULT InsertBefore(XmlNodeCore& node, IXMLDOMNode* newChild, const VARIANT& refChild, IXMLDOMNode** outNewChild);
HRESULT ReplaceChild(XmlNodeCore& node, IXMLDOMNode* newChild, IXMLDOMNode* oldChild, IXMLDOMNode** outOldChild);
HRESULT RemoveChild(XmlNodeCore& node, IXMLDOMNode* child, IXMLDOMNode** outOldChild);
HRESULT AppendChild(XmlNodeCore& node, IXMLDOMNode* newChild, IXMLDOMNode** outNewChild);
HRESULT HasChildNodes(XmlNodeCore& node, VARIANT_BOOL* has);
HRESULT GetOwnerDocument(XmlNodeCore& node, IXMLDOMDocument** document);
HRESULT CloneNode(XmlNodeCore& node, VARIANT_BOOL deep, IXMLDOMNode** clone);
HRESULT GetText(XmlNodeCore& node, BSTR* text);
HRESULT PutText(XmlNodeCore& node, BSTR text);
HRESULT GetXml(XmlNodeCore& node, BSTR* xml);
HRESULT SelectNodes(XmlNodeCore& node, BSTR query, IXMLDOMNodeList** result);
HRESULT SelectSingleNode(XmlNodeCore& node, BSTR query, IXMLDOMNode** result);
} // namespace XmlNodeOps

template <class Itf>
class XmlNode : public qm::DispatchNotImplemented<Itf>, public XmlNodeCore
{
public:
    // IUnknown
    HRESULT QueryInterface(REFIID riid, void** ppv) override { return XmlNodeOps::QueryInterface(*this, riid, ppv); }
    ULONG AddRef() override { return Hold(); }
    ULONG Release() override { return Unhold(); }

    // IXMLDOMNode
    HRESULT get_nodeName(BSTR* name) override { return XmlNodeOps::GetNodeName(*this, name); }
    HRESULT get_nodeValue(VARIANT* value) override { return XmlNodeOps::GetNodeValue(*this, value); }
    HRESULT put_nodeValue(VARIANT value) override { return XmlNodeOps::PutNodeValue(*this, value); }
    HRESULT get_nodeType(DOMNodeType* type) override
    {
        if (type == nullptr)
            return E_POINTER;
        *type = Type();
        return S_OK;
    }
    HRESULT get_parentNode(IXMLDOMNode** parent) override { return XmlNodeOps::GetParentNode(*this, parent); }
    HRESULT get_childNodes(IXMLDOMNodeList** children) override { return XmlNodeOps::GetChildNodes(*this, children); }
    HRESULT get_firstChild(IXMLDOMNode** child) override { return Relative(FirstChild(), child); }
    HRESULT get_lastChild(IXMLDOMNode** child) override { return Relative(LastChild(), child); }
    HRESULT get_previousSibling(IXMLDOMNode** sibling) override { return Relative(PreviousSibling(), sibling); }
    HRESULT get_nextSibling(IXMLDOMNode** sibling) override { return Relative(NextSibling(), sibling); }
    HRESULT get_attributes(IXMLDOMNamedNodeMap** attributes) override
    {
        return XmlNodeOps::GetAttributes(*this, attributes);
    }
    HRESULT insertBefore(IXMLDOMNode* newChild, VARIANT refChild, IXMLDOMNode** outNewChild) override
    {
        return XmlNodeOps::InsertBefore(*this, newChild, refChild, outNewChild);
    }
    HRESULT replaceChild(IXMLDOMNode* newChild, IXMLDOMNode* oldChild, IXMLDOMNode** outOldChild) override
    {
        return XmlNodeOps::ReplaceChild(*this, newChild, oldChild, outOldChild);
    }
    HRESULT removeChild(IXMLDOMNode* child, IXMLDOMNode** outOldChild) override
    {
        return XmlNodeOps::RemoveChild(*this, child, outOldChild);
    }
    HRESULT appendChild(IXMLDOMNode* newChild, IXMLDOMNode** outNewChild) override
    {
        return XmlNodeOps::AppendChild(*this, newChild, outNewChild);
    }
    HRESULT hasChildNodes(VARIANT_BOOL* has) override { return XmlNodeOps::HasChildNodes(*this, has); }
    HRESULT get_ownerDocument(IXMLDOMDocument** document) override
    {
        return XmlNodeOps::GetOwnerDocument(*this, document);
    }
    HRESULT cloneNode(VARIANT_BOOL deep, IXMLDOMNode** clone) override
    {
        return XmlNodeOps::CloneNode(*this, deep, clone);
    }
    HRESULT get_text(BSTR* text) override { return XmlNodeOps::GetText(*this, text); }
    HRESULT put_text(BSTR text) override { return XmlNodeOps::PutText(*this, text); }
    HRESULT get_xml(BSTR* xml) override { return XmlNodeOps::GetXml(*this, xml); }
    HRESULT selectNodes(BSTR query, IXMLDOMNodeList** result) override
    {
        return XmlNodeOps::SelectNodes(*this, query, result);
    }
    HRESULT selectSingleNode(BSTR query, IXMLDOMNode** result) override
    {
        return XmlNodeOps::SelectSingleNode(*this, query, result);
    }

    IXMLDOMNode* Interface() noexcept override { return this; }

protected:
    XmlNode(DOMNodeType type, XmlDocument* owner) noexcept : XmlNodeCore(type, owner) {}

private:
    static HRESULT Relative(XmlNodeCore* relative, IXMLDOMNode** result)
    {
        return XmlNodeOps::GetRelative(relative, result);
    }
};
} // namespace qm::xml
