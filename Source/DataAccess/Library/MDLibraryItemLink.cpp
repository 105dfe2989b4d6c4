#include "DataAccess/Library/MDLibraryItemLink.h"

#include "DataAccess/Library/XmlNodeAccess.h"
#include "Logging/QMLog.h"
#include "Platform/Kernel/Path.h"
#include "Platform/Text/NumberText.h"
#include "qm/Library/LibraryItem.h"
#include "qm/Library/LibraryItemFactory.h"

#include <algorithm>

namespace Quillmar::Library::Native
{
namespace
{
// The form a location takes in the XML: relative to the clip's media path when both are
// on one file system, else absolute.
wstring StoredLocation(const wstring& path, const wstring& mediaPath)
{
    wstring relative;
    if (PathIsSameRootW(path, mediaPath) && PathRelativePathToW(relative, mediaPath, false, path, false))
        return relative;
    return path;
}

// A location read from the XML made absolute again from the clip's folder (a relative one
// written on Windows has backslashes); a relative one in a clip without a media path
// resolves to nothing.
wstring ResolvedLocation(const wstring& stored, const wstring& mediaPath)
{
    const wstring text = qm::PathFromFile(stored);
    if (!PathIsRelativeW(text))
        return text;
    if (mediaPath.empty())
        return {};
    wstring folder = mediaPath;
    PathRemoveFileSpecW(folder);
    return PathCombineW(folder, text);
}

// No list of linked clips is this long; a larger index read from a file makes no gap, so
// that a hostile Index cannot ask for gigabytes of null entries.
constexpr std::int32_t kMaxIndexGap = 1 << 16;

// Places clips by their order key: -1 first and appended as they come, n at position n
// when the list is not yet longer, with null entries in the gap.
std::vector<ComPtr<ILibraryItem>> PlaceByIndex(std::vector<std::pair<ComPtr<ILibraryItem>, std::int32_t>>& pairs)
{
    std::stable_sort(pairs.begin(), pairs.end(), [](const auto& a, const auto& b) { return a.second < b.second; });
    std::vector<ComPtr<ILibraryItem>> result;
    for (auto& [item, key] : pairs)
    {
        if (key != -1 && key <= kMaxIndexGap && static_cast<std::int64_t>(result.size()) < key)
            result.resize(static_cast<size_t>(key));
        result.push_back(std::move(item));
    }
    return result;
}
} // namespace

HRESULT CMDLibraryItemLink::FindOrCreate(wstring_view id, References::iterator& it)
{
    it = m_references.find(id);
    if (it != m_references.end())
        return S_OK;
    const auto res = m_references.emplace(wstring(id), LinkReference{});
    QMCheckCondition(res.second, E_FAIL);
    it = res.first;
    return S_OK;
}

const CMDLibraryItemLink::LinkReference* CMDLibraryItemLink::Find(wstring_view id) const
{
    const auto it = m_references.find(id);
    return it == m_references.end() ? nullptr : &it->second;
}

std::vector<wstring> CMDLibraryItemLink::GetLinkIds()
{
    std::vector<wstring> ids;
    ids.reserve(m_references.size());
    for (const auto& entry : m_references)
        ids.push_back(entry.first);
    return ids;
}

std::vector<ComPtr<ILibraryItem>> CMDLibraryItemLink::get_LinkedItems(ILibraryItemFactory* factory, wstring_view id,
                                                                      bool createMissing)
{
    const LinkReference* reference = Find(id);
    if (reference == nullptr || factory == nullptr)
        return {};
    std::vector<std::pair<ComPtr<ILibraryItem>, std::int32_t>> pairs;
    for (const LinkedItemLocation& location : reference->items)
    {
        ComPtr<ILibraryItem> item;
        if (PathFileExistsW(location.path))
        {
            if (FAILED(factory->GetLibraryItem(location.path.c_str(), item.GetAddressOf())))
            {
                QMLog(1, u"CMDLibraryItemLink::get_LinkedItems: Failed to create library item from path: %s",
                      location.path.c_str());
                continue;
            }
        }
        else if (createMissing)
        {
            if (FAILED(QMLogHRESULT(factory->CreateLibraryItem(item.GetAddressOf()))))
                continue;
            QMLogHRESULT(item->put_MediaPath(location.path, false));
        }
        else
        {
            continue;
        }
        pairs.emplace_back(std::move(item), location.index.value_or(-1));
    }
    return PlaceByIndex(pairs);
}

std::vector<wstring> CMDLibraryItemLink::GetLinkedPaths(wstring_view id)
{
    std::vector<wstring> paths;
    if (const LinkReference* reference = Find(id))
        for (const LinkedItemLocation& location : reference->items)
            paths.push_back(location.path);
    return paths;
}

HRESULT CMDLibraryItemLink::AddLinkedPath(wstring_view id, const wstring& path, std::optional<std::int32_t> index)
{
    QMCheckHRESULT(CheckText(id));
    QMCheckHRESULT(CheckText(path));
    References::iterator it;
    QMCheckHRESULT(FindOrCreate(id, it));
    it->second.items.push_back({path, index});
    m_dirty = true;
    return S_OK;
}

HRESULT CMDLibraryItemLink::AddLinkedItem(wstring_view id, ILibraryItem* pLibraryItem,
                                          std::optional<std::int32_t> index)
{
    QMCheckCondition(pLibraryItem != nullptr, E_INVALIDARG);
    return AddLinkedPath(id, pLibraryItem->get_MediaPath(), index);
}

HRESULT CMDLibraryItemLink::RemoveLinkedPath(wstring_view id, const wstring& path)
{
    const auto it = m_references.find(id);
    if (it == m_references.end())
        return S_FALSE;
    std::erase_if(it->second.items, [&path](const LinkedItemLocation& location) { return location.path == path; });
    if (it->second.items.empty())
        m_references.erase(it);
    m_dirty = true;
    return S_OK;
}

HRESULT CMDLibraryItemLink::RemoveLinkedItem(wstring_view id, ILibraryItem* pLibraryItem)
{
    QMCheckCondition(pLibraryItem != nullptr, E_INVALIDARG);
    return RemoveLinkedPath(id, pLibraryItem->get_MediaPath());
}

HRESULT CMDLibraryItemLink::RemoveLink(wstring_view id)
{
    if (id.empty())
    {
        m_references.clear();
    }
    else
    {
        const auto it = m_references.find(id);
        if (it == m_references.end())
            return S_FALSE;
        m_references.erase(it);
    }
    m_dirty = true;
    return S_OK;
}

HRESULT CMDLibraryItemLink::CopyFrom(IMDLibraryItemLink* other)
{
    QMCheckCondition(other != nullptr, E_INVALIDARG);
    ComPtr<CMDLibraryItemLink> source;
    QMCheckHRESULT(other->QueryInterface(ClassId, reinterpret_cast<void**>(source.GetAddressOf())));
    if (source.Get() != this)
        m_references = source->m_references;
    return S_OK;
}

bool CMDLibraryItemLink::HasLink(wstring_view id) { return Find(id) != nullptr; }

HRESULT CMDLibraryItemLink::SetLinkName(wstring_view id, wstring_view name)
{
    QMCheckHRESULT(CheckText(id));
    QMCheckHRESULT(CheckText(name));
    References::iterator it;
    QMCheckHRESULT(FindOrCreate(id, it));
    it->second.name = wstring(name);
    m_dirty = true;
    return S_OK;
}

wstring CMDLibraryItemLink::GetLinkName(wstring_view id)
{
    const LinkReference* reference = Find(id);
    return reference ? reference->name : wstring();
}

HRESULT CMDLibraryItemLink::SetSynchronizationOffset(wstring_view id, std::int64_t offset)
{
    QMCheckHRESULT(CheckText(id));
    References::iterator it;
    QMCheckHRESULT(FindOrCreate(id, it));
    it->second.synchronizationOffset = offset;
    m_dirty = true;
    return S_OK;
}

HRESULT CMDLibraryItemLink::GetSynchronizationOffset(wstring_view id, std::int64_t* offset)
{
    QMCheckCondition(offset != nullptr, E_POINTER);
    // An unknown id is an ordinary answer to callers that probe for a link: not logged.
    const LinkReference* reference = Find(id);
    if (reference == nullptr)
        return E_FAIL;
    *offset = reference->synchronizationOffset;
    return S_OK;
}

HRESULT CMDLibraryItemLink::WriteLocation(IXMLDOMElement* referenceElement, const LinkedItemLocation& location,
                                          const wstring& mediaPath)
{
    ComPtr<IXMLDOMElement> element;
    QMCheckHRESULT(CreateElement(referenceElement, u"LibraryItem", element));
    const wstring stored = StoredLocation(location.path, mediaPath);
    QMCheckHRESULT(SetAttribute(element.Get(), u"LastKnownLocation", CComVariant(wstring_view(stored))));
    if (location.index)
        QMCheckHRESULT(SetAttribute(element.Get(), u"Index", CComVariant(static_cast<LONG>(*location.index))));
    QMCheckHRESULT(referenceElement->appendChild(element.Get(), nullptr));
    return S_OK;
}

HRESULT CMDLibraryItemLink::WriteReference(IXMLDOMElement* container, const wstring& id, const LinkReference& reference,
                                           const wstring& mediaPath)
{
    ComPtr<IXMLDOMElement> element;
    QMCheckHRESULT(CreateElement(container, u"Reference", element));
    QMCheckHRESULT(SetAttribute(element.Get(), u"Id", CComVariant(wstring_view(id))));
    if (reference.synchronizationOffset != 0)
        QMCheckHRESULT(SetAttribute(element.Get(), u"SynchronizationOffset",
                                    CComVariant(static_cast<LONGLONG>(reference.synchronizationOffset))));
    if (!reference.name.empty())
        QMCheckHRESULT(SetAttribute(element.Get(), u"Name", CComVariant(wstring_view(reference.name))));
    QMCheckHRESULT(container->appendChild(element.Get(), nullptr));
    for (const LinkedItemLocation& location : reference.items)
        QMCheckHRESULT(WriteLocation(element.Get(), location, mediaPath));
    return S_OK;
}

HRESULT CMDLibraryItemLink::PrepareSave(ILibraryItem* pLibraryItem)
{
    QMCheckCondition(pLibraryItem != 0, E_INVALIDARG);
    return S_OK;
}

HRESULT CMDLibraryItemLink::Write(IXMLDOMNode* parentNode, IXMLDOMDocument* document, ILibraryItem* pLibraryItem)
{
    const wstring mediaPath = pLibraryItem->get_MediaPath();
    ComPtr<IXMLDOMElement> pElement;
    QMCheckHRESULT(CreateElement(document, kNodeName, pElement));
    QMCheckCondition(pElement != nullptr, E_INVALIDARG);
    for (const auto& [id, reference] : m_references)
        QMCheckHRESULT(WriteReference(pElement.Get(), id, reference, mediaPath));
    QMCheckHRESULT(parentNode->appendChild(pElement.Get(), nullptr));
    return S_OK;
}

HRESULT CMDLibraryItemLink::ReadLocation(IXMLDOMNode* node, const wstring& mediaPath,
                                         std::vector<LinkedItemLocation>& items)
{
    ComPtr<IXMLDOMElement> element;
    if (FAILED(AsElement(node, element)))
        return S_OK;
    std::optional<wstring> text;
    QMCheckHRESULT(GetAttributeText(element.Get(), u"LastKnownLocation", text));
    if (!text)
        return S_OK;
    LinkedItemLocation location{ResolvedLocation(*text, mediaPath), std::nullopt};
    std::optional<wstring> indexText;
    QMCheckHRESULT(GetAttributeText(element.Get(), u"Index", indexText));
    std::int32_t index = 0;
    if (indexText && SUCCEEDED(qm::ParseInt32(*indexText, index)))
        location.index = index;
    items.push_back(std::move(location));
    return S_OK;
}

HRESULT CMDLibraryItemLink::ReadReference(IXMLDOMNode* node, const wstring& mediaPath)
{
    ComPtr<IXMLDOMElement> element;
    QMCheckHRESULT(AsElement(node, element));
    std::optional<wstring> id, offsetText, name;
    QMCheckHRESULT(GetAttributeText(element.Get(), u"Id", id));
    QMCheckHRESULT(GetAttributeText(element.Get(), u"SynchronizationOffset", offsetText));
    QMCheckHRESULT(GetAttributeText(element.Get(), u"Name", name));
    // A reference without an id has no key to go under; the writer always gives one.
    if (!id)
        return S_OK;
    LinkReference reference;
    // A value that does not read leaves the offset at 0.
    if (offsetText)
        qm::ParseInt64(*offsetText, reference.synchronizationOffset);
    reference.name = name.value_or(wstring());
    NodeList locations;
    QMCheckHRESULT(SelectNodes(node, u"LibraryItem", locations));
    for (const auto& location : locations)
        QMCheckHRESULT(ReadLocation(location.Get(), mediaPath, reference.items));
    m_references[*id] = std::move(reference);
    return S_OK;
}

HRESULT CMDLibraryItemLink::Load(IXMLDOMNode* parentNode, ILibraryItem* pLibraryItem)
{
    QMCheckCondition(pLibraryItem != 0, E_INVALIDARG);
    m_dirty = false;
    m_references.clear();
    ComPtr<IXMLDOMNode> extensionNode;
    const HRESULT hr = SelectNode(parentNode, kNodeName, extensionNode);
    QMCheckHRESULT(hr);
    QMCheckCondition(hr != S_FALSE, E_FAIL);
    QMCheckCondition(extensionNode != 0, E_UNEXPECTED);
    const wstring mediaPath = pLibraryItem->get_MediaPath();
    NodeList references;
    QMCheckHRESULT(SelectNodes(extensionNode.Get(), u"Reference", references));
    for (const auto& reference : references)
        QMCheckHRESULT(ReadReference(reference.Get(), mediaPath));
    return S_OK;
}

HRESULT CMDLibraryItemLink::Delete(IXMLDOMNode* parentNode, ILibraryItem*)
{
    QMCheckHRESULT(RemoveElements(parentNode));
    m_dirty = false;
    return S_OK;
}
} // namespace Quillmar::Library::Native
