// Short forms of the DOM calls that the clip layer makes over and over. They pass the
// DOM's results on (S_FALSE for a missing node or attribute) and log nothing: the
// callers log with their own conditions.
#pragma once

#include "qm/Platform/Com/ComPtr.h"
#include "qm/Platform/Com/Variant.h"
#include "qm/Platform/Xml/XmlDom.h"

#include <optional>
#include <vector>

namespace Quillmar::Library::Native
{
using NodeList = std::vector<ComPtr<IXMLDOMNode>>;

// selectSingleNode: S_FALSE and null when nothing matches.
HRESULT SelectNode(IXMLDOMNode* node, wstring_view query, ComPtr<IXMLDOMNode>& result);
// selectNodes, copied out in document order.
HRESULT SelectNodes(IXMLDOMNode* node, wstring_view query, NodeList& result);
// The owner document, or the node itself when it is a document.
HRESULT OwnerDocument(IXMLDOMNode* node, ComPtr<IXMLDOMDocument>& document);
// A new element in the document of node, not yet placed.
HRESULT CreateElement(IXMLDOMNode* node, wstring_view name, ComPtr<IXMLDOMElement>& element);
// E_NOINTERFACE for a node that is no element.
HRESULT AsElement(IXMLDOMNode* node, ComPtr<IXMLDOMElement>& element);
// The attribute as text: nullopt and S_FALSE when it is missing.
HRESULT GetAttributeText(IXMLDOMElement* element, wstring_view name, std::optional<wstring>& value);
HRESULT SetAttribute(IXMLDOMElement* element, wstring_view name, const CComVariant& value);
HRESULT RemoveAttribute(IXMLDOMElement* element, wstring_view name);
HRESULT GetNodeText(IXMLDOMNode* node, wstring& text);
HRESULT SetNodeText(IXMLDOMNode* node, wstring_view text);
// Appends a CDATA section holding text to the element.
HRESULT AppendCData(IXMLDOMElement* element, wstring_view text);
// Removes the first child that the query selects; S_FALSE when there is none.
HRESULT RemoveSelected(IXMLDOMNode* parent, wstring_view query);
// Removes every child that the query selects; S_FALSE when there is none.
HRESULT RemoveAllSelected(IXMLDOMNode* parent, wstring_view query);
} // namespace Quillmar::Library::Native
