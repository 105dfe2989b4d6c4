#include "Platform/Xml/XmlCharacterData.h"

namespace qm::xml
{
XmlText* XmlText::Create(XmlDocument* owner, DOMNodeType type, XmlString value, XmlArena* arena)
{
    return Make<XmlText>(arena, type, owner, std::move(value));
}

wstring_view XmlText::NodeName() const noexcept
{
    return Type() == NODE_CDATA_SECTION ? u"#cdata-section" : u"#text";
}

void* XmlText::QueryTyped(REFIID riid) noexcept
{
    if (riid == IID_IXMLDOMCharacterData || riid == IID_IXMLDOMText)
        return static_cast<IXMLDOMText*>(this);
    if (riid == IID_IXMLDOMCDATASection && Type() == NODE_CDATA_SECTION)
        return static_cast<IXMLDOMCDATASection*>(this);
    return nullptr;
}

XmlNodeCore* XmlText::CloneSelf(XmlDocument* owner) const
{
    return Create(owner, Type(), XmlString(Value().View()));
}

XmlComment* XmlComment::Create(XmlDocument* owner, XmlString value, XmlArena* arena)
{
    return Make<XmlComment>(arena, NODE_COMMENT, owner, std::move(value));
}

void* XmlComment::QueryTyped(REFIID riid) noexcept
{
    if (riid == IID_IXMLDOMCharacterData || riid == IID_IXMLDOMComment)
        return static_cast<IXMLDOMComment*>(this);
    return nullptr;
}

XmlNodeCore* XmlComment::CloneSelf(XmlDocument* owner) const { return Create(owner, XmlString(Value().View())); }

XmlProcessingInstruction::XmlProcessingInstruction(XmlDocument* owner, XmlString target, XmlString data) noexcept
    : XmlNode(NODE_PROCESSING_INSTRUCTION, owner), m_target(std::move(target)), m_value(std::move(data))
{
}

XmlProcessingInstruction* XmlProcessingInstruction::Create(XmlDocument* owner, XmlString target, XmlString data,
                                                           XmlArena* arena)
{
    return Make<XmlProcessingInstruction>(arena, owner, std::move(target), std::move(data));
}

HRESULT XmlProcessingInstruction::get_target(BSTR* target) { return get_nodeName(target); }

void* XmlProcessingInstruction::QueryTyped(REFIID riid) noexcept
{
    return riid == IID_IXMLDOMProcessingInstruction ? static_cast<IXMLDOMProcessingInstruction*>(this) : nullptr;
}

XmlNodeCore* XmlProcessingInstruction::CloneSelf(XmlDocument* owner) const
{
    return Create(owner, XmlString(m_target.View()), XmlString(m_value.View()));
}
} // namespace qm::xml
