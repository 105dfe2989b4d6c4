// The markers of a clip: LIBRARY_ITEM elements nested in its element, each with an item
// of its own, filed in lists by their ItemType.
#include "qm/Library/CLibraryItem.h"
#include "qm/Library/LibraryItemFactory.h"

#include "DataAccess/Library/LibraryItemCollection.h"
#include "DataAccess/Library/XMLLibraryParser.h"
#include "DataAccess/Library/XmlNodeAccess.h"
#include "Logging/QMLog.h"

#include <algorithm>
#include <array>

namespace Quillmar::Library::Native
{
namespace
{
constexpr std::array<wstring_view, 4> kMarkerTypeNames{u"Marker", u"Marker.Event", u"Thumbnail", u"GameTime"};

bool IsMarkerType(std::int32_t type) { return type >= 0 && type < static_cast<std::int32_t>(kMarkerTypeNames.size()); }

// The type whose name the text is, character by character; -1 for any other text.
std::int32_t MarkerTypeOf(const std::optional<wstring>& name)
{
    if (!name)
        return -1;
    const auto it = std::find(kMarkerTypeNames.begin(), kMarkerTypeNames.end(), *name);
    return it == kMarkerTypeNames.end() ? -1 : static_cast<std::int32_t>(it - kMarkerTypeNames.begin());
}

std::int32_t ItemTypeOf(IXMLDOMNode* node)
{
    ComPtr<IXMLDOMElement> element;
    std::optional<wstring> name;
    if (SUCCEEDED(AsElement(node, element)))
        GetAttributeText(element.Get(), u"ItemType", name);
    return MarkerTypeOf(name);
}

HRESULT HandOut(CLibraryItem* marker, ILibraryItemMarker** pp)
{
    *pp = static_cast<ILibraryItemMarker*>(marker);
    marker->AddRef();
    return S_OK;
}

struct COLOR_ENTRY
{
    wstring_view name;
    COLORREF value;
};
constexpr std::array<COLOR_ENTRY, 8> kColors{{{u"Color1", 0x0000369E},
                                              {u"Color2", 0x000033CC},
                                              {u"Color3", 0x002EACF4},
                                              {u"Color4", 0x001CC66C},
                                              {u"Color5", 0x00B6BE42},
                                              {u"Color6", 0x00C69A60},
                                              {u"Color7", 0x00DF419C},
                                              {u"Color8", 0x00626262}}};
} // namespace
} // namespace Quillmar::Library::Native

COLORREF ILibraryItemMarker::GetColorAsCOLORREF(wstring_view name)
{
    for (const auto& entry : Quillmar::Library::Native::kColors)
        if (entry.name == name)
            return entry.value;
    return 0;
}

