#include "Platform/Xml/XmlNode.h"

#include "Platform/Xml/XmlAttribute.h"
#include "Platform/Xml/XmlChars.h"
#include "Platform/Xml/XmlDocument.h"
#include "Platform/Xml/XmlElement.h"
#include "Platform/Xml/XmlNamedNodeMap.h"
#include "Platform/Xml/XmlNodeList.h"
#include "Platform/Xml/XmlCharacterData.h"
#include "Platform/Xml/XmlWriter.h"
#include "Platform/Xml/XPathQuery.h"

#include <new>
#include <unordered_map>

namespace qm::xml::XmlNodeOps
{
namespace
{
// Hands a node to an out-parameter with one reference.
HRESULT HandOut(XmlNodeCore* node, IXMLDOMNode** result)
{
    *result = node->Interface();
    node->Hold();
    return S_OK;
}

HRESULT HandOutBstr(wstring_view text, BSTR* result)
{
    *result = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    return *result ? S_OK : E_OUTOFMEMORY;
}

// The node that a reference variant names: null for an empty reference.
HRESULT ReferenceNode(const VARIANT& reference, XmlNodeCore*& node)
{
    node = nullptr;
    switch (reference.vt)
    {
    case VT_EMPTY:
    case VT_NULL:
        return S_OK;
    case VT_UNKNOWN:
    case VT_DISPATCH:
        if (reference.punkVal == nullptr)
            return S_OK;
        node = CoreOf(reference.punkVal);
        return node ? S_OK : E_INVALIDARG;
    default:
        return E_INVALIDARG;
    }
}

// The compiled form of a query. The few queries a program makes are compiled once per
// thread; the cache starts again when odd queries have filled it.
HRESULT Compiled(wstring_view query, const XPathQuery*& compiled)
{
    constexpr std::size_t kMaxCachedQueries = 256;
    thread_local std::unordered_map<wstring, XPathQuery> cache;
    const wstring key(query);
    if (const auto found = cache.find(key); found != cache.end())
    {
        compiled = &found->second;
        return S_OK;
    }
    XPathQuery fresh;
    const HRESULT hr = fresh.Compile(query);
    if (FAILED(hr))
        return hr;
    if (cache.size() >= kMaxCachedQueries)
        cache.clear();
    compiled = &cache.emplace(key, std::move(fresh)).first->second;
    return S_OK;
}

// The nodes a query selects from node, or its failure.
HRESULT Evaluate(XmlNodeCore& node, BSTR query, bool firstOnly, std::vector<XmlNodeCore*>& nodes)
{
    try
    {
        const XPathQuery* compiled = nullptr;
        HRESULT hr = Compiled(qm::BstrView(query), compiled);
        if (SUCCEEDED(hr))
            compiled->Select(node, nodes, firstOnly);
        return hr;
    }
    catch (const std::bad_alloc&)
    {
        return E_OUTOFMEMORY;
    }
}

HRESULT Insert(XmlNodeCore& parent, IXMLDOMNode* newChild, XmlNodeCore* before, IXMLDOMNode** outNewChild)
{
    if (outNewChild)
        *outNewChild = nullptr;
    XmlNodeCore* child = CoreOf(newChild);
    if (child == nullptr)
        return E_INVALIDARG;
    HRESULT hr = parent.CanInsert(child, before);
    if (FAILED(hr))
        return hr;
    if (child != before)
    {
        // Keep the child alive while it moves, whoever held it before.
        child->Hold();
        if (XmlNodeCore* oldParent = child->Parent())
            oldParent->RemoveChild(child);
        parent.InsertChild(child, before);
        child->Unhold();
    }
    if (outNewChild)
        HandOut(child, outNewChild);
    return S_OK;
}
} // namespace

HRESULT QueryInterface(XmlNodeCore& node, REFIID riid, void** ppv)
{
    if (ppv == nullptr)
        return E_POINTER;
    if (riid == IID_IUnknown || riid == IID_IDispatch || riid == IID_IXMLDOMNode)
        *ppv = node.Interface();
    else if (riid == IID_XmlNodeCore)
        *ppv = &node;
    else
        *ppv = node.QueryTyped(riid);
    if (*ppv == nullptr)
        return E_NOINTERFACE;
    node.Hold();
    return S_OK;
}

HRESULT GetNodeName(XmlNodeCore& node, BSTR* name)
{
    if (name == nullptr)
        return E_POINTER;
    return HandOutBstr(node.NodeName(), name);
}

HRESULT GetNodeValue(XmlNodeCore& node, VARIANT* value)
{
    if (value == nullptr)
        return E_POINTER;
    VariantInit(value);
    const XmlString* text = node.ValuePtr();
    if (text == nullptr)
    {
        value->vt = VT_NULL;
        return S_FALSE;
    }
    HRESULT hr = HandOutBstr(*text, &value->bstrVal);
    if (SUCCEEDED(hr))
        value->vt = VT_BSTR;
    return hr;
}

HRESULT PutNodeValue(XmlNodeCore& node, const VARIANT& value)
{
    if (node.ValuePtr() == nullptr)
        return E_FAIL;
    CComVariant text;
    HRESULT hr = VariantChangeType(&text, &value, 0, VT_BSTR);
    if (FAILED(hr))
        return hr;
    return PutText(node, text.bstrVal);
}

HRESULT GetParentNode(XmlNodeCore& node, IXMLDOMNode** parent)
{
    if (parent == nullptr)
        return E_POINTER;
    *parent = nullptr;
    // An attribute has no parent in the DOM, though its element keeps it alive.
    if (node.Type() == NODE_ATTRIBUTE || node.Parent() == nullptr)
        return S_FALSE;
    return HandOut(node.Parent(), parent);
}

HRESULT GetChildNodes(XmlNodeCore& node, IXMLDOMNodeList** children)
{
    if (children == nullptr)
        return E_POINTER;
    *children = nullptr;
    std::vector<XmlNodeCore*> nodes;
    for (XmlNodeCore* child = node.FirstChild(); child; child = child->NextSibling())
        nodes.push_back(child);
    return XmlNodeList::Create(nodes, children);
}

HRESULT GetRelative(XmlNodeCore* relative, IXMLDOMNode** result)
{
    if (result == nullptr)
        return E_POINTER;
    *result = nullptr;
    if (relative == nullptr)
        return S_FALSE;
    return HandOut(relative, result);
}

HRESULT GetAttributes(XmlNodeCore& node, IXMLDOMNamedNodeMap** attributes)
{
    if (attributes == nullptr)
        return E_POINTER;
    *attributes = nullptr;
    if (node.Type() != NODE_ELEMENT)
        return S_FALSE;
    return XmlNamedNodeMap::Create(static_cast<XmlElement*>(&node), attributes);
}

HRESULT InsertBefore(XmlNodeCore& node, IXMLDOMNode* newChild, const VARIANT& refChild, IXMLDOMNode** outNewChild)
{
    XmlNodeCore* before = nullptr;
    HRESULT hr = ReferenceNode(refChild, before);
    if (FAILED(hr))
    {
        if (outNewChild)
            *outNewChild = nullptr;
        return hr;
    }
    return Insert(node, newChild, before, outNewChild);
}

HRESULT ReplaceChild(XmlNodeCore& node, IXMLDOMNode* newChild, IXMLDOMNode* oldChild, IXMLDOMNode** outOldChild)
{
    if (outOldChild)
        *outOldChild = nullptr;
    XmlNodeCore* old = CoreOf(oldChild);
    if (old == nullptr || old->Parent() != &node || old->Type() == NODE_ATTRIBUTE)
        return E_INVALIDARG;
    if (CoreOf(newChild) == old)
        return outOldChild ? HandOut(old, outOldChild) : S_OK;
    // The old child leaves first, so that a document's one element may be replaced.
    XmlNodeCore* next = old->NextSibling();
    old->Hold();
    node.RemoveChild(old);
    HRESULT hr = Insert(node, newChild, next, nullptr);
    if (FAILED(hr))
        node.InsertChild(old, next);
    else if (outOldChild)
        HandOut(old, outOldChild);
    old->Unhold();
    return hr;
}

HRESULT RemoveChild(XmlNodeCore& node, IXMLDOMNode* child, IXMLDOMNode** outOldChild)
{
    if (outOldChild)
        *outOldChild = nullptr;
    XmlNodeCore* core = CoreOf(child);
    if (core == nullptr || core->Parent() != &node || core->Type() == NODE_ATTRIBUTE)
        return E_INVALIDARG;
    node.RemoveChild(core);
    if (outOldChild)
        return HandOut(core, outOldChild);
    XmlNodeCore::ReleaseIfUnheld(core);
    return S_OK;
}

HRESULT AppendChild(XmlNodeCore& node, IXMLDOMNode* newChild, IXMLDOMNode** outNewChild)
{
    return Insert(node, newChild, nullptr, outNewChild);
}

HRESULT HasChildNodes(XmlNodeCore& node, VARIANT_BOOL* has)
{
    if (has == nullptr)
        return E_POINTER;
    *has = node.FirstChild() ? VARIANT_TRUE : VARIANT_FALSE;
    return node.FirstChild() ? S_OK : S_FALSE;
}

HRESULT GetOwnerDocument(XmlNodeCore& node, IXMLDOMDocument** document)
{
    if (document == nullptr)
        return E_POINTER;
    *document = nullptr;
    if (node.Type() == NODE_DOCUMENT)
        return S_FALSE;
    *document = node.Owner();
    node.Owner()->AddRef();
    return S_OK;
}

HRESULT CloneNode(XmlNodeCore& node, VARIANT_BOOL deep, IXMLDOMNode** clone)
{
    if (clone == nullptr)
        return E_POINTER;
    *clone = nullptr;
    try
    {
        XmlNodeCore* copy;
        if (node.Type() == NODE_DOCUMENT)
        {
            XmlDocument* document = static_cast<XmlDocument&>(node).CloneEmpty();
            copy = document;
            try
            {
                if (deep != VARIANT_FALSE)
                    for (XmlNodeCore* child = node.FirstChild(); child; child = child->NextSibling())
                        document->InsertChild(child->Clone(true, document), nullptr);
            }
            catch (...)
            {
                // The half-built copy goes, with what it holds already.
                DestroySubtree(document);
                throw;
            }
        }
        else
        {
            copy = node.Clone(deep != VARIANT_FALSE, node.Owner());
        }
        return HandOut(copy, clone);
    }
    catch (const std::bad_alloc&)
    {
        return E_OUTOFMEMORY;
    }
}

HRESULT GetText(XmlNodeCore& node, BSTR* text)
{
    if (text == nullptr)
        return E_POINTER;
    try
    {
        return HandOutBstr(node.Text(), text);
    }
    catch (const std::bad_alloc&)
    {
        *text = nullptr;
        return E_OUTOFMEMORY;
    }
}

HRESULT PutText(XmlNodeCore& node, BSTR text)
{
    wstring_view value = qm::BstrView(text);
    if (!IsValidText(value))
        return E_INVALIDARG;
    try
    {
        switch (node.Type())
        {
        case NODE_TEXT:
        case NODE_CDATA_SECTION:
            static_cast<XmlText&>(node).SetValue(XmlString(value));
            return S_OK;
        case NODE_COMMENT:
            if (!IsValidComment(value))
                return E_INVALIDARG;
            static_cast<XmlComment&>(node).SetValue(XmlString(value));
            return S_OK;
        case NODE_PROCESSING_INSTRUCTION: {
            auto& pi = static_cast<XmlProcessingInstruction&>(node);
            if (!IsValidProcessingInstruction(pi.Target(), value))
                return E_INVALIDARG;
            pi.SetValue(XmlString(value));
            return S_OK;
        }
        case NODE_ATTRIBUTE:
            static_cast<XmlAttribute&>(node).SetValue(XmlString(value));
            return S_OK;
        case NODE_ELEMENT: {
            XmlText* child = value.empty() ? nullptr : XmlText::Create(node.Owner(), NODE_TEXT, XmlString(value));
            node.RemoveAllChildren();
            if (child)
                node.InsertChild(child, nullptr);
            return S_OK;
        }
        default:
            return E_FAIL;
        }
    }
    catch (const std::bad_alloc&)
    {
        return E_OUTOFMEMORY;
    }
}

HRESULT GetXml(XmlNodeCore& node, BSTR* xml)
{
    if (xml == nullptr)
        return E_POINTER;
    *xml = nullptr;
    try
    {
        return HandOutBstr(XmlWriter::ToUtf16(node), xml);
    }
    catch (const std::bad_alloc&)
    {
        return E_OUTOFMEMORY;
    }
}

HRESULT SelectNodes(XmlNodeCore& node, BSTR query, IXMLDOMNodeList** result)
{
    if (result == nullptr)
        return E_POINTER;
    *result = nullptr;
    std::vector<XmlNodeCore*> nodes;
    HRESULT hr = Evaluate(node, query, false, nodes);
    return FAILED(hr) ? hr : XmlNodeList::Create(nodes, result);
}

HRESULT SelectSingleNode(XmlNodeCore& node, BSTR query, IXMLDOMNode** result)
{
    if (result == nullptr)
        return E_POINTER;
    *result = nullptr;
    std::vector<XmlNodeCore*> nodes;
    HRESULT hr = Evaluate(node, query, true, nodes);
    if (FAILED(hr))
        return hr;
    return nodes.empty() ? S_FALSE : HandOut(nodes.front(), result);
}
} // namespace qm::xml::XmlNodeOps
