// An attribute node. It exists only once someone asks for it; while it belongs to an
// element it holds that attribute's value.
#pragma once

#include "Platform/Xml/XmlNode.h"

namespace qm::xml
{
class XmlAttribute final : public XmlNode<IXMLDOMAttribute>
{
public:
    static XmlAttribute* Create(XmlDocument* owner, XmlString name, XmlString value);

    const XmlString& Value() const noexcept { return m_value; }
    void SetValue(XmlString value) noexcept { m_value = std::move(value); }

    // IXMLDOMAttribute
    HRESULT get_name(BSTR* name) override;
    HRESULT get_value(VARIANT* value) override;
    HRESULT put_value(VARIANT value) override;

    wstring_view NodeName() const noexcept override { return m_name; }
    const XmlString* ValuePtr() const noexcept override { return &m_value; }
    void* QueryTyped(REFIID riid) noexcept override;

private:
    friend class XmlNodeCore;
    XmlAttribute(XmlDocument* owner, XmlString name, XmlString value) noexcept;
    XmlNodeCore* CloneSelf(XmlDocument* owner) const override;

    XmlString m_name;
    XmlString m_value;
};
} // namespace qm::xml
