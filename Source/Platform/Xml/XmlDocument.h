// The document: the root of its tree, the factory of its nodes, and its load and save.
#pragma once

#include "Platform/Xml/XmlNode.h"

#include "qm/Platform/Com/ComPtr.h"
#include "qm/Platform/Com/Stream.h"

#include <string>

namespace qm::xml
{
class XmlParseError;

class XmlDocument final : public XmlNode<IXMLDOMDocument2>
{
public:
    // A new empty document with a count of one.
    static HRESULT Create(XmlDocument** document);

    // IXMLDOMDocument
    HRESULT get_documentElement(IXMLDOMElement** root) override;
    HRESULT putref_documentElement(IXMLDOMElement* root) override;
    HRESULT createElement(BSTR tagName, IXMLDOMElement** element) override;
    HRESULT createTextNode(BSTR data, IXMLDOMText** text) override;
    HRESULT createComment(BSTR data, IXMLDOMComment** comment) override;
    HRESULT createCDATASection(BSTR data, IXMLDOMCDATASection** cdata) override;
    HRESULT createProcessingInstruction(BSTR target, BSTR data, IXMLDOMProcessingInstruction** pi) override;
    HRESULT createAttribute(BSTR name, IXMLDOMAttribute** attribute) override;
    HRESULT createNode(VARIANT type, BSTR name, BSTR namespaceURI, IXMLDOMNode** node) override;
    HRESULT load(VARIANT source, VARIANT_BOOL* isSuccessful) override;
    HRESULT get_parseError(IXMLDOMParseError** error) override;
    HRESULT get_async(VARIANT_BOOL* value) override;
    HRESULT put_async(VARIANT_BOOL value) override;
    HRESULT loadXML(BSTR xml, VARIANT_BOOL* isSuccessful) override;
    HRESULT save(VARIANT destination) override;
    HRESULT get_validateOnParse(VARIANT_BOOL* value) override;
    HRESULT put_validateOnParse(VARIANT_BOOL value) override;
    HRESULT get_resolveExternals(VARIANT_BOOL* value) override;
    HRESULT put_resolveExternals(VARIANT_BOOL value) override;
    HRESULT get_preserveWhiteSpace(VARIANT_BOOL* value) override;
    HRESULT put_preserveWhiteSpace(VARIANT_BOOL value) override;

    // IXMLDOMDocument2
    HRESULT setProperty(BSTR name, VARIANT value) override;
    HRESULT getProperty(BSTR name, VARIANT* value) override;

    wstring_view NodeName() const noexcept override { return u"#document"; }
    void* QueryTyped(REFIID riid) noexcept override;

    // A new document with the same settings and no content, count zero.
    XmlDocument* CloneEmpty() const;

private:
    friend class XmlNodeCore;
    XmlDocument() noexcept;
    ~XmlDocument() override;

    XmlNodeCore* CloneSelf(XmlDocument* owner) const override;
    // Parses UTF-8 or UTF-16 (with a byte order mark) bytes from `read` into this
    // document, which is emptied first. S_FALSE and a parse error when they are no
    // well-formed document.
    template <class Reader>
    HRESULT Parse(Reader&& read, const char* encoding, VARIANT_BOOL* isSuccessful);
    HRESULT SaveTo(ISequentialStream* stream) const;
    HRESULT SaveTo(wstring_view path) const;

    bool m_async = true;
    bool m_validateOnParse = true;
    bool m_resolveExternals = false;
    bool m_preserveWhiteSpace = false;
    wstring m_selectionNamespaces;
    ComPtr<XmlParseError> m_parseError;
};
} // namespace qm::xml
