// The attributes of one element, in document order, as attribute nodes.
#pragma once

#include "Platform/Xml/XmlElement.h"

#include "qm/Platform/Com/ObjectRoot.h"

namespace qm::xml
{
class XmlNamedNodeMap final : public Standard::CComObjectRootEx<Standard::CComMultiThreadModel>,
                              public qm::DispatchNotImplemented<IXMLDOMNamedNodeMap>,
                              private Standard::AllocatedResource<XmlNamedNodeMap>
{
public:
    static HRESULT Create(XmlElement* element, IXMLDOMNamedNodeMap** map);

    QM_IUNKNOWN_IMPL(XmlNamedNodeMap, IXMLDOMNamedNodeMap, IDispatch)

    HRESULT getNamedItem(BSTR name, IXMLDOMNode** node) override;
    HRESULT get_item(LONG index, IXMLDOMNode** node) override;
    HRESULT get_length(LONG* length) override;
    HRESULT nextNode(IXMLDOMNode** node) override;
    HRESULT reset() override;

private:
    explicit XmlNamedNodeMap(XmlElement* element) noexcept;
    ~XmlNamedNodeMap() = default;

    // Keeps the element, and so its document, alive.
    ComPtr<IXMLDOMElement> m_holder;
    XmlElement* m_element;
    std::size_t m_next = 0;
};
} // namespace qm::xml
