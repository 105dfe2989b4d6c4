// The clip, and each of its markers: one class standing on a LIBRARY_ITEM node. The node
// is the model; fields hold what is read often and what is rebuilt at save. Hosts reach
// the XML through the three exported node members; code of the library reaches the class
// by a query for ClassId, which a foreign ILibraryItem does not answer.
#pragma once

#include "qm/Library/KeywordMap.h"
#include "qm/Library/LibraryItem.h"
#include "qm/Library/MetadataExtensions.h"
#include "qm/Platform/Com/ObjectRoot.h"
#include "qm/Runtime/CriticalSection.h"

#include <map>

namespace Quillmar::Library::Native
{
class CLibraryItem : public Standard::CComObjectRootEx<Standard::CComMultiThreadModel>,
                     public ILibraryItem,
                     public ILibraryItemMarker,
                     public ILibraryItemNT,
                     public ILibraryItemVideo,
                     public IServiceProvider,
                     public ILibraryItemSerialization,
                     public qm_ChannelIO::FileSourceIndexerCallback,
                     public Standard::AllocatedResource<CLibraryItem>
{
public:
    static constexpr GUID ClassId = qm::ParseGuid("{432D012B-1C4D-43C5-9C5C-8A869F443B31}");

    // A new item on a fresh node (with an ID and the extensions made on load).
    static HRESULT Create(bool attached, std::int32_t kind, ComPtr<CLibraryItem>& item);
    // An attached item of a media file, loaded from its sidecar: no empty node is made
    // and read first.
    static HRESULT CreateLoaded(const wstring& mediaPath, ComPtr<CLibraryItem>& item);
    // The keywords as the item holds them, for readers that must not copy them.
    const KeywordMap& get_KeywordMap() const noexcept { return m_keywords; }
    // The class behind an item of this library; null for a foreign one.
    static ComPtr<CLibraryItem> From(IUnknown* item);

    QM_IUNKNOWN_IMPL(CLibraryItem, ILibraryItem, qm::QISelf<CLibraryItem>, ILibraryItemMarker,
                     ILibraryItemMarkerManager, ILibraryItemNT, ILibraryItemVideo, ILibraryItemSerialization,
                     IServiceProvider)

    // The node members a host may call.
    QM_API HRESULT get_NodePrivate(IXMLDOMNode** pp);
    QM_API HRESULT cloneNode(IXMLDOMNode** pp);
    QM_API HRESULT put_Node(IXMLDOMNode* node, bool newId);

    // ILibraryItem
    HRESULT Save() override;
    HRESULT Unload() override;
    HRESULT CopyTo(LPCWSTR path, ILibraryItem** ppLibraryItem) override;
    HRESULT ApplySpeedFactor(double speedFactor) override;
    HRESULT ApplyTrim(REFERENCE_TIME desiredInPoint, REFERENCE_TIME desiredOutPoint, REFERENCE_TIME trueInPoint,
                      REFERENCE_TIME trueOutPoint) override;
    wstring get_Name() override;
    HRESULT get_MediaWriteTime(DATE* pVal) override;
    HRESULT get_SidecarWriteTime(DATE* pVal) override;
    HRESULT get_MediaCreationTime(DATE* pVal) override;
    wstring get_MediaPath() override;
    HRESULT put_MediaPath(const wstring& path, bool load) override;
    std::int32_t get_ItemKind() override { return m_itemType; }
    HRESULT get_MediaSize(std::uint64_t* pVal) override;
    wstring get_SidecarPath() override;
    HRESULT get_SidecarSize(std::uint64_t* pVal) override;
    bool get_IsReadOnly() override { return m_isReadOnly; }
    HRESULT put_IsReadOnly(bool value) override;
    HRESULT ResetMetadata() override;
    std::vector<Keyword> get_Keywords() override;
    std::vector<wstring> get_Categories() override;
    std::vector<Keyword> GetKeywordsOfCategory(const wstring& category) override;
    std::uint64_t GetValueCount(const wstring& category) override;
    HRESULT GetValuesIntoBuffer(const wstring& category, WCHAR* dst, size_t size) override;
    wstring GetValuesAsString(const wstring& category) override;
    wstring GetValueAt(const wstring& category, std::uint64_t index) override;
    wstring GetValueAtIndex(const wstring& category, std::uint64_t index) override;
    HRESULT SetCategoryValues(const wstring& category, const std::vector<wstring>& values) override;
    HRESULT SetCategoryValue(wstring_view category, wstring_view value) override;
    HRESULT SetKeyword(const Keyword& keyword) override;
    bool get_HasKeywords() override;
    bool HasValues(const wstring& category) override;
    HRESULT AddCategoryValues(const wstring& category, const std::vector<wstring>& values) override;
    HRESULT RemoveCategory(const wstring& category) override;
    HRESULT ClearKeywords() override;
    HRESULT AddCategoryValue(wstring_view category, wstring_view value) override;
    HRESULT AddKeyword(const Keyword& keyword) override;
    HRESULT RemoveKeyword(const Keyword& keyword) override;
    std::int32_t CompareCategory(ILibraryItem* other, const wstring& category) override;
    HRESULT RenameCategory(const wstring& oldCategory, const wstring& newCategory) override;
    HRESULT ReplaceKeyword(const Keyword& oldKeyword, const Keyword& newKeyword) override;
    HRESULT InvalidateMarkers() override;
    HRESULT InsertInto(IXMLDOMNode* pParentNode, IXMLDOMNode* before) override;
    HRESULT RemoveFrom(IXMLDOMNode* pParentNode) override;
    HRESULT GetOrCreateChildNode(BSTR name, IXMLDOMNode** ppNode) override;
    HRESULT GetChildNode(BSTR name, IXMLDOMNode** ppNode) override;
    bool HasKeyword(const wstring& category, const wstring& value) override;
    bool HasCategory(const wstring& category) override;
    HRESULT put_Color(wstring_view color) override;
    wstring get_Color() override;
    bool HasId(wstring_view id) override { return id == m_id; }
    bool HasPath(wstring_view path) override { return path == m_path; }
    HRESULT AddExtension(IMDExtension* pExtension) override;
    HRESULT RemoveExtension(IMDExtension* pExtension) override;
    HRESULT GetOrCreateExtension(REFGUID type, REFIID iid, void** ppv) override;
    HRESULT GetExtension(REFGUID type, REFIID iid, void** ppv) override;
    REFERENCE_TIME get_SynchronizationHandicap() override { return m_synchronizationHandicap; }
    HRESULT put_SynchronizationHandicap(REFERENCE_TIME value) override;
    bool get_IsTransient() override { return m_isTransient; }
    void put_IsTransient(bool value) override { m_isTransient = value; }
    MVVM::PropertyEvent<const PROPERTYKEY&>& get_PropertyChanged() override { return m_propertyChanged; }

    // ILibraryItemMarkerManager
    HRESULT CopyMarker(ILibraryItemMarker* pSourceMarker, ILibraryItemMarker** ppNewMarker) override;
    HRESULT MoveMarker(std::int32_t type, std::int32_t index, ILibraryItemMarker* pMarker) override;
    HRESULT SetSynchMarker(ILibraryItemMarker* pMarker) override;
    HRESULT GetSynchMarker(ILibraryItemMarker** pVal) override;
    HRESULT GetMarkerByTitle(std::int32_t type, const wstring& title, ILibraryItemMarker** pVal) override;
    HRESULT CreateMarker(std::int32_t type, ILibraryItemMarker** ppMarker) override;
    HRESULT RemoveMarker(std::int32_t type, ILibraryItemMarker* pMarker) override;
    HRESULT RemoveMarkers(std::int32_t type) override;
    HRESULT GetMarker(std::int32_t type, std::int64_t index, ILibraryItemMarker** pp) override;
    bool HasMarkers(std::int32_t type) override;
    std::vector<ComPtr<ILibraryItem>> GetMarkers(std::int32_t type) override;
    std::int64_t GetMarkerCount(std::int32_t type) override;
    bool ContainsMarker(std::int32_t type, ILibraryItemMarker* pMarker) override;

    // ILibraryItemMarker
    HRESULT get_IsRootItem(std::int32_t* pVal) override;
    HRESULT put_CueIn(REFERENCE_TIME value) override;
    HRESULT get_CueIn(REFERENCE_TIME* pCueIn) override;
    HRESULT put_CueOut(REFERENCE_TIME value) override;
    HRESULT get_CueOut(REFERENCE_TIME* pCueOut) override;
    HRESULT SetCuePoints(REFERENCE_TIME in, REFERENCE_TIME out) override;
    HRESULT AsCollection(ILibraryItemCollection** pVal) override;
    bool get_IsSynchMarker() override;
    HRESULT put_IsSynchMarker(bool value) override;
    HRESULT put_Title(const wstring& value) override;
    wstring get_Title() override;
    HRESULT put_Comment(const wstring& value) override;
    wstring get_Comment() override;
    std::uint32_t get_ColorValue() override { return 0; }
    std::uint32_t get_MarkerFlags() override { return m_markerFlags; }
    void put_MarkerFlags(std::uint32_t flags) override { m_markerFlags = flags; }
    bool HasMarkerFlags(std::uint32_t mask) override { return (m_markerFlags & mask) == mask; }
    wstring get_ID() override;
    std::optional<std::int64_t> get_AudioAnnotationDuration() override;
    std::optional<wstring> get_AudioAnnotationPath() override;
    HRESULT put_AudioAnnotationPath(LPCWSTR path) override;
    HRESULT RemoveAudioAnnotation() override;
    HRESULT Clone(ILibraryItemMarker** pp) override;

    // ILibraryItemNT
    HRESULT RemoveFromSourceCache(bool flush) override;
    HRESULT put_CachedSourceInfo(ICachedSourceInfo* info) override;
    HRESULT get_CachedSourceInfo(ICachedSourceInfo** info) override;
    HRESULT put_DisplayName(const wstring& name) override;
    HRESULT put_MediaCreationTime(const DATE* value) override;
    HRESULT put_MediaSize(std::uint64_t size) override;
    HRESULT put_RawPath(const wstring& path) override;
    HRESULT GetThumbnail(REFERENCE_TIME time, SIZE requestedSize, HBITMAP* bitmap, SIZE* size, SIZE* nativeSize,
                         LONG* rotation) override;
    HRESULT GetIndexFile(bool create, HWND parent, wstring* path) override;
    HRESULT BeginIndexing(Standard::IAsyncCallback* pCallback, IUnknown* pState) override;
    HRESULT EndIndexing(Standard::IAsyncResult* pResult) override;
    HRESULT AbortIndexing() override;
    std::int32_t GetIndexingProgress() override { return 100; }
    HRESULT ReloadSourceInfo(LPCWSTR indexPath) override;
    HRESULT get_Duration(REFERENCE_TIME* pVal) override;
    HRESULT put_Duration(REFERENCE_TIME value) override;
    bool HasSourceInfo() override;
    HRESULT CreateSource(IUnknown** ppSource, bool useIndex) override;
    HRESULT SetPathOverride(LPCWSTR path, const wstring& tag) override;
    bool get_PathOverridden() override { return m_pathOverridden; }
    wstring get_PathOverrideTag() override { return m_pathOverrideTag; }
    HRESULT CopyDataSourceTo(ILibraryItem* pTarget, REFERENCE_TIME in, REFERENCE_TIME out) override;
    HRESULT GetThumbnailEx(REFERENCE_TIME time, SIZE requestedSize, HBITMAP* bitmap, SIZE* size, SIZE* nativeSize,
                           LONG* rotation, wstring* thumbnailPath, bool useCache) override;
    HRESULT get_FirstFrameAbsoluteTime(FILETIME* pVal) override;
    HRESULT put_FirstFrameAbsoluteTime(std::uint64_t value) override;
    std::int32_t get_AudioChannelCount() override { return 0; }

    // ILibraryItemVideo
    HRESULT put_ThumbnailTime(REFERENCE_TIME time) override;
    HRESULT get_ThumbnailTime(REFERENCE_TIME* pVal) override;

    // IServiceProvider
    HRESULT QueryService(REFGUID service, REFIID iid, void** ppv) override;

    // ILibraryItemSerialization
    HRESULT Serialize(VARIANT unused, IXMLDOMNode* pParentNode) override;
    HRESULT Deserialize(IXMLDOMNode* pParentNode) override;

    // FileSourceIndexerCallback: no indexing can start without the media engine.
    void OnIndexingDone() override {}
    void OnIndexingFailed(HRESULT) override {}

    // What the factory and the other parts of the library call.
    HRESULT EnsureLoaded();
    HRESULT UnloadNode();
    HRESULT FlushToNode();
    bool IsDirty();
    HRESULT ReadFromNode();
    HRESULT RefreshFileInfo();
    // The sidecar as the last refresh found it; a zero stamp when there was none.
    const qm::FileStamp& get_SidecarStamp() const noexcept { return m_sidecarStamp; }
    HRESULT SetId(const wstring& id);
    HRESULT EnsureMarkersLoaded();
    bool IsRootNode() const noexcept { return m_isRootNode; }
    static bool IsRootNode(IXMLDOMNode* node);
    static HRESULT ReadVersion(IXMLDOMNode* node, wstring* version, std::int32_t* subversion);
    static HRESULT WriteVersion(IXMLDOMNode* node, wstring_view text, std::int32_t subversion);

private:
    CLibraryItem(bool attached, std::int32_t kind);
    ~CLibraryItem() override = default;

    // The object alone, for an item that takes a node of its own at once.
    static HRESULT Allocate(bool attached, std::int32_t kind, ComPtr<CLibraryItem>& item);
    HRESULT NodeElement(ComPtr<IXMLDOMElement>& element);
    HRESULT TakeNode(IXMLDOMNode* node);
    HRESULT LoadSidecar();
    HRESULT ConvertLegacy(IXMLDOMNode* node, const wstring& version);
    HRESULT SaveDocument(IXMLDOMDocument* document, const wstring& sidecarPath);
    HRESULT SaveNewSidecar(IXMLDOMDocument* document, const wstring& sidecarPath);
    HRESULT SaveSafely(IXMLDOMDocument* document, const wstring& sidecarPath);
    HRESULT SaveUnguarded();
    HRESULT UnloadUnguarded();
    HRESULT CopyToUnguarded(LPCWSTR path, ILibraryItem** ppLibraryItem);
    HRESULT WriteFileNameElement();
    HRESULT ReadDuration();
    HRESULT ReadAttributes();
    HRESULT WriteAttributes();
    HRESULT SaveExtensions();
    HRESULT SaveMarkers();
    HRESULT ReadCuePoints();
    HRESULT WriteCuePoints();
    HRESULT LoadForWrite();
    HRESULT ReadKeywords();
    HRESULT FlushKeywords();
    HRESULT FindExtension(REFGUID type, ComPtr<IMDExtension>& extension);
    HRESULT MakeMarker(ComPtr<CLibraryItem>& marker);
    HRESULT AddToCollection(std::int32_t type, CLibraryItem* marker);
    // The marker in the list of its type; action names the caller in the log.
    HRESULT FindMarker(const char16_t* action, std::int32_t type, ILibraryItemMarker* pMarker,
                       std::vector<ComPtr<ILibraryItem>>*& list, size_t& position);
    HRESULT GiveNewIds();
    HRESULT ScaleMarkerTimes(double speedFactor);
    HRESULT TrimMarkers(REFERENCE_TIME desiredIn, REFERENCE_TIME desiredOut, REFERENCE_TIME trueIn);
    HRESULT ReplaceDataSourceRange(REFERENCE_TIME trueIn, REFERENCE_TIME trueOut);
    HRESULT SetProperty(REFGUID type, const wstring& value, const PROPERTYKEY& key,
                        HRESULT (IMDProperties::*setter)(const wstring&));
    HRESULT FireCueEvents(bool in, bool out);
    wstring FileTitle();

    std::int32_t m_itemType;
    wstring m_path;
    REFERENCE_TIME m_cueIn = kTimeNotSet;
    REFERENCE_TIME m_cueOut = kTimeNotSet;
    std::uint64_t m_mediaSize = 0;
    REFERENCE_TIME m_duration = kTimeNotSet;
    bool m_isRootNode = true;
    bool m_isReadOnly = false;
    bool m_isAttachedToFile;
    bool m_loadPending = true;
    // The last load found a sidecar it could not read: the next save sets it aside first.
    bool m_sidecarUnreadable = false;
    REFERENCE_TIME m_thumbnailTime = -1;
    wstring m_id;
    FILETIME m_sidecarWriteTime{};
    qm::FileStamp m_sidecarStamp;
    FILETIME m_mediaWriteTime{};
    FILETIME m_mediaCreationTime{};
    std::uint64_t m_firstFrameAbsoluteTime = 0;
    ComPtr<ICachedSourceInfo> m_cachedSourceInfo;
    HRESULT m_cachedSourceResult = S_OK;
    ComPtr<IXMLDOMNode> m_node;
    std::uint32_t m_synchMarkerState = 0;
    std::vector<ComPtr<IMDExtension>> m_extensions;
    // The keywords with their dirty flag.
    KeywordMap m_keywords;
    ComPtr<Standard::IAsyncResult> m_getIndexFileResult;
    std::uint32_t m_indexStartTime = 0;
    wstring m_displayName;
    bool m_pathOverridden = false;
    wstring m_pathOverrideTag;
    bool m_indexChecked = false;
    bool m_indexValid = false;
    std::uint32_t m_markerFlags = 0;
    std::map<std::int32_t, std::vector<ComPtr<ILibraryItem>>> m_markerCollections;
    bool m_markersLoaded = false;
    REFERENCE_TIME m_synchronizationHandicap = 0;
    // m_duration came from DURATION of the node, not from the host.
    bool m_durationFromFile = false;
    // Re-entered on one thread: the media engine calls back into the clip while it holds it.
    Standard::CriticalSection m_lock;
    bool m_isTransient = false;
    std::optional<std::int64_t> m_audioAnnotationDuration;
    MVVM::PropertyEvent<const PROPERTYKEY&> m_propertyChanged;
};
} // namespace Quillmar::Library::Native
