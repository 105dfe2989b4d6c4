// The life of a clip's XML: the lazy load with its version rules, the flush of memory
// into the node, the save by the direct or the safe route, and the unload.
#include "qm/Library/CLibraryItem.h"

#include "DataAccess/Library/DeprecatedKRVSynchPoint.h"
#include "DataAccess/Library/ItemKinds.h"
#include "DataAccess/Library/MDExtensionFactory.h"
#include "DataAccess/Library/XMLLibraryParser.h"
#include "DataAccess/Library/XmlNodeAccess.h"
#include "Logging/QMLog.h"
#include "Runtime/Guarded.h"
#include "Platform/Kernel/Clock.h"
#include "Platform/Kernel/FileApi.h"
#include "Platform/Kernel/FileSystem.h"
#include "Platform/Kernel/Path.h"
#include "Platform/Kernel/SideFilePath.h"
#include "Platform/Text/Format.h"
#include "Platform/Xml/XmlDocumentHelpers.h"
#include "qm/LibrarySettings.h"
#include "qm/Platform/Com/Stream.h"
#include "qm/Platform/Kernel/Time.h"

namespace Quillmar::Library::Native
{
namespace
{
constexpr int kReplaceAttempts = 4;
constexpr DWORD kReplaceRetryWait = 200;
// How many kept copies of unreadable sidecars one clip may gather.
constexpr int kMaxDamagedCopies = 1000;

unsigned Code(HRESULT hr) { return static_cast<unsigned>(hr); }

bool IsKnownVersion(wstring_view version) { return version == u"4.0" || version == u"2.0" || version == u"1.0"; }

HRESULT ProbeFolderForWriting(const wstring& file)
{
    wstring folder = file;
    PathRemoveFileSpecW(folder);
    const HRESULT hr = qm::FileSystem().IsFolderWritable(folder);
    if (FAILED(hr))
        return hr;
    return hr == S_OK ? S_OK : E_ACCESSDENIED;
}

HRESULT SyncFolderOf(const wstring& file)
{
    wstring folder = file;
    PathRemoveFileSpecW(folder);
    return qm::FileSystem().FsyncFolder(folder);
}

HRESULT OpenWriteStream(const wstring& path, ComPtr<IStream>& stream)
{
    const HRESULT hr = SHCreateStreamOnFileEx(path.c_str(), STGM_CREATE | STGM_SHARE_EXCLUSIVE | STGM_WRITE, 0, TRUE,
                                              nullptr, stream.ReleaseAndGetAddressOf());
    if (FAILED(hr))
        QMLog(1, u"Error when create stream on file '%s', 0x%08x", path.c_str(), Code(hr));
    return hr;
}

HRESULT WriteToStream(IXMLDOMDocument* document, IStream* stream, const wstring& path)
{
    HRESULT hr = document->save(CComVariant(static_cast<IUnknown*>(stream)));
    if (SUCCEEDED(hr))
        hr = stream->Commit(0);
    if (FAILED(hr))
        QMLog(1, u"Error when saving library item to file '%s', 0x%08x", path.c_str(), Code(hr));
    return hr;
}

// A sidecar that could not be read is moved to a name of its own beside it before a save
// replaces it, so that nothing the user had is lost to the empty clip that was loaded.
// An earlier kept copy is never replaced.
HRESULT SetUnreadableSidecarAside(const wstring& sidecar)
{
    if (!PathFileExistsW(sidecar))
        return S_OK;
    for (int copy = 0; copy < kMaxDamagedCopies; ++copy)
    {
        const wstring suffix = copy == 0 ? wstring(u".damaged") : u".damaged." + qm::FormatW(u"%d", copy);
        const wstring kept = qm::SideFilePath(sidecar, suffix);
        const HRESULT hr = qm::FileSystem().Rename(sidecar, kept);
        if (hr == HRESULT_FROM_WIN32(ERROR_ALREADY_EXISTS))
            continue;
        if (SUCCEEDED(hr))
            QMLog(2, u"Kept the unreadable file %s as %s", sidecar.c_str(), kept.c_str());
        return hr;
    }
    return HRESULT_FROM_WIN32(ERROR_ALREADY_EXISTS);
}

// The replace, tried again after a wait while another process shares the sidecar.
HRESULT ReplaceWithRetries(const wstring& sidecar, const wstring& temporary, const wstring& backup)
{
    for (int attemptsLeft = kReplaceAttempts;;)
    {
        if (ReplaceFileW(sidecar.c_str(), temporary.c_str(), backup.c_str(), 0, nullptr, nullptr))
            return S_OK;
        const HRESULT hr = HRESULT_FROM_WIN32(GetLastError());
        --attemptsLeft;
        if (attemptsLeft == 0 || hr != HRESULT_FROM_WIN32(ERROR_SHARING_VIOLATION))
        {
            QMLog(1, u"Failed to replace the file %s -> %s, backup %s, error 0x%08x", sidecar.c_str(),
                  temporary.c_str(), backup.c_str(), Code(hr));
            return hr;
        }
        QMLog(5, u"Failed to replace the file %s -> %s, backup %s, error 0x%08x, retry %d", sidecar.c_str(),
              temporary.c_str(), backup.c_str(), Code(hr), attemptsLeft);
        Sleep(kReplaceRetryWait);
    }
}
} // namespace

HRESULT CLibraryItem::ReadVersion(IXMLDOMNode* node, wstring* versionStr, std::int32_t* subversion)
{
    QMCheckCondition(node, E_INVALIDARG);
    QMCheckCondition(versionStr, E_POINTER);
    if (subversion)
        *subversion = 0;
    ComPtr<IXMLDOMNode> versionNode;
    QMCheckHRESULT(SelectNode(node, u"VERSION", versionNode));
    QMCheckCondition(versionNode, E_UNEXPECTED);
    QMCheckHRESULT(GetNodeText(versionNode.Get(), *versionStr));
    ComPtr<IXMLDOMElement> versionElement;
    AsElement(versionNode.Get(), versionElement);
    QMCheckCondition(versionElement, E_NOINTERFACE);
    std::int32_t value = 0;
    const HRESULT hr = ReadInt32Attribute(versionElement.Get(), u"subversion", value);
    if (hr == S_FALSE)
        return S_FALSE;
    QMCheckHRESULT(hr);
    if (subversion)
        *subversion = value;
    return S_OK;
}

HRESULT CLibraryItem::WriteVersion(IXMLDOMNode* pParentNode, wstring_view text, std::int32_t subversion)
{
    QMCheckCondition(pParentNode, E_UNEXPECTED);
    ComPtr<IXMLDOMNode> versionNode;
    QMCheckHRESULT(SelectNode(pParentNode, u"VERSION", versionNode));
    QMCheckCondition(versionNode, E_UNEXPECTED);
    QMCheckHRESULT(SetNodeText(versionNode.Get(), text));
    ComPtr<IXMLDOMElement> element;
    AsElement(versionNode.Get(), element);
    QMCheckCondition(element, E_NOINTERFACE);
    QMCheckHRESULT(SetAttribute(element.Get(), u"subversion", CComVariant(static_cast<LONG>(subversion))));
    return S_OK;
}

HRESULT CLibraryItem::EnsureLoaded()
{
    if (m_isTransient || !m_isAttachedToFile)
        return S_FALSE;
    if (!m_loadPending)
        return S_OK;
    m_node.Reset();
    const wstring mediaPath = get_MediaPath();
    if (m_itemType != ItemKindNotebook && !PathFileExistsW(mediaPath))
    {
        QMLog(1, u"Media file not found: %s", mediaPath.c_str());
        return QM_E_MEDIA_MISSING;
    }
    ComPtr<IXMLDOMNode> node;
    const wstring sidecarPath = get_SidecarPath();
    m_sidecarUnreadable = false;
    if (PathFileExistsW(sidecarPath))
    {
        const HRESULT loaded = LoadItemNode(mediaPath, sidecarPath, node.GetAddressOf());
        QMLogHRESULT(loaded);
        m_sidecarUnreadable = FAILED(loaded);
    }
    if (!node)
    {
        // A missing or damaged sidecar: the clip comes up empty, and the next save sets
        // a damaged one aside before it writes.
        QMCheckHRESULT(CreateItemNode(node.GetAddressOf(), mediaPath, ItemKindOfPath(mediaPath), GUID_NULL, true));
        QMCheckCondition(node, E_UNEXPECTED);
    }
    wstring version;
    std::int32_t subversion = 0;
    const HRESULT versionRead = ReadVersion(node.Get(), &version, &subversion);
    QMCheckHRESULT(versionRead);
    if (!IsKnownVersion(version))
        return E_FAIL;
    if (version == u"4.0")
        QMCheckHRESULT(WriteVersion(node.Get(), u"2.0", 1));
    if (versionRead != S_OK)
    {
        QMCheckHRESULT(ConvertLegacy(node.Get(), version));
        QMCheckHRESULT(WriteVersion(node.Get(), u"2.0", 1));
    }
    m_node = node;
    m_loadPending = false;
    QMCheckHRESULT(ReadFromNode());
    return S_OK;
}

HRESULT CLibraryItem::ConvertLegacy(IXMLDOMNode* node, const wstring& version)
{
    DeprecatedKRVSynchPoint synchPoint;
    if (FAILED(synchPoint.ReadLegacy(node)))
        return S_FALSE;
    // The conversion makes markers in this node through the item's own operations, which
    // must find it loaded and must not load it again.
    m_node = node;
    m_loadPending = false;
    CComBSTR newVersion;
    const HRESULT hr = synchPoint.Apply(node, static_cast<ILibraryItem*>(this), version.c_str(), newVersion.GetAddressOf());
    m_node.Reset();
    m_loadPending = true;
    // The converted events are read into the marker lists by the next marker load.
    m_markersLoaded = false;
    m_markerCollections.clear();
    QMCheckHRESULT(hr);
    return S_OK;
}

HRESULT CLibraryItem::ReadFromNode()
{
    QMCheckCondition(m_node != 0, E_UNEXPECTED);
    QMCheckHRESULT(MDExtensionFactory::LoadExtensions(this, m_node.Get(), m_extensions));
    // Everything cached from an earlier node is read again: a value that another program
    // took out of the file must not come back from memory and be written again.
    m_synchMarkerState = 0;
    get_IsSynchMarker();
    QMCheckHRESULT(WriteFileNameElement());
    if (m_isRootNode && m_isAttachedToFile && !m_path.empty())
        QMCheckHRESULT(RefreshFileInfo());
    QMCheckHRESULT(ReadKeywords());
    m_thumbnailTime = -1;
    REFERENCE_TIME thumbnail = 0;
    const HRESULT thumbnailRead = get_ThumbnailTime(&thumbnail);
    QMCheckHRESULT(thumbnailRead);
    if (thumbnailRead == S_OK)
        m_thumbnailTime = thumbnail;
    m_id.clear();
    m_id = get_ID();
    QMCheckHRESULT(ReadCuePoints());
    QMCheckHRESULT(ReadDuration());
    ReadAttributes();
    return S_OK;
}

// A duration that a file gave goes with the file; one that the host gave stays.
HRESULT CLibraryItem::ReadDuration()
{
    if (m_durationFromFile)
        m_duration = kTimeNotSet;
    m_durationFromFile = false;
    wstring duration;
    QMCheckHRESULT(ReadElementText(m_node.Get(), u"DURATION", duration));
    if (!duration.empty() && ScanInt64Text(duration, m_duration))
        m_durationFromFile = true;
    return S_OK;
}

// A clip's path is the one it was opened with. A FILE_NAME that came with the node, from a
// file or from another clip, names nothing for this item: a root's own FILE_NAME takes
// the item's path, and a marker, whose path is its clip's, keeps none.
HRESULT CLibraryItem::WriteFileNameElement()
{
    NodeList names;
    QMCheckHRESULT(SelectNodes(m_node.Get(), u"FILE_NAME", names));
    const bool keepOne = m_isRootNode && !names.empty();
    for (size_t i = keepOne ? 1 : 0; i < names.size(); ++i)
        QMCheckHRESULT(m_node->removeChild(names[i].Get(), nullptr));
    if (keepOne)
        QMCheckHRESULT(SetNodeText(names.front().Get(), m_path));
    else if (m_isRootNode && !m_path.empty())
        QMCheckHRESULT(AppendTextElement(m_node.Get(), u"FILE_NAME", m_path));
    return S_OK;
}

HRESULT CLibraryItem::ReadAttributes()
{
    m_firstFrameAbsoluteTime = 0;
    m_synchronizationHandicap = 0;
    ComPtr<IXMLDOMElement> element;
    QMCheckHRESULT(NodeElement(element));
    std::optional<wstring> firstFrame;
    if (GetAttributeText(element.Get(), u"FirstFrameAbsoluteTime", firstFrame) == S_OK)
    {
        FILETIME time{};
        if (SUCCEEDED(ParseAbsoluteTime(*firstFrame, time)))
            m_firstFrameAbsoluteTime = static_cast<std::uint64_t>(qm::FileTimeToInt64(time));
    }
    ReadInt64Attribute(element.Get(), u"SynchronizationHandicap", m_synchronizationHandicap);
    return S_OK;
}

HRESULT CLibraryItem::WriteAttributes()
{
    ComPtr<IXMLDOMElement> element;
    QMCheckHRESULT(NodeElement(element));
    if (m_firstFrameAbsoluteTime != 0)
    {
        const FILETIME time = qm::Int64ToFileTime(static_cast<std::int64_t>(m_firstFrameAbsoluteTime));
        QMCheckHRESULT(SetAttribute(element.Get(), u"FirstFrameAbsoluteTime", CComVariant(wstring_view(FormatAbsoluteTime(time)))));
    }
    if (m_synchronizationHandicap != 0)
        QMCheckHRESULT(SetAttribute(element.Get(), u"SynchronizationHandicap",
                                    CComVariant(static_cast<LONGLONG>(m_synchronizationHandicap))));
    else
        RemoveAttribute(element.Get(), u"SynchronizationHandicap");
    return S_OK;
}

HRESULT CLibraryItem::SaveExtensions()
{
    for (const auto& extension : m_extensions)
    {
        ComPtr<IPersistMDExtension> persister;
        if (SUCCEEDED(extension.As(&persister)))
            QMCheckHRESULT(persister->Save(m_node.Get(), this));
    }
    return S_OK;
}

HRESULT CLibraryItem::SaveMarkers()
{
    for (const auto& [type, markers] : m_markerCollections)
        for (const auto& marker : markers)
            QMCheckHRESULT(marker->Save());
    return S_OK;
}

HRESULT CLibraryItem::FlushToNode()
{
    QMCheckHRESULT(FlushKeywords());
    QMCheckHRESULT(WriteAttributes());
    QMCheckHRESULT(SaveExtensions());
    QMCheckHRESULT(SaveMarkers());
    return S_OK;
}

bool CLibraryItem::IsDirty()
{
    if (m_keywords.IsDirty())
        return true;
    for (const auto& extension : m_extensions)
    {
        ComPtr<IPersistMDExtension> persister;
        if (SUCCEEDED(extension.As(&persister)) && persister->IsDirty())
            return true;
    }
    for (const auto& [type, markers] : m_markerCollections)
        for (const auto& marker : markers)
            if (const auto item = From(marker.Get()); item && item->IsDirty())
                return true;
    return false;
}

HRESULT CLibraryItem::Save()
{
    return qm::Guarded([&] { return SaveUnguarded(); });
}

HRESULT CLibraryItem::SaveUnguarded()
{
    // Changes made while the XML was unloaded are written into the file's content.
    if (m_loadPending && IsDirty())
        QMCheckHRESULT(EnsureLoaded());
    if (!m_node)
        return S_FALSE;
    QMCheckHRESULT(FlushToNode());
    if (!m_isAttachedToFile)
        return S_FALSE;
    ComPtr<IXMLDOMDocument> document;
    QMCheckHRESULT(CreateDocument(document.GetAddressOf(), false));
    ComPtr<IXMLDOMNode> clone;
    QMCheckHRESULT(m_node->cloneNode(VARIANT_TRUE, clone.GetAddressOf()));
    if (m_itemType == ItemKindNotebook && m_duration >= 1)
    {
        ComPtr<IXMLDOMNode> durationNode;
        QMCheckHRESULT(SelectNode(clone.Get(), u"DURATION", durationNode));
        if (!durationNode)
            QMCheckHRESULT(AppendTextElement(clone.Get(), u"DURATION", u"", durationNode.GetAddressOf()));
        ComPtr<IXMLDOMElement> durationElement;
        QMCheckHRESULT(AsElement(durationNode.Get(), durationElement));
        QMCheckHRESULT(SetNodeText(durationElement.Get(), FormatInt64Text(m_duration)));
    }
    QMCheckHRESULT(document->appendChild(clone.Get(), nullptr));
    QMCheckHRESULT(RemoveElement(clone.Get(), u"FILE_NAME"));
    const wstring mediaPath = get_MediaPath();
    if (mediaPath.empty())
        return S_FALSE;
    const wstring sidecarPath = get_SidecarPath();
    QMCheckHRESULT(ProbeFolderForWriting(sidecarPath));
    QMCheckHRESULT(WriteTypeElement(clone.Get(), ItemKindOfPath(mediaPath)));
    if (m_sidecarUnreadable)
    {
        QMCheckHRESULT(SetUnreadableSidecarAside(sidecarPath));
        m_sidecarUnreadable = false;
    }
    if (!PathFileExistsW(sidecarPath))
        QMCheckHRESULT(SaveNewSidecar(document.Get(), sidecarPath));
    else if (LibrarySettings::DisableSafeWrite())
        QMCheckHRESULT(SaveDocument(document.Get(), sidecarPath));
    else
        QMCheckHRESULT(SaveSafely(document.Get(), sidecarPath));
    QMCheckHRESULT(RefreshFileInfo());
    return S_OK;
}

HRESULT CLibraryItem::SaveDocument(IXMLDOMDocument* document, const wstring& sidecarPath)
{
    ComPtr<IStream> stream;
    QMCheckHRESULT(OpenWriteStream(sidecarPath, stream));
    return WriteToStream(document, stream.Get(), sidecarPath);
}

// A sidecar made by this save. It is made exclusively: one that another process made since
// it was looked for is replaced whole by the safe route, never cut short in place. The new
// name lasts through a crash only once the folder is synced.
HRESULT CLibraryItem::SaveNewSidecar(IXMLDOMDocument* document, const wstring& sidecarPath)
{
    const HRESULT hr = qm::FileSystem().CreateExclusive(sidecarPath);
    if (hr == HRESULT_FROM_WIN32(ERROR_FILE_EXISTS) || hr == HRESULT_FROM_WIN32(ERROR_ALREADY_EXISTS))
        return SaveSafely(document, sidecarPath);
    if (FAILED(hr))
    {
        QMLog(1, u"Error when create stream on file '%s', 0x%08x", sidecarPath.c_str(), Code(hr));
        return hr;
    }
    QMCheckHRESULT(SaveDocument(document, sidecarPath));
    QMCheckHRESULT(SyncFolderOf(sidecarPath));
    return S_OK;
}

HRESULT CLibraryItem::SaveSafely(IXMLDOMDocument* document, const wstring& sidecarPath)
{
    const wstring temporary = qm::SideFilePath(sidecarPath, u".temp");
    const wstring backup = qm::SideFilePath(sidecarPath, u".backup");
    ComPtr<IStream> stream;
    QMCheckHRESULT(OpenWriteStream(temporary, stream));
    QMCheckHRESULT(WriteToStream(document, stream.Get(), temporary));
    // The temporary file stays locked until it has replaced the sidecar, so that a second
    // writer cannot cut it short in between.
    QMCheckHRESULT(ReplaceWithRetries(sidecarPath, temporary, backup));
    stream.Reset();
    if (!LibrarySettings::KeepBackupFile() && PathFileExistsW(backup) && !DeleteFileW(backup.c_str()))
        QMLog(2, u"Failed to delete backup file %s, error 0x%08x", backup.c_str(),
              Code(HRESULT_FROM_WIN32(GetLastError())));
    return S_OK;
}

HRESULT CLibraryItem::Unload()
{
    return qm::Guarded([&] { return UnloadUnguarded(); });
}

HRESULT CLibraryItem::UnloadUnguarded()
{
    QMCheckCondition(m_isAttachedToFile, E_UNEXPECTED);
    std::vector<ComPtr<IMDExtension>> extensions = std::move(m_extensions);
    m_extensions.clear();
    bool anyDirty = false;
    for (auto& extension : extensions)
    {
        ComPtr<IPersistMDExtension> persister;
        if (FAILED(extension.As(&persister)))
            continue;
        const wstring type = qm::GuidToString(extension->GetExtensionType());
        if (persister->IsDirty())
        {
            const wstring path = get_MediaPath();
            QMLog(1, u"Warning: %s attempted to unload dirty extension %s, may loose data.", path.c_str(), type.c_str());
            m_extensions.push_back(std::move(extension));
            anyDirty = true;
        }
        else if (!persister->CanUnload())
            m_extensions.push_back(std::move(extension));
        else
            QMLog(5, u"Unloaded extension %s", type.c_str());
    }
    if (anyDirty)
        return S_OK;
    QMCheckHRESULT(UnloadNode());
    return S_OK;
}

HRESULT CLibraryItem::UnloadNode()
{
    QMCheckCondition(m_isAttachedToFile, E_UNEXPECTED);
    if (m_isTransient || IsDirty())
        return S_FALSE;
    m_markersLoaded = false;
    m_markerCollections.clear();
    m_node.Reset();
    m_loadPending = true;
    return S_OK;
}
} // namespace Quillmar::Library::Native