namespace Quillmar::Library::Native
{
// A marker object takes its node from the clip's XML at once, so it gets no node of its own.
HRESULT CLibraryItem::MakeMarker(ComPtr<CLibraryItem>& marker) { return Allocate(false, m_itemType, marker); }

HRESULT CLibraryItem::AddToCollection(std::int32_t type, CLibraryItem* marker)
{
    auto& list = m_markerCollections[type];
    list.emplace_back(static_cast<ILibraryItem*>(marker));
    return S_OK;
}

HRESULT CLibraryItem::EnsureMarkersLoaded()
{
    if (m_markersLoaded)
        return S_OK;
    QMCheckHRESULT(EnsureLoaded());
    QMCheckCondition(m_node != 0, E_UNEXPECTED);
    m_markerCollections.clear();
    NodeList nodes;
    QMCheckHRESULT(SelectNodes(m_node.Get(), u"LIBRARY_ITEM", nodes));
    for (const auto& node : nodes)
    {
        ComPtr<CLibraryItem> marker;
        QMCheckHRESULT(MakeMarker(marker));
        QMCheckHRESULT(marker->TakeNode(node.Get()));
        const std::int32_t type = ItemTypeOf(node.Get());
        if (IsMarkerType(type))
            QMCheckHRESULT(AddToCollection(type, marker.Get()));
    }
    m_markersLoaded = true;
    return S_OK;
}

HRESULT CLibraryItem::InvalidateMarkers()
{
    m_markersLoaded = false;
    return S_OK;
}

HRESULT CLibraryItem::CreateMarker(std::int32_t type, ILibraryItemMarker** ppMarker)
{
    QMCheckCondition(ppMarker != nullptr, E_POINTER);
    *ppMarker = nullptr;
    QMCheckCondition(IsMarkerType(type), E_INVALIDARG);
    QMCheckHRESULT(EnsureMarkersLoaded());
    QMCheckCondition(m_node != nullptr, E_UNEXPECTED);
    ComPtr<CLibraryItem> marker;
    QMCheckHRESULT(MakeMarker(marker));
    ComPtr<IXMLDOMNode> node;
    CreateItemNode(node.GetAddressOf(), u"", ItemKindUnknown, GUID_NULL, false);
    QMCheckCondition(node, E_FAIL);
    QMCheckHRESULT(m_node->appendChild(node.Get(), nullptr));
    QMCheckHRESULT(marker->put_Node(node.Get(), false));
    ComPtr<IXMLDOMElement> element;
    QMCheckHRESULT(AsElement(node.Get(), element));
    QMCheckHRESULT(SetAttribute(element.Get(), u"ItemType", CComVariant(kMarkerTypeNames[type])));
    QMCheckHRESULT(AddToCollection(type, marker.Get()));
    return HandOut(marker.Get(), ppMarker);
}

HRESULT CLibraryItem::CopyMarker(ILibraryItemMarker* pSourceMarker, ILibraryItemMarker** ppNewMarker)
{
    QMCheckCondition(pSourceMarker, E_INVALIDARG);
    QMCheckCondition(ppNewMarker, E_POINTER);
    *ppNewMarker = nullptr;
    QMCheckHRESULT(EnsureMarkersLoaded());
    ComPtr<CLibraryItem> marker;
    QMCheckHRESULT(MakeMarker(marker));
    const ComPtr<CLibraryItem> sourceLibraryItem = From(pSourceMarker);
    QMCheckCondition(sourceLibraryItem != nullptr, E_UNEXPECTED);
    ComPtr<IXMLDOMNode> newNode;
    sourceLibraryItem->cloneNode(newNode.GetAddressOf());
    QMCheckCondition(newNode != nullptr, E_UNEXPECTED);
    // Link paths are relative to the source clip and would be read wrongly here.
    QMCheckHRESULT(RemoveSelected(newNode.Get(), u"Library.MDLibraryItemLink"));
    QMCheckHRESULT(m_node->appendChild(newNode.Get(), nullptr));
    QMCheckHRESULT(marker->put_Node(newNode.Get(), true));

    ComPtr<IMDLibraryItemLink> sourceLink;
    QMCheckHRESULT(sourceLibraryItem->GetExtension(MDTYPE_LibraryItemLink, IID_IMDLibraryItemLink,
                                                   reinterpret_cast<void**>(sourceLink.GetAddressOf())));
    ComPtr<IMDLibraryItemLink> newLink;
    QMCheckHRESULT(marker->GetOrCreateExtension(MDTYPE_LibraryItemLink, IID_IMDLibraryItemLink,
                                                reinterpret_cast<void**>(newLink.GetAddressOf())));
    QMCheckHRESULT(newLink->RemoveLink(u""));
    if (sourceLink)
        QMCheckHRESULT(newLink->CopyFrom(sourceLink.Get()));

    const std::int32_t type = ItemTypeOf(newNode.Get());
    if (IsMarkerType(type))
        QMCheckHRESULT(AddToCollection(type, marker.Get()));
    return HandOut(marker.Get(), ppNewMarker);
}

HRESULT CLibraryItem::FindMarker(const char16_t* action, std::int32_t type, ILibraryItemMarker* pMarker,
                                 std::vector<ComPtr<ILibraryItem>>*& list, size_t& position)
{
    // Moves and removals do not load: they work on the lists as they are.
    if (!m_markersLoaded)
    {
        QMLog(2, u"Attempting to %s a marker in bad context. File path is '%s'", action, get_MediaPath().c_str());
        return E_UNEXPECTED;
    }
    const auto it = m_markerCollections.find(type);
    QMCheckCondition(it != m_markerCollections.end(), E_UNEXPECTED);
    list = &it->second;
    const ComPtr<CLibraryItem> wanted = From(pMarker);
    const auto found = std::find_if(list->begin(), list->end(),
                                    [&](const ComPtr<ILibraryItem>& m) { return wanted && m.Get() == wanted.Get(); });
    position = static_cast<size_t>(found - list->begin());
    return found == list->end() ? S_FALSE : S_OK;
}

HRESULT CLibraryItem::MoveMarker(std::int32_t type, std::int32_t index, ILibraryItemMarker* pMarker)
{
    QMCheckCondition(pMarker, E_INVALIDARG);
    std::vector<ComPtr<ILibraryItem>>* list = nullptr;
    size_t position = 0;
    const HRESULT found = FindMarker(u"move", type, pMarker, list, position);
    if (FAILED(found) || found == S_FALSE)
        return FAILED(found) ? found : S_OK;
    const bool inRange = index >= 0 && static_cast<size_t>(index) < list->size();
    if (inRange && static_cast<size_t>(index) == position)
        return S_OK;
    const ComPtr<CLibraryItem> marker = From((*list)[position].Get());
    QMCheckHRESULT(marker->RemoveFrom(m_node.Get()));
    ComPtr<IXMLDOMNode> before;
    if (inRange)
        QMCheckHRESULT(From((*list)[static_cast<size_t>(index)].Get())->get_NodePrivate(before.GetAddressOf()));
    QMCheckHRESULT(marker->InsertInto(m_node.Get(), before.Get()));
    ComPtr<ILibraryItem> moved = std::move((*list)[position]);
    list->erase(list->begin() + static_cast<std::ptrdiff_t>(position));
    if (!inRange)
        list->push_back(std::move(moved));
    else
    {
        const size_t target = static_cast<size_t>(index) - (position < static_cast<size_t>(index) ? 1 : 0);
        list->insert(list->begin() + static_cast<std::ptrdiff_t>(target), std::move(moved));
    }
    return S_OK;
}

HRESULT CLibraryItem::RemoveMarker(std::int32_t type, ILibraryItemMarker* pMarker)
{
    QMCheckCondition(pMarker, E_INVALIDARG);
    std::vector<ComPtr<ILibraryItem>>* list = nullptr;
    size_t position = 0;
    const HRESULT found = FindMarker(u"remove", type, pMarker, list, position);
    QMCheckHRESULT(found);
    QMCheckCondition(found == S_OK, E_UNEXPECTED);
    From((*list)[position].Get())->RemoveFrom(m_node.Get());
    list->erase(list->begin() + static_cast<std::ptrdiff_t>(position));
    if (list->empty())
        m_markerCollections.erase(type);
    return S_OK;
}

HRESULT CLibraryItem::RemoveMarkers(std::int32_t type)
{
    QMCheckHRESULT(EnsureMarkersLoaded());
    const auto it = m_markerCollections.find(type);
    if (it == m_markerCollections.end())
        return S_FALSE;
    for (const auto& marker : it->second)
        QMCheckHRESULT(From(marker.Get())->RemoveFrom(m_node.Get()));
    const bool hadMarkers = !it->second.empty();
    m_markerCollections.erase(it);
    return hadMarkers ? S_OK : S_FALSE;
}

HRESULT CLibraryItem::GetMarker(std::int32_t type, std::int64_t index, ILibraryItemMarker** pp)
{
    QMCheckCondition(pp != nullptr, E_POINTER);
    *pp = nullptr;
    QMCheckHRESULT(EnsureMarkersLoaded());
    const auto it = m_markerCollections.find(type);
    QMCheckCondition(it != m_markerCollections.end(), E_INVALIDARG);
    QMCheckCondition(index >= 0 && static_cast<size_t>(index) < it->second.size(), E_INVALIDARG);
    return HandOut(From(it->second[static_cast<size_t>(index)].Get()).Get(), pp);
}

bool CLibraryItem::HasMarkers(std::int32_t type)
{
    const auto it = m_markerCollections.find(type);
    return it != m_markerCollections.end() && !it->second.empty();
}

std::vector<ComPtr<ILibraryItem>> CLibraryItem::GetMarkers(std::int32_t type)
{
    if (FAILED(EnsureMarkersLoaded()))
        return {};
    const auto it = m_markerCollections.find(type);
    return it == m_markerCollections.end() ? std::vector<ComPtr<ILibraryItem>>() : it->second;
}

std::int64_t CLibraryItem::GetMarkerCount(std::int32_t type)
{
    const HRESULT hr = EnsureMarkersLoaded();
    if (FAILED(hr))
        return hr;
    const auto it = m_markerCollections.find(type);
    return it == m_markerCollections.end() ? 0 : static_cast<std::int64_t>(it->second.size());
}

bool CLibraryItem::ContainsMarker(std::int32_t type, ILibraryItemMarker* pMarker)
{
    const auto it = m_markerCollections.find(type);
    const ComPtr<CLibraryItem> wanted = From(pMarker);
    if (it == m_markerCollections.end() || !wanted)
        return false;
    return std::any_of(it->second.begin(), it->second.end(),
                       [&](const ComPtr<ILibraryItem>& m) { return m.Get() == wanted.Get(); });
}

HRESULT CLibraryItem::SetSynchMarker(ILibraryItemMarker* pMarker)
{
    const ComPtr<CLibraryItem> chosen = From(pMarker);
    for (const auto& marker : GetMarkers(MarkerTypeMarker))
    {
        const ComPtr<CLibraryItem> item = From(marker.Get());
        QMCheckHRESULT(item->put_IsSynchMarker(chosen && item.Get() == chosen.Get()));
    }
    return S_OK;
}

HRESULT CLibraryItem::GetSynchMarker(ILibraryItemMarker** pVal)
{
    QMCheckCondition(pVal != nullptr, E_POINTER);
    *pVal = nullptr;
    for (const auto& marker : GetMarkers(MarkerTypeMarker))
        if (const auto item = From(marker.Get()); item->get_IsSynchMarker())
            return HandOut(item.Get(), pVal);
    return S_FALSE;
}

HRESULT CLibraryItem::GetMarkerByTitle(std::int32_t type, const wstring& title, ILibraryItemMarker** pVal)
{
    QMCheckCondition(pVal, E_POINTER);
    *pVal = nullptr;
    for (const auto& marker : GetMarkers(type))
        if (const auto item = From(marker.Get()); item->get_Title() == title)
            return HandOut(item.Get(), pVal);
    return S_FALSE;
}

HRESULT CLibraryItem::AsCollection(ILibraryItemCollection** pVal)
{
    QMCheckCondition(pVal, E_POINTER);
    return CreateLibraryItemCollection({static_cast<ILibraryItem*>(this)}, pVal);
}

HRESULT CLibraryItem::get_IsRootItem(std::int32_t* pVal)
{
    QMCheckCondition(pVal, E_POINTER);
    *pVal = m_isRootNode ? 1 : 0;
    return S_OK;
}

bool CLibraryItem::get_IsSynchMarker()
{
    if (m_synchMarkerState != 0)
        return m_synchMarkerState == 2;
    ComPtr<IXMLDOMElement> element;
    std::optional<wstring> value;
    if (SUCCEEDED(EnsureLoaded()) && SUCCEEDED(NodeElement(element)))
        GetAttributeText(element.Get(), u"SynchMarker", value);
    m_synchMarkerState = value && IsYes(*value) ? 2 : 1;
    return m_synchMarkerState == 2;
}

HRESULT CLibraryItem::put_IsSynchMarker(bool value)
{
    QMCheckHRESULT(LoadForWrite());
    if (get_IsSynchMarker() == value)
        return S_OK;
    ComPtr<IXMLDOMElement> element;
    NodeElement(element);
    QMCheckCondition(element, E_UNEXPECTED);
    QMCheckHRESULT(SetAttribute(element.Get(), u"SynchMarker", CComVariant(wstring_view(FormatYesNo(value)))));
    m_synchMarkerState = value ? 2 : 1;
    return S_OK;
}

HRESULT CLibraryItem::SetProperty(REFGUID type, const wstring& value, const PROPERTYKEY& key,
                                  HRESULT (IMDProperties::*setter)(const wstring&))
{
    ComPtr<IMDProperties> properties;
    QMCheckHRESULT(GetOrCreateExtension(type, IID_IMDProperties, reinterpret_cast<void**>(properties.GetAddressOf())));
    QMCheckHRESULT((properties.Get()->*setter)(value));
    m_propertyChanged.Fire(nullptr, key);
    return S_OK;
}

HRESULT CLibraryItem::put_Title(const wstring& value)
{
    return SetProperty(MDTYPE_Properties, value, PKEY_Title, &IMDProperties::put_Title);
}

HRESULT CLibraryItem::put_Comment(const wstring& value)
{
    return SetProperty(MDTYPE_Properties, value, PKEY_Comment, &IMDProperties::put_Comment);
}

wstring CLibraryItem::get_Title()
{
    ComPtr<IMDProperties> properties;
    wstring title;
    if (GetExtension(MDTYPE_Properties, IID_IMDProperties, reinterpret_cast<void**>(properties.GetAddressOf())) == S_OK)
        title = properties->get_Title();
    if (title.empty() && !get_MediaPath().empty())
        title = FileTitle();
    return title;
}

wstring CLibraryItem::get_Comment()
{
    ComPtr<IMDProperties> properties;
    if (GetExtension(MDTYPE_Properties, IID_IMDProperties, reinterpret_cast<void**>(properties.GetAddressOf())) == S_OK)
        return properties->get_Comment();
    return {};
}

HRESULT CLibraryItem::Clone(ILibraryItemMarker** pp)
{
    QMCheckCondition(pp != nullptr, E_POINTER);
    *pp = nullptr;
    ComPtr<CLibraryItem> copy;
    QMCheckHRESULT(Create(false, ItemKindVideo, copy));
    QMCheckHRESULT(CopyLibraryItemMetadata(copy.Get(), this, true));
    return HandOut(copy.Get(), pp);
}
} // namespace Quillmar::Library::Native
