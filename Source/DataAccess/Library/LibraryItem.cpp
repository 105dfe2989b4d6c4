// The clip: creation, identity, file facts and the properties that live in its node.
#include "qm/Library/CLibraryItem.h"

#include "DataAccess/Library/ItemKinds.h"
#include "DataAccess/Library/LibraryItemAccess.h"
#include "DataAccess/Library/MDExtensionFactory.h"
#include "DataAccess/Library/XMLLibraryParser.h"
#include "DataAccess/Library/XmlNodeAccess.h"
#include "Logging/QMLog.h"
#include "Runtime/Guarded.h"
#include "Platform/Kernel/FileApi.h"
#include "Platform/Kernel/FileSystem.h"
#include "Platform/Kernel/Path.h"
#include "Platform/Xml/XmlChars.h"
#include "qm/Platform/Kernel/Time.h"

namespace Quillmar::Library::Native
{
namespace
{
DATE ToDate(const FILETIME& time) { return qm::FileTimeToDate(time); }

FILETIME Now()
{
    FILETIME now{};
    GetSystemTimeAsFileTime(&now);
    return now;
}

// A new LIBRARY_ITEM of no path, with a new ID and FILE_NAME.
HRESULT NewItemNode(ComPtr<IXMLDOMNode>& node)
{
    return CreateItemNode(node.ReleaseAndGetAddressOf(), u"", ItemKindUnknown, GUID_NULL, true);
}

wstring NewIdText()
{
    GUID id{};
    CoCreateGuid(&id);
    return qm::GuidToString(id);
}
} // namespace

CLibraryItem::CLibraryItem(bool attached, std::int32_t kind) : m_itemType(kind), m_isAttachedToFile(attached) {}

HRESULT CLibraryItem::Create(bool attached, std::int32_t kind, ComPtr<CLibraryItem>& item)
{
    QMCheckHRESULT(Allocate(attached, kind, item));
    ComPtr<IXMLDOMNode> node;
    NewItemNode(node);
    QMCheckCondition(node, E_FAIL);
    item->m_node = std::move(node);
    QMCheckHRESULT(MDExtensionFactory::LoadExtensions(item.Get(), item->m_node.Get(), item->m_extensions));
    return S_OK;
}

HRESULT CLibraryItem::CreateLoaded(const wstring& mediaPath, ComPtr<CLibraryItem>& item)
{
    ComPtr<CLibraryItem> made;
    QMCheckHRESULT(Allocate(true, ItemKindUnknown, made));
    QMCheckHRESULT(made->put_MediaPath(mediaPath, false));
    QMCheckHRESULT(made->EnsureLoaded());
    item = std::move(made);
    return S_OK;
}

HRESULT CLibraryItem::Allocate(bool attached, std::int32_t kind, ComPtr<CLibraryItem>& item)
{
    CLibraryItem* instance = new (std::nothrow) CLibraryItem(attached, kind);
    QMCheckCondition(instance != nullptr, E_OUTOFMEMORY);
    item.Attach(instance);
    return S_OK;
}

ComPtr<CLibraryItem> CLibraryItem::From(IUnknown* item)
{
    ComPtr<CLibraryItem> result;
    if (item != nullptr)
        item->QueryInterface(ClassId, reinterpret_cast<void**>(result.GetAddressOf()));
    return result;
}

HRESULT GetItemNodePrivate(ILibraryItem* item, IXMLDOMNode** node)
{
    const ComPtr<CLibraryItem> libraryItem = CLibraryItem::From(item);
    QMCheckCondition(libraryItem != nullptr, E_NOINTERFACE);
    return libraryItem->get_NodePrivate(node);
}

bool CLibraryItem::IsRootNode(IXMLDOMNode* node)
{
    ComPtr<IXMLDOMNode> parent;
    if (node == nullptr || node->get_parentNode(parent.GetAddressOf()) != S_OK || !parent)
        return true;
    wstring parentId;
    if (ReadElementText(parent.Get(), u"ID", parentId) != S_OK || parentId.empty())
        return true;
    wstring ownId;
    return ReadElementText(node, u"ID", ownId) == S_OK && ownId == parentId;
}

HRESULT CLibraryItem::NodeElement(ComPtr<IXMLDOMElement>& element)
{
    element.Reset();
    if (!m_node)
        return E_UNEXPECTED;
    AsElement(m_node.Get(), element);
    return element ? S_OK : E_UNEXPECTED;
}

// Node members

HRESULT CLibraryItem::get_NodePrivate(IXMLDOMNode** pp)
{
    QMCheckCondition(pp != nullptr, E_POINTER);
    *pp = nullptr;
    QMCheckHRESULT(EnsureLoaded());
    QMCheckCondition(m_node != nullptr, E_UNEXPECTED);
    QMCheckHRESULT(FlushToNode());
    *pp = ComPtr<IXMLDOMNode>(m_node).Detach();
    return S_OK;
}

HRESULT CLibraryItem::cloneNode(IXMLDOMNode** pp)
{
    QMCheckCondition(pp != nullptr, E_POINTER);
    *pp = nullptr;
    QMCheckHRESULT(EnsureLoaded());
    QMCheckCondition(m_node != nullptr, E_UNEXPECTED);
    QMCheckHRESULT(FlushToNode());
    return m_node->cloneNode(VARIANT_TRUE, pp);
}

HRESULT CLibraryItem::TakeNode(IXMLDOMNode* node)
{
    m_loadPending = false;
    m_isRootNode = IsRootNode(node);
    m_node = node;
    return ReadFromNode();
}

HRESULT CLibraryItem::put_Node(IXMLDOMNode* newVal, bool newId)
{
    QMCheckCondition(newVal != nullptr, E_INVALIDARG);
    QMCheckHRESULT(TakeNode(newVal));
    if (newId)
        QMCheckHRESULT(SetId(NewIdText()));
    return S_OK;
}

HRESULT CLibraryItem::SetId(const wstring& id)
{
    QMCheckHRESULT(EnsureLoaded());
    QMCheckCondition(m_node != nullptr, E_UNEXPECTED);
    if (!m_id.empty())
        m_id = id;
    ComPtr<IXMLDOMNode> idNode;
    QMCheckHRESULT(SelectNode(m_node.Get(), u"ID", idNode));
    if (!idNode)
        return AppendTextElement(m_node.Get(), u"ID", id);
    QMCheckHRESULT(SetNodeText(idNode.Get(), id));
    return S_OK;
}

wstring CLibraryItem::get_ID()
{
    if (!m_id.empty())
        return m_id;
    wstring id;
    if (m_node)
        ReadElementText(m_node.Get(), u"ID", id);
    return id;
}

// Paths, names and file facts

wstring CLibraryItem::get_MediaPath()
{
    if (m_isRootNode)
        return m_path;
    wstring path;
    ComPtr<IXMLDOMNode> parent;
    if (m_node && m_node->get_parentNode(parent.GetAddressOf()) == S_OK && parent)
        ReadElementText(parent.Get(), u"FILE_NAME", path);
    return path;
}

HRESULT CLibraryItem::put_MediaPath(const wstring& path, bool load)
{
    if (path == m_path)
        return S_FALSE;
    m_path = path;
    m_isAttachedToFile = true;
    m_itemType = ItemKindOfPath(path);
    if (m_node && m_isRootNode)
    {
        ComPtr<IXMLDOMNode> fileName;
        QMCheckHRESULT(SelectNode(m_node.Get(), u"FILE_NAME", fileName));
        if (!fileName)
            QMCheckHRESULT(AppendTextElement(m_node.Get(), u"FILE_NAME", path));
        else
            QMCheckHRESULT(SetNodeText(fileName.Get(), path));
        QMCheckHRESULT(RefreshFileInfo());
    }
    if (load)
        EnsureLoaded();
    return S_OK;
}

wstring CLibraryItem::FileTitle()
{
    wstring name(PathFindFileNameW(get_MediaPath()));
    PathRemoveExtensionW(name);
    return name;
}

wstring CLibraryItem::get_Name() { return m_displayName.empty() ? FileTitle() : m_displayName; }

wstring CLibraryItem::get_SidecarPath() { return SidecarPathOf(get_MediaPath(), m_itemType); }

HRESULT CLibraryItem::get_SidecarSize(std::uint64_t* pVal)
{
    QMCheckCondition(pVal != nullptr, E_POINTER);
    qm::FileAttributes attributes;
    *pVal = SUCCEEDED(qm::FileSystem().GetAttributes(get_SidecarPath(), attributes, false)) ? attributes.size : 0;
    return S_OK;
}

HRESULT CLibraryItem::get_MediaSize(std::uint64_t* pVal)
{
    QMCheckCondition(pVal != nullptr, E_POINTER);
    *pVal = m_mediaSize;
    return S_OK;
}

HRESULT CLibraryItem::get_MediaWriteTime(DATE* pVal)
{
    QMCheckCondition(pVal != nullptr, E_POINTER);
    *pVal = ToDate(m_mediaWriteTime);
    return S_OK;
}

HRESULT CLibraryItem::get_SidecarWriteTime(DATE* pVal)
{
    QMCheckCondition(pVal != nullptr, E_POINTER);
    *pVal = ToDate(m_sidecarWriteTime);
    return S_OK;
}

HRESULT CLibraryItem::get_MediaCreationTime(DATE* pVal)
{
    QMCheckCondition(pVal != nullptr, E_POINTER);
    *pVal = ToDate(m_mediaCreationTime);
    return S_OK;
}

HRESULT CLibraryItem::RefreshFileInfo()
{
    QMCheckCondition(m_node != 0, E_UNEXPECTED);
    QMCheckCondition(m_isAttachedToFile, E_UNEXPECTED);
    const wstring mediaPath = get_MediaPath();
    ComPtr<IXMLDOMNode> nameNode;
    if (SelectNode(m_node.Get(), u"NAME", nameNode) == S_OK)
        QMCheckHRESULT(SetNodeText(nameNode.Get(), PathFindFileNameW(mediaPath)));

    qm::IFileSystem& fileSystem = qm::FileSystem();
    qm::FileAttributes media;
    if (FAILED(fileSystem.GetAttributes(mediaPath, media, false)))
    {
        m_mediaCreationTime = m_mediaWriteTime = Now();
        return S_OK;
    }
    qm::FileAttributes sidecar;
    const bool hasSidecar = SUCCEEDED(fileSystem.GetAttributes(get_SidecarPath(), sidecar, false));
    m_sidecarWriteTime = hasSidecar ? sidecar.lastWriteTime : media.lastWriteTime;
    m_sidecarStamp = hasSidecar ? sidecar.stamp : qm::FileStamp{};
    m_mediaCreationTime = media.creationTime;
    m_mediaWriteTime = media.lastWriteTime;
    m_mediaSize = media.size;

    wstring folder = mediaPath;
    PathRemoveFileSpecW(folder);
    if (fileSystem.IsReadOnlyVolume(mediaPath) == S_OK || fileSystem.IsFolderWritable(folder) != S_OK)
        m_isReadOnly = true;
    else
        m_isReadOnly = media.readOnly || (hasSidecar && sidecar.readOnly);
    return S_OK;
}

HRESULT CLibraryItem::put_IsReadOnly(bool value)
{
    QMCheckCondition(m_isAttachedToFile, E_UNEXPECTED);
    const wstring mediaPath = get_MediaPath();
    std::vector<wstring> files{mediaPath};
    if (m_itemType != ItemKindNotebook)
        files.push_back(get_SidecarPath());
    for (const wstring& file : files)
    {
        const DWORD attributes = GetFileAttributesW(file.c_str());
        if (attributes == INVALID_FILE_ATTRIBUTES)
            continue;
        const DWORD changed =
            value ? (attributes | FILE_ATTRIBUTE_READONLY) : (attributes & ~DWORD(FILE_ATTRIBUTE_READONLY));
        const BOOL bRet = SetFileAttributesW(file.c_str(), changed);
        CheckLastErrorCondition(bRet);
    }
    m_isReadOnly = value;
    return S_OK;
}

HRESULT CLibraryItem::ResetMetadata()
{
    const wstring mediaPath = get_MediaPath();
    // A notebook's file is its sidecar, and holds its tracks besides: deleting it would
    // delete the notebook.
    if (m_itemType == ItemKindNotebook)
    {
        QMLog(2, u"Cannot reset the metadata of notebook '%s': the file is the notebook itself", mediaPath.c_str());
        return HRESULT_FROM_WIN32(ERROR_NOT_SUPPORTED);
    }
    if (!PathFileExistsW(mediaPath))
        return E_FAIL;
    const wstring sidecar = get_SidecarPath();
    if (PathFileExistsW(sidecar) && !DeleteFileW(sidecar.c_str()))
        return E_FAIL;
    QMCheckHRESULT(UnloadNode());
    ComPtr<IXMLDOMNode> newNode;
    NewItemNode(newNode);
    QMCheckCondition(newNode != nullptr, E_UNEXPECTED);
    m_node = std::move(newNode);
    // The path is set again on the new node: it must not be taken as unchanged.
    const wstring path = std::exchange(m_path, wstring());
    QMCheckHRESULT(put_MediaPath(path, false));
    QMCheckHRESULT(EnsureLoaded());
    QMCheckHRESULT(UnloadNode());
    return S_OK;
}

HRESULT CLibraryItem::CopyTo(LPCWSTR path, ILibraryItem** ppLibraryItem)
{
    return qm::Guarded([&] { return CopyToUnguarded(path, ppLibraryItem); });
}

HRESULT CLibraryItem::CopyToUnguarded(LPCWSTR path, ILibraryItem** ppLibraryItem)
{
    QMCheckCondition(ppLibraryItem != 0, E_POINTER);
    const bool wasPending = m_loadPending;
    if (wasPending)
        QMCheckHRESULT(EnsureLoaded());
    QMCheckCondition(m_node != 0, E_UNEXPECTED);
    ComPtr<CLibraryItem> copy;
    QMCheckHRESULT(Create(true, m_itemType, copy));
    ComPtr<IXMLDOMNode> clone;
    QMCheckHRESULT(m_node->cloneNode(VARIANT_TRUE, clone.GetAddressOf()));
    QMCheckHRESULT(copy->put_Node(clone.Get(), true));
    QMCheckHRESULT(copy->put_MediaPath(path ? wstring(path) : wstring(), false));
    QMCheckHRESULT(copy->GiveNewIds());
    QMCheckHRESULT(copy->RefreshFileInfo());
    *ppLibraryItem = static_cast<ILibraryItem*>(copy.Detach());
    if (wasPending)
        QMLogHRESULT(UnloadNode());
    return S_OK;
}

// Properties kept in the node

HRESULT CLibraryItem::put_Color(wstring_view color)
{
    QMCheckCondition(qm::xml::IsValidText(color), E_INVALIDARG);
    QMCheckHRESULT(LoadForWrite());
    ComPtr<IXMLDOMElement> element;
    NodeElement(element);
    QMCheckCondition(element, E_UNEXPECTED);
    const HRESULT hr = color.empty() ? RemoveAttribute(element.Get(), u"Color")
                                     : SetAttribute(element.Get(), u"Color", CComVariant(color));
    QMLogHRESULT(hr);
    return S_OK;
}

wstring CLibraryItem::get_Color()
{
    ComPtr<IXMLDOMElement> element;
    std::optional<wstring> color;
    if (SUCCEEDED(NodeElement(element)))
        GetAttributeText(element.Get(), u"Color", color);
    return color.value_or(wstring());
}

HRESULT CLibraryItem::put_SynchronizationHandicap(REFERENCE_TIME value)
{
    // Loaded first, so that the load cannot put the file's value back over this one.
    QMCheckHRESULT(LoadForWrite());
    m_synchronizationHandicap = value;
    return S_OK;
}

HRESULT CLibraryItem::GetOrCreateChildNode(BSTR name, IXMLDOMNode** ppNode)
{
    QMCheckCondition(ppNode != nullptr, E_POINTER);
    *ppNode = nullptr;
    QMCheckHRESULT(EnsureLoaded());
    QMCheckCondition(m_node != nullptr, E_UNEXPECTED);
    ComPtr<IXMLDOMNode> child;
    QMCheckHRESULT(SelectNode(m_node.Get(), qm::BstrView(name), child));
    if (!child)
    {
        ComPtr<IXMLDOMDocument> document;
        QMCheckHRESULT(OwnerDocument(m_node.Get(), document));
        QMCheckHRESULT(document->createNode(CComVariant(static_cast<LONG>(NODE_ELEMENT)), name, nullptr,
                                            child.GetAddressOf()));
        QMCheckHRESULT(m_node->appendChild(child.Get(), nullptr));
    }
    *ppNode = child.Detach();
    return S_OK;
}

HRESULT CLibraryItem::GetChildNode(BSTR name, IXMLDOMNode** ppNode)
{
    QMCheckCondition(ppNode != nullptr, E_POINTER);
    *ppNode = nullptr;
    QMCheckHRESULT(EnsureLoaded());
    QMCheckCondition(m_node != nullptr, E_UNEXPECTED);
    return m_node->selectSingleNode(name, ppNode);
}

HRESULT CLibraryItem::InsertInto(IXMLDOMNode* pParentNode, IXMLDOMNode* before)
{
    QMCheckCondition(pParentNode != nullptr, E_INVALIDARG);
    QMCheckCondition(m_node != nullptr, E_UNEXPECTED);
    CComVariant reference;
    if (before != nullptr)
        reference = CComVariant(static_cast<IUnknown*>(before));
    return pParentNode->insertBefore(m_node.Get(), reference, nullptr);
}

HRESULT CLibraryItem::RemoveFrom(IXMLDOMNode* pParentNode)
{
    QMCheckCondition(pParentNode != nullptr, E_INVALIDARG);
    QMCheckCondition(m_node != nullptr, E_UNEXPECTED);
    return pParentNode->removeChild(m_node.Get(), nullptr);
}

// Serialization

HRESULT CLibraryItem::Serialize(VARIANT, IXMLDOMNode* pParentNode)
{
    QMCheckCondition(pParentNode != nullptr, E_INVALIDARG);
    ComPtr<IXMLDOMNode> node;
    QMCheckHRESULT(get_NodePrivate(node.GetAddressOf()));
    ComPtr<IXMLDOMNode> clone;
    QMCheckHRESULT(node->cloneNode(VARIANT_TRUE, clone.GetAddressOf()));
    return pParentNode->appendChild(clone.Get(), nullptr);
}

HRESULT CLibraryItem::Deserialize(IXMLDOMNode* pParentNode)
{
    QMCheckCondition(pParentNode != nullptr, E_INVALIDARG);
    ComPtr<IXMLDOMNode> node;
    const HRESULT hr = SelectNode(pParentNode, u"LIBRARY_ITEM", node);
    QMCheckHRESULT(hr);
    if (hr == S_FALSE)
        return S_FALSE;
    return put_Node(node.Get(), false);
}

// The raw setters of the library's own callers

HRESULT CLibraryItem::put_DisplayName(const wstring& name)
{
    m_displayName = name;
    return S_OK;
}

HRESULT CLibraryItem::put_MediaCreationTime(const DATE* value)
{
    QMCheckCondition(value != nullptr, E_POINTER);
    SYSTEMTIME system{};
    QMCheckCondition(VariantTimeToSystemTime(*value, &system), E_INVALIDARG);
    QMCheckCondition(SystemTimeToFileTime(&system, &m_mediaCreationTime), E_INVALIDARG);
    return S_OK;
}

HRESULT CLibraryItem::put_MediaSize(std::uint64_t size)
{
    m_mediaSize = size;
    return S_OK;
}

HRESULT CLibraryItem::put_RawPath(const wstring& path)
{
    m_path = path;
    return S_OK;
}

HRESULT CLibraryItem::put_Duration(REFERENCE_TIME value)
{
    QMCheckHRESULT(LoadForWrite());
    m_duration = value;
    m_durationFromFile = false;
    return S_OK;
}

HRESULT CLibraryItem::SetPathOverride(LPCWSTR path, const wstring& tag)
{
    m_path = path ? wstring(path) : wstring();
    m_pathOverrideTag = tag;
    m_pathOverridden = true;
    return S_OK;
}

HRESULT CLibraryItem::get_FirstFrameAbsoluteTime(FILETIME* pVal)
{
    QMCheckCondition(pVal != nullptr, E_POINTER);
    if (m_firstFrameAbsoluteTime != 0)
    {
        *pVal = qm::Int64ToFileTime(static_cast<std::int64_t>(m_firstFrameAbsoluteTime));
        return S_OK;
    }
    *pVal = m_mediaCreationTime;
    return S_FALSE;
}

HRESULT CLibraryItem::put_FirstFrameAbsoluteTime(std::uint64_t value)
{
    QMCheckHRESULT(LoadForWrite());
    m_firstFrameAbsoluteTime = value;
    return S_OK;
}
} // namespace Quillmar::Library::Native
