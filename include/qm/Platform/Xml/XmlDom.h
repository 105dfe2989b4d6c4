// The DOM interfaces through which all XML of the system is read and written.
//
// Answers: a missing child, attribute or parent is S_FALSE with a null or empty result.
// A value that is present but empty is a non-null empty BSTR; only a missing one is null.
// Identity: one node is one object, so comparing IUnknown pointers compares nodes.
// Lifetime: a held node keeps its whole tree and its owner document alive.
#pragma once

#include "qm/Platform/Com/Bstr.h"
#include "qm/Platform/Com/Dispatch.h"
#include "qm/Platform/Com/Variant.h"

struct IStream;

enum DOMNodeType
{
    NODE_INVALID = 0,
    NODE_ELEMENT = 1,
    NODE_ATTRIBUTE = 2,
    NODE_TEXT = 3,
    NODE_CDATA_SECTION = 4,
    NODE_ENTITY_REFERENCE = 5,
    NODE_ENTITY = 6,
    NODE_PROCESSING_INSTRUCTION = 7,
    NODE_COMMENT = 8,
    NODE_DOCUMENT = 9,
    NODE_DOCUMENT_TYPE = 10,
    NODE_DOCUMENT_FRAGMENT = 11,
    NODE_NOTATION = 12,
};

struct IXMLDOMNode;
struct IXMLDOMNodeList;
struct IXMLDOMNamedNodeMap;
struct IXMLDOMDocument;
struct IXMLDOMElement;
struct IXMLDOMAttribute;
struct IXMLDOMText;
struct IXMLDOMCDATASection;
struct IXMLDOMComment;
struct IXMLDOMProcessingInstruction;
struct IXMLDOMParseError;

struct IXMLDOMNode : IDispatch
{
    virtual HRESULT get_nodeName(BSTR* name) = 0;
    // The value of an attribute, text, CDATA, comment or processing instruction; a null
    // variant (VT_NULL) for elements and documents.
    virtual HRESULT get_nodeValue(VARIANT* value) = 0;
    virtual HRESULT put_nodeValue(VARIANT value) = 0;
    virtual HRESULT get_nodeType(DOMNodeType* type) = 0;
    virtual HRESULT get_parentNode(IXMLDOMNode** parent) = 0;
    // A fixed list of the children as they are now.
    virtual HRESULT get_childNodes(IXMLDOMNodeList** children) = 0;
    virtual HRESULT get_firstChild(IXMLDOMNode** child) = 0;
    virtual HRESULT get_lastChild(IXMLDOMNode** child) = 0;
    virtual HRESULT get_previousSibling(IXMLDOMNode** sibling) = 0;
    virtual HRESULT get_nextSibling(IXMLDOMNode** sibling) = 0;
    // Elements only; other nodes give S_FALSE and null.
    virtual HRESULT get_attributes(IXMLDOMNamedNodeMap** attributes) = 0;
    // An empty reference (VT_EMPTY, VT_NULL or a null node) appends.
    virtual HRESULT insertBefore(IXMLDOMNode* newChild, VARIANT refChild, IXMLDOMNode** outNewChild) = 0;
    virtual HRESULT replaceChild(IXMLDOMNode* newChild, IXMLDOMNode* oldChild, IXMLDOMNode** outOldChild) = 0;
    virtual HRESULT removeChild(IXMLDOMNode* child, IXMLDOMNode** outOldChild) = 0;
    virtual HRESULT appendChild(IXMLDOMNode* newChild, IXMLDOMNode** outNewChild) = 0;
    virtual HRESULT hasChildNodes(VARIANT_BOOL* has) = 0;
    virtual HRESULT get_ownerDocument(IXMLDOMDocument** document) = 0;
    virtual HRESULT cloneNode(VARIANT_BOOL deep, IXMLDOMNode** clone) = 0;
    // The text of the node and its descendants, as it stands (not trimmed).
    virtual HRESULT get_text(BSTR* text) = 0;
    // Replaces the children with one text node (or sets the value of a character node).
    virtual HRESULT put_text(BSTR text) = 0;
    virtual HRESULT get_xml(BSTR* xml) = 0;
    virtual HRESULT selectNodes(BSTR query, IXMLDOMNodeList** result) = 0;
    virtual HRESULT selectSingleNode(BSTR query, IXMLDOMNode** result) = 0;
};
QM_DECLARE_IID(IXMLDOMNode, "{2933BF80-7B36-11D2-B20E-00C04F983E60}")

