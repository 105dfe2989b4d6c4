#include "Platform/Xml/XmlNodeList.h"

namespace qm::xml
{
HRESULT XmlNodeList::Create(const std::vector<XmlNodeCore*>& nodes, IXMLDOMNodeList** list)
{
    *list = nullptr;
    try
    {
        ComPtr<XmlNodeList> created;
        created.Attach(new XmlNodeList());
        created->m_nodes.reserve(nodes.size());
        for (XmlNodeCore* node : nodes)
            created->m_nodes.emplace_back(node->Interface());
        *list = created.Detach();
        return S_OK;
    }
    catch (const std::bad_alloc&)
    {
        return E_OUTOFMEMORY;
    }
}

HRESULT XmlNodeList::get_item(LONG index, IXMLDOMNode** node)
{
    if (node == nullptr)
        return E_POINTER;
    *node = nullptr;
    if (index < 0 || static_cast<std::size_t>(index) >= m_nodes.size())
        return S_FALSE;
    return m_nodes[static_cast<std::size_t>(index)].CopyTo(node);
}

HRESULT XmlNodeList::get_length(LONG* length)
{
    if (length == nullptr)
        return E_POINTER;
    *length = static_cast<LONG>(m_nodes.size());
    return S_OK;
}

HRESULT XmlNodeList::nextNode(IXMLDOMNode** node)
{
    if (node == nullptr)
        return E_POINTER;
    *node = nullptr;
    if (m_next >= m_nodes.size())
        return S_FALSE;
    return m_nodes[m_next++].CopyTo(node);
}

HRESULT XmlNodeList::reset()
{
    m_next = 0;
    return S_OK;
}
} // namespace qm::xml
