// A fixed list of nodes: what selectNodes and childNodes give. It holds its nodes, so
// it stays valid while they are removed from their tree.
#pragma once

#include "Platform/Xml/XmlNodeCore.h"

#include "qm/Platform/Com/ObjectRoot.h"

#include <vector>

namespace qm::xml
{
class XmlNodeList final : public Standard::CComObjectRootEx<Standard::CComMultiThreadModel>,
                          public qm::DispatchNotImplemented<IXMLDOMNodeList>,
                          private Standard::AllocatedResource<XmlNodeList>
{
public:
    static HRESULT Create(const std::vector<XmlNodeCore*>& nodes, IXMLDOMNodeList** list);

    QM_IUNKNOWN_IMPL(XmlNodeList, IXMLDOMNodeList, IDispatch)

    // S_FALSE and null for an index out of range.
    HRESULT get_item(LONG index, IXMLDOMNode** node) override;
    HRESULT get_length(LONG* length) override;
    HRESULT nextNode(IXMLDOMNode** node) override;
    HRESULT reset() override;

private:
    XmlNodeList() = default;
    ~XmlNodeList() = default;

    std::vector<ComPtr<IXMLDOMNode>> m_nodes;
    std::size_t m_next = 0;
};
} // namespace qm::xml