struct IXMLDOMNodeList : IDispatch
{
    virtual HRESULT get_item(LONG index, IXMLDOMNode** node) = 0;
    virtual HRESULT get_length(LONG* length) = 0;
    virtual HRESULT nextNode(IXMLDOMNode** node) = 0;
    virtual HRESULT reset() = 0;
};
QM_DECLARE_IID(IXMLDOMNodeList, "{2933BF82-7B36-11D2-B20E-00C04F983E60}")

// The attributes of one element, in document order.
struct IXMLDOMNamedNodeMap : IDispatch
{
    virtual HRESULT getNamedItem(BSTR name, IXMLDOMNode** node) = 0;
    virtual HRESULT get_item(LONG index, IXMLDOMNode** node) = 0;
    virtual HRESULT get_length(LONG* length) = 0;
    virtual HRESULT nextNode(IXMLDOMNode** node) = 0;
    virtual HRESULT reset() = 0;
};
QM_DECLARE_IID(IXMLDOMNamedNodeMap, "{2933BF83-7B36-11D2-B20E-00C04F983E60}")

struct IXMLDOMElement : IXMLDOMNode
{
    virtual HRESULT get_tagName(BSTR* name) = 0;
    // A VT_BSTR variant, or S_FALSE and a VT_NULL variant when the attribute is missing.
    virtual HRESULT getAttribute(BSTR name, VARIANT* value) = 0;
    // Strings, 32- and 64-bit integers (signed and unsigned), 32-bit floats and booleans.
    virtual HRESULT setAttribute(BSTR name, VARIANT value) = 0;
    // S_OK also when the attribute is missing.
    virtual HRESULT removeAttribute(BSTR name) = 0;
    virtual HRESULT getAttributeNode(BSTR name, IXMLDOMAttribute** attribute) = 0;
};
QM_DECLARE_IID(IXMLDOMElement, "{2933BF86-7B36-11D2-B20E-00C04F983E60}")

struct IXMLDOMAttribute : IXMLDOMNode
{
    virtual HRESULT get_name(BSTR* name) = 0;
    virtual HRESULT get_value(VARIANT* value) = 0;
    virtual HRESULT put_value(VARIANT value) = 0;
};
QM_DECLARE_IID(IXMLDOMAttribute, "{2933BF85-7B36-11D2-B20E-00C04F983E60}")

struct IXMLDOMCharacterData : IXMLDOMNode
{
    virtual HRESULT get_data(BSTR* data) = 0;
    virtual HRESULT put_data(BSTR data) = 0;
    virtual HRESULT get_length(LONG* length) = 0;
};
QM_DECLARE_IID(IXMLDOMCharacterData, "{2933BF84-7B36-11D2-B20E-00C04F983E60}")

struct IXMLDOMText : IXMLDOMCharacterData
{
};
QM_DECLARE_IID(IXMLDOMText, "{2933BF87-7B36-11D2-B20E-00C04F983E60}")

struct IXMLDOMCDATASection : IXMLDOMText
{
};
QM_DECLARE_IID(IXMLDOMCDATASection, "{2933BF8A-7B36-11D2-B20E-00C04F983E60}")

struct IXMLDOMComment : IXMLDOMCharacterData
{
};
QM_DECLARE_IID(IXMLDOMComment, "{2933BF88-7B36-11D2-B20E-00C04F983E60}")

struct IXMLDOMProcessingInstruction : IXMLDOMNode
{
    virtual HRESULT get_target(BSTR* target) = 0;
    virtual HRESULT get_data(BSTR* data) = 0;
    virtual HRESULT put_data(BSTR data) = 0;
};
QM_DECLARE_IID(IXMLDOMProcessingInstruction, "{2933BF89-7B36-11D2-B20E-00C04F983E60}")

