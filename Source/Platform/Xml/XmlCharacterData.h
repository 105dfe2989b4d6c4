// Text, CDATA sections and comments: nodes that are one string.
#pragma once

#include "Platform/Xml/XmlNode.h"

namespace qm::xml
{
template <class Itf>
class XmlCharacterDataImpl : public XmlNode<Itf>
{
public:
    const XmlString& Value() const noexcept { return m_value; }
    // The value is checked by the caller.
    void SetValue(XmlString value) noexcept { m_value = std::move(value); }

    // IXMLDOMCharacterData
    HRESULT get_data(BSTR* data) override { return this->get_text(data); }
    HRESULT put_data(BSTR data) override { return this->put_text(data); }
    HRESULT get_length(LONG* length) override
    {
        if (length == nullptr)
            return E_POINTER;
        *length = static_cast<LONG>(m_value.size());
        return S_OK;
    }

    const XmlString* ValuePtr() const noexcept override { return &m_value; }

protected:
    XmlCharacterDataImpl(DOMNodeType type, XmlDocument* owner, XmlString value) noexcept
        : XmlNode<Itf>(type, owner), m_value(std::move(value))
    {
    }

private:
    XmlString m_value;
};

// A text node or a CDATA section.
class XmlText final : public XmlCharacterDataImpl<IXMLDOMCDATASection>
{
public:
    // type is NODE_TEXT or NODE_CDATA_SECTION; the value is not checked.
    static XmlText* Create(XmlDocument* owner, DOMNodeType type, XmlString value, XmlArena* arena = nullptr);

    wstring_view NodeName() const noexcept override;
    void* QueryTyped(REFIID riid) noexcept override;

private:
    friend class XmlNodeCore;
    using XmlCharacterDataImpl::XmlCharacterDataImpl;
    XmlNodeCore* CloneSelf(XmlDocument* owner) const override;
};

class XmlComment final : public XmlCharacterDataImpl<IXMLDOMComment>
{
public:
    static XmlComment* Create(XmlDocument* owner, XmlString value, XmlArena* arena = nullptr);

    wstring_view NodeName() const noexcept override { return u"#comment"; }
    void* QueryTyped(REFIID riid) noexcept override;

private:
    friend class XmlNodeCore;
    using XmlCharacterDataImpl::XmlCharacterDataImpl;
    XmlNodeCore* CloneSelf(XmlDocument* owner) const override;
};

class XmlProcessingInstruction final : public XmlNode<IXMLDOMProcessingInstruction>
{
public:
    static XmlProcessingInstruction* Create(XmlDocument* owner, XmlString target, XmlString data,
                                            XmlArena* arena = nullptr);

    wstring_view Target() const noexcept { return m_target; }
    const XmlString& Value() const noexcept { return m_value; }
    void SetValue(XmlString value) noexcept { m_value = std::move(value); }

    // IXMLDOMProcessingInstruction
    HRESULT get_target(BSTR* target) override;
    HRESULT get_data(BSTR* data) override { return get_text(data); }
    HRESULT put_data(BSTR data) override { return put_text(data); }

    wstring_view NodeName() const noexcept override { return m_target; }
    const XmlString* ValuePtr() const noexcept override { return &m_value; }
    void* QueryTyped(REFIID riid) noexcept override;

private:
    friend class XmlNodeCore;
    XmlProcessingInstruction(XmlDocument* owner, XmlString target, XmlString data) noexcept;
    XmlNodeCore* CloneSelf(XmlDocument* owner) const override;

    XmlString m_target;
    XmlString m_value;
};
} // namespace qm::xml
