#include "Platform/Xml/XmlAttribute.h"

#include "Platform/Xml/XmlChars.h"

#include <new>

namespace qm::xml
{
XmlAttribute::XmlAttribute(XmlDocument* owner, XmlName name, wstring value) noexcept
    : XmlNode(NODE_ATTRIBUTE, owner), m_name(std::move(name)), m_value(std::move(value))
{
}

XmlAttribute* XmlAttribute::Create(XmlDocument* owner, XmlName name, wstring value)
{
    return new XmlAttribute(owner, std::move(name), std::move(value));
}

HRESULT XmlAttribute::get_name(BSTR* name) { return get_nodeName(name); }

HRESULT XmlAttribute::get_value(VARIANT* value) { return get_nodeValue(value); }

HRESULT XmlAttribute::put_value(VARIANT value) { return put_nodeValue(value); }

void* XmlAttribute::QueryTyped(REFIID riid) noexcept
{
    return riid == IID_IXMLDOMAttribute ? static_cast<IXMLDOMAttribute*>(this) : nullptr;
}

XmlNodeCore* XmlAttribute::CloneSelf(XmlDocument* owner) const { return Create(owner, m_name, m_value); }
} // namespace qm::xml
