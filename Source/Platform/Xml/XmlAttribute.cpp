#include "Platform/Xml/XmlAttribute.h"

#include "Platform/Xml/XmlChars.h"


namespace qm::xml
{
XmlAttribute::XmlAttribute(XmlDocument* owner, XmlString name, XmlString value) noexcept
    : XmlNode(NODE_ATTRIBUTE, owner), m_name(std::move(name)), m_value(std::move(value))
{
}

XmlAttribute* XmlAttribute::Create(XmlDocument* owner, XmlString name, XmlString value)
{
    return Make<XmlAttribute>(nullptr, owner, std::move(name), std::move(value));
}

HRESULT XmlAttribute::get_name(BSTR* name) { return get_nodeName(name); }

HRESULT XmlAttribute::get_value(VARIANT* value) { return get_nodeValue(value); }

HRESULT XmlAttribute::put_value(VARIANT value) { return put_nodeValue(value); }

void* XmlAttribute::QueryTyped(REFIID riid) noexcept
{
    return riid == IID_IXMLDOMAttribute ? static_cast<IXMLDOMAttribute*>(this) : nullptr;
}

XmlNodeCore* XmlAttribute::CloneSelf(XmlDocument* owner) const
{
    return Create(owner, XmlString(m_name.View()), XmlString(m_value.View()));
}
} // namespace qm::xml