struct IXMLDOMParseError : IDispatch
{
    // 0 when the last load succeeded.
    virtual HRESULT get_errorCode(LONG* code) = 0;
    virtual HRESULT get_url(BSTR* url) = 0;
    virtual HRESULT get_reason(BSTR* reason) = 0;
    virtual HRESULT get_srcText(BSTR* text) = 0;
    // 1-based line and column of the error; the byte offset in the input.
    virtual HRESULT get_line(LONG* line) = 0;
    virtual HRESULT get_linepos(LONG* column) = 0;
    virtual HRESULT get_filepos(LONG* position) = 0;
};
QM_DECLARE_IID(IXMLDOMParseError, "{3EFAA426-272F-11D2-836F-0000F87A7782}")

struct IXMLDOMDocument : IXMLDOMNode
{
    virtual HRESULT get_documentElement(IXMLDOMElement** root) = 0;
    // Replaces the root element; a node of another document is moved here.
    virtual HRESULT putref_documentElement(IXMLDOMElement* root) = 0;
    virtual HRESULT createElement(BSTR tagName, IXMLDOMElement** element) = 0;
    virtual HRESULT createTextNode(BSTR data, IXMLDOMText** text) = 0;
    virtual HRESULT createComment(BSTR data, IXMLDOMComment** comment) = 0;
    virtual HRESULT createCDATASection(BSTR data, IXMLDOMCDATASection** cdata) = 0;
    virtual HRESULT createProcessingInstruction(BSTR target, BSTR data, IXMLDOMProcessingInstruction** pi) = 0;
    virtual HRESULT createAttribute(BSTR name, IXMLDOMAttribute** attribute) = 0;
    // type is a DOMNodeType in a VT_I4 variant; namespaceURI must be empty.
    virtual HRESULT createNode(VARIANT type, BSTR name, BSTR namespaceURI, IXMLDOMNode** node) = 0;
    // source: a stream (VT_UNKNOWN) or a file path (VT_BSTR). A parse error gives S_FALSE,
    // *isSuccessful false and an empty document.
    virtual HRESULT load(VARIANT source, VARIANT_BOOL* isSuccessful) = 0;
    virtual HRESULT get_parseError(IXMLDOMParseError** error) = 0;
    virtual HRESULT get_async(VARIANT_BOOL* value) = 0;
    virtual HRESULT put_async(VARIANT_BOOL value) = 0;
    virtual HRESULT loadXML(BSTR xml, VARIANT_BOOL* isSuccessful) = 0;
    // destination: a stream (VT_UNKNOWN) or a file path (VT_BSTR). UTF-8, no declaration,
    // no indentation.
    virtual HRESULT save(VARIANT destination) = 0;
    virtual HRESULT get_validateOnParse(VARIANT_BOOL* value) = 0;
    virtual HRESULT put_validateOnParse(VARIANT_BOOL value) = 0;
    virtual HRESULT get_resolveExternals(VARIANT_BOOL* value) = 0;
    virtual HRESULT put_resolveExternals(VARIANT_BOOL value) = 0;
    virtual HRESULT get_preserveWhiteSpace(VARIANT_BOOL* value) = 0;
    virtual HRESULT put_preserveWhiteSpace(VARIANT_BOOL value) = 0;
};
QM_DECLARE_IID(IXMLDOMDocument, "{2933BF81-7B36-11D2-B20E-00C04F983E60}")

struct IXMLDOMDocument2 : IXMLDOMDocument
{
    // "SelectionNamespaces" (stored and given back) and "SelectionLanguage" ("XPath").
    virtual HRESULT setProperty(BSTR name, VARIANT value) = 0;
    virtual HRESULT getProperty(BSTR name, VARIANT* value) = 0;
};
QM_DECLARE_IID(IXMLDOMDocument2, "{2933BF95-7B36-11D2-B20E-00C04F983E60}")

// The document classes: apartment and free-threaded.
inline constexpr CLSID CLSID_DOMDocument60 = qm::ParseGuid("{88D96A05-F192-11D4-A65F-0040963251E5}");
inline constexpr CLSID CLSID_FreeThreadedDOMDocument60 = qm::ParseGuid("{88D96A06-F192-11D4-A65F-0040963251E5}");

// Creates an empty document of either class.
QM_API HRESULT CreateXmlDocument(REFCLSID clsid, IXMLDOMDocument2** document);
