#include "DataAccess/Library/DeprecatedKRVSynchPoint.h"

#include "DataAccess/Library/XmlNodeAccess.h"
#include "Logging/QMLog.h"

namespace Quillmar::Library::Native
{
HRESULT DeprecatedKRVSynchPoint::ReadLegacy(IXMLDOMNode* node)
{
    if (node == nullptr)
        return E_FAIL;
    m_node.Reset();
    m_position = 0;
    ComPtr<IXMLDOMNode> synchPoint;
    const HRESULT hr = SelectNode(node, u"SYNCH_POINT", synchPoint);
    if (FAILED(hr))
        return hr;
    if (!synchPoint)
        return S_OK;
    ComPtr<IXMLDOMElement> element;
    if (FAILED(AsElement(synchPoint.Get(), element)))
        return E_FAIL;
    CComVariant value;
    if (element->getAttribute(CComBSTR(u"POS_IN_MSEC"), &value) != S_OK || FAILED(value.ChangeType(VT_I4)))
        return E_FAIL;
    m_position = static_cast<REFERENCE_TIME>(value.lVal) * 10000;
    m_node = std::move(synchPoint);
    return S_OK;
}

HRESULT DeprecatedKRVSynchPoint::MakeSynchMarker(ILibraryItem* item)
{
    ComPtr<ILibraryItemMarkerManager> manager;
    QMCheckHRESULT(item->QueryInterface(IID_ILibraryItemMarkerManager, reinterpret_cast<void**>(manager.GetAddressOf())));
    ComPtr<ILibraryItemMarker> marker;
    QMCheckHRESULT(manager->CreateMarker(MarkerTypeMarker, marker.GetAddressOf()));
    QMCheckHRESULT(marker->put_CueIn(m_position));
    QMCheckHRESULT(marker->put_CueOut(m_position));
    ComPtr<IXMLDOMNode> parent;
    if (SUCCEEDED(m_node->get_parentNode(parent.GetAddressOf())) && parent &&
        SUCCEEDED(parent->removeChild(m_node.Get(), nullptr)))
        m_node.Reset();
    QMCheckHRESULT(manager->SetSynchMarker(marker.Get()));
    return S_OK;
}

HRESULT DeprecatedKRVSynchPoint::ConvertTaggedItem(IXMLDOMNode* node)
{
    ComPtr<IXMLDOMElement> element;
    if (FAILED(AsElement(node, element)))
        return S_OK;
    QMCheckHRESULT(RemoveAttribute(element.Get(), u"_tag"));
    QMCheckHRESULT(SetAttribute(element.Get(), u"ItemType", CComVariant(u"Marker.Event")));
    std::optional<wstring> name;
    QMCheckHRESULT(GetAttributeText(element.Get(), u"NAME", name));
    QMCheckHRESULT(RemoveAttribute(element.Get(), u"NAME"));
    ComPtr<IXMLDOMNode> nameNode;
    QMCheckHRESULT(SelectNode(node, u"NAME", nameNode));
    if (nameNode)
        return SetNodeText(nameNode.Get(), name.value_or(wstring()));
    ComPtr<IXMLDOMElement> nameElement;
    QMCheckHRESULT(CreateElement(node, u"NAME", nameElement));
    QMCheckHRESULT(SetNodeText(nameElement.Get(), name.value_or(wstring())));
    QMCheckHRESULT(node->appendChild(nameElement.Get(), nullptr));
    return S_OK;
}

HRESULT DeprecatedKRVSynchPoint::Apply(IXMLDOMNode* pParentNode, ILibraryItem* item, const char16_t* version,
                                       BSTR* newVersion)
{
    QMCheckCondition(pParentNode != nullptr, E_UNEXPECTED);
    const wstring_view text = version ? wstring_view(version) : wstring_view();
    if (text != u"2.0" && text != u"1.0")
        return S_FALSE;
    if (m_node)
        QMCheckHRESULT(MakeSynchMarker(item));
    NodeList tagged;
    QMLogHRESULT(SelectNodes(pParentNode, u"//LIBRARY_ITEM/LIBRARY_ITEM[@_tag='true']", tagged));
    for (const auto& node : tagged)
        QMCheckHRESULT(ConvertTaggedItem(node.Get()));
    if (newVersion)
        *newVersion = qm::AllocBstr(u"2.0");
    return S_OK;
}
} // namespace Quillmar::Library::Native
