// An attribute node. It exists only once someone asks for it; while it belongs to an
// element it holds that attribute's value.
#pragma once

#include "Platform/Xml/XmlNode.h"

namespace qm::xml
{
class XmlAttribute final : public XmlNode<IXMLDOMAttribute>
{
public:
    static XmlAttribute* Create(XmlDocument* owner, XmlName name, wstring value);

    const wstring& Value() const noexcept { return m_value; }
    void SetValue(wstring value) noexcept { m_value = std::move(value); }
    const XmlName& Name() const noexcept { return m_name; }

    // IXMLDOMAttribute
    HRESULT get_name(BSTR* name) override;
    HRESULT get_value(VARIANT* value) override;
    HRESULT put_value(VARIANT value) override;

    wstring_view NodeName() const noexcept override { return *m_name; }
    const wstring* ValuePtr() const noexcept override { return &m_value; }
    void* QueryTyped(REFIID riid) noexcept override;

private:
    XmlAttribute(XmlDocument* owner, XmlName name, wstring value) noexcept;
    XmlNodeCore* CloneSelf(XmlDocument* owner) const override;

    XmlName m_name;
    wstring m_value;
};
} // namespace qm::xml
