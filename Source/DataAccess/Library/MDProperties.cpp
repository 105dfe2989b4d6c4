#include "DataAccess/Library/MDProperties.h"

#include "DataAccess/Library/XmlNodeAccess.h"
#include "Logging/QMLog.h"

namespace Quillmar::Library::Native
{
namespace
{
constexpr wstring_view kLineEnd = u"\r\n";
constexpr wstring_view kLineBreakTag = u"<br />";

wstring ReplaceAll(wstring text, wstring_view from, wstring_view to)
{
    for (size_t at = text.find(from); at != wstring::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
    return text;
}
} // namespace

HRESULT CMDProperties::Clone(IMDExtension** ppExtension, int deepClone)
{
    QMCheckCondition(ppExtension != 0, E_POINTER);
    QMCheckCondition(deepClone == 1, E_INVALIDARG);
    return CopyWith(ppExtension, &CMDProperties::m_properties, false);
}

HRESULT CMDProperties::Set(const wstring& name, const wstring& value, wstring Properties::mapped_type::*half)
{
    QMCheckHRESULT(CheckText(name));
    QMCheckHRESULT(CheckText(value));
    const auto it = m_properties.find(name);
    if (it == m_properties.end())
    {
        if (value.empty())
            return S_OK;
        m_properties[name].*half = value;
    }
    else
    {
        if (it->second.*half == value)
            return S_OK;
        it->second.*half = value;
    }
    m_dirty = true;
    return S_OK;
}

HRESULT CMDProperties::SetProperty(const wstring& name, const wstring& value)
{
    return Set(name, value, &Properties::mapped_type::first);
}

HRESULT CMDProperties::SetDefaultValue(const wstring& name, const wstring& value)
{
    return Set(name, value, &Properties::mapped_type::second);
}

wstring CMDProperties::GetProperty(const wstring& name)
{
    const auto it = m_properties.find(name);
    if (it == m_properties.end())
        return {};
    return it->second.first.empty() ? it->second.second : it->second.first;
}

HRESULT CMDProperties::WriteProperty(IXMLDOMElement* container, const wstring& name,
                                     const Properties::mapped_type& entry)
{
    ComPtr<IXMLDOMElement> property;
    QMCheckHRESULT(CreateElement(container, u"Property", property));
    QMCheckHRESULT(SetAttribute(property.Get(), u"Name", CComVariant(wstring_view(name))));
    if (!entry.second.empty())
        QMCheckHRESULT(SetAttribute(property.Get(), u"DefaultValue", CComVariant(wstring_view(entry.second))));
    QMCheckHRESULT(AppendCData(property.Get(), ReplaceAll(entry.first, kLineEnd, kLineBreakTag)));
    QMCheckHRESULT(container->appendChild(property.Get(), nullptr));
    return S_OK;
}

HRESULT CMDProperties::Write(IXMLDOMNode* parentNode, IXMLDOMDocument* document, ILibraryItem*)
{
    ComPtr<IXMLDOMElement> container;
    QMCheckHRESULT(CreateElement(document, kNodeName, container));
    for (const auto& [name, entry] : m_properties)
    {
        if (entry.first.empty() && entry.second.empty())
            continue;
        QMCheckHRESULT(WriteProperty(container.Get(), name, entry));
    }
    QMCheckHRESULT(parentNode->appendChild(container.Get(), nullptr));
    return S_OK;
}

HRESULT CMDProperties::ReadProperty(IXMLDOMNode* node)
{
    ComPtr<IXMLDOMElement> propertyElement;
    AsElement(node, propertyElement);
    QMCheckCondition(propertyElement != 0, E_NOINTERFACE);
    std::optional<wstring> name;
    QMCheckHRESULT(GetAttributeText(propertyElement.Get(), u"Name", name));
    // The writer always names a property; one without a name has no key to go under.
    if (!name)
        return S_OK;
    wstring text;
    QMCheckHRESULT(GetNodeText(node, text));
    auto& entry = m_properties[*name];
    entry.first = ReplaceAll(std::move(text), kLineBreakTag, kLineEnd);
    std::optional<wstring> defaultValue;
    QMCheckHRESULT(GetAttributeText(propertyElement.Get(), u"DefaultValue", defaultValue));
    if (defaultValue)
        entry.second = *defaultValue;
    return S_OK;
}

HRESULT CMDProperties::Load(IXMLDOMNode* pXmlParentNode, ILibraryItem*)
{
    QMCheckCondition(pXmlParentNode != 0, E_INVALIDARG);
    m_properties.clear();
    m_dirty = false;
    ComPtr<IXMLDOMNode> extensionNode;
    QMCheckHRESULT(SelectNode(pXmlParentNode, kNodeName, extensionNode));
    QMCheckCondition(extensionNode != 0, E_UNEXPECTED);
    NodeList properties;
    QMCheckHRESULT(SelectNodes(extensionNode.Get(), u"Property", properties));
    for (const auto& node : properties)
        QMCheckHRESULT(ReadProperty(node.Get()));
    m_dirty = false;
    return S_OK;
}

HRESULT CMDProperties::Delete(IXMLDOMNode* parentNode, ILibraryItem*)
{
    QMCheckHRESULT(RemoveElements(parentNode));
    m_dirty = false;
    return S_OK;
}
} // namespace Quillmar::Library::Native
