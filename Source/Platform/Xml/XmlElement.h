// An element: its name and its attributes in document order. Attribute values live in
// the element until someone asks for an attribute node; from then on the node holds the
// value, so that the node and the element always agree.
#pragma once

#include "Platform/Xml/XmlAttributeList.h"
#include "Platform/Xml/XmlNode.h"

namespace qm::xml
{
class XmlElement final : public XmlNode<IXMLDOMElement>
{
public:
    using Attribute = XmlAttributeEntry;

    // A new parentless element with a count of zero, in a parse's arena or on the heap;
    // the name is not checked.
    static XmlElement* Create(XmlDocument* owner, XmlString name, XmlArena* arena = nullptr);

    wstring_view Name() const noexcept { return m_name; }
    const XmlAttributeList& Attributes() const noexcept { return m_attributes; }
    // The value of an attribute, or null when it is missing.
    const XmlString* FindAttribute(wstring_view name) const noexcept;
    // For the parser: the attributes it read, in its arena, unchecked.
    void BorrowAttributes(Attribute* attributes, std::size_t count) noexcept
    {
        m_attributes.Borrow(attributes, count);
    }
    // Sets or adds an attribute; E_INVALIDARG for a bad name or a value XML cannot carry.
    HRESULT SetAttributeText(wstring_view name, wstring_view value);
    // The node of attribute `index`, made on first request and the same object after.
    XmlAttribute* AttributeNode(std::size_t index);

    // IXMLDOMElement
    HRESULT get_tagName(BSTR* name) override;
    HRESULT getAttribute(BSTR name, VARIANT* value) override;
    HRESULT setAttribute(BSTR name, VARIANT value) override;
    HRESULT removeAttribute(BSTR name) override;
    HRESULT getAttributeNode(BSTR name, IXMLDOMAttribute** attribute) override;

    wstring_view NodeName() const noexcept override { return m_name; }
    void* QueryTyped(REFIID riid) noexcept override;

private:
    friend class XmlNodeCore;
    XmlElement(XmlDocument* owner, XmlString name) noexcept;
    ~XmlElement() override;

    Attribute* Find(wstring_view name) noexcept;
    XmlNodeCore* CloneSelf(XmlDocument* owner) const override;
    void DetachAttribute(XmlNodeCore* attribute) noexcept override;
    void OnOwnerChanged(XmlDocument* owner) noexcept override;

    XmlString m_name;
    XmlAttributeList m_attributes;
};
} // namespace qm::xml
