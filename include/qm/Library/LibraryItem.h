// The clip and its markers: the interfaces of a library item, in their slot order.
// A clip is a media file with an XML sidecar beside it; a marker is a LIBRARY_ITEM
// nested in its clip's element, and is the same kind of object.
#pragma once

#include "qm/Library/Keyword.h"
#include "qm/Library/MediaEngine.h"
#include "qm/Platform/Com/ComPtr.h"
#include "qm/Platform/Com/PropVariant.h"
#include "qm/Platform/Xml/XmlDom.h"
#include "qm/Runtime/Async.h"
#include "qm/Runtime/PropertyEvent.h"

#include <optional>
#include <vector>

struct ILibraryItem;
struct ILibraryItemCollection;
struct IMDExtension;

// The kind of a media path, from its extension.
constexpr std::int32_t ItemKindUnknown = -1;
constexpr std::int32_t ItemKindVideo = 1;
constexpr std::int32_t ItemKindPlayerProject = 2;
constexpr std::int32_t ItemKindDuvelrayProject = 3;
constexpr std::int32_t ItemKindVandroProject = 8;
constexpr std::int32_t ItemKindFlash = 11;
constexpr std::int32_t ItemKindStoryboard = 15;
constexpr std::int32_t ItemKindPackage = 17;
constexpr std::int32_t ItemKindNotebook = 18;

// The lists of markers of a clip, and the ItemType attribute that files them.
enum MarkerType : std::int32_t
{
    MarkerTypeMarker = 0,
    MarkerTypeEvent = 1,
    MarkerTypeThumbnail = 2,
    MarkerTypeGameTime = 3,
};

using COLORREF = DWORD;

// A reference time that is not set, and the open end of a cue out.
constexpr REFERENCE_TIME kTimeNotSet = static_cast<REFERENCE_TIME>(0x8000000000000000ull);
constexpr REFERENCE_TIME kTimeOpenEnd = 0x7FFFFFFFFFFFFFFFll;

// Property keys of the change events of an item.
inline constexpr PROPERTYKEY PKEY_CueIn{qm::ParseGuid("{AD5B129C-6485-424C-8318-25FDFDDF60DC}"), 100};
inline constexpr PROPERTYKEY PKEY_CueOut{qm::ParseGuid("{B072E375-A983-4A63-9BA5-A426D9011B97}"), 100};
inline constexpr PROPERTYKEY PKEY_Title{qm::ParseGuid("{F29F85E0-4FF9-1068-AB91-08002B27B3D9}"), 2};
inline constexpr PROPERTYKEY PKEY_Comment{qm::ParseGuid("{F29F85E0-4FF9-1068-AB91-08002B27B3D9}"), 6};

struct ILibraryItemMarker;

// What a clip offers to manage the markers under it.
struct ILibraryItemMarkerManager : IUnknown
{
    virtual HRESULT CopyMarker(ILibraryItemMarker* pSourceMarker, ILibraryItemMarker** ppNewMarker) = 0;
    // Moves a marker before the one at index; an index out of range means the end.
    virtual HRESULT MoveMarker(std::int32_t type, std::int32_t index, ILibraryItemMarker* pMarker) = 0;
    virtual HRESULT SetSynchMarker(ILibraryItemMarker* pMarker) = 0;
    virtual HRESULT GetSynchMarker(ILibraryItemMarker** pVal) = 0;
    virtual HRESULT GetMarkerByTitle(std::int32_t type, const wstring& title, ILibraryItemMarker** pVal) = 0;
    // E_INVALIDARG for a type outside MarkerType.
    virtual HRESULT CreateMarker(std::int32_t type, ILibraryItemMarker** ppMarker) = 0;
    virtual HRESULT RemoveMarker(std::int32_t type, ILibraryItemMarker* pMarker) = 0;
    virtual HRESULT RemoveMarkers(std::int32_t type) = 0;
    virtual HRESULT GetMarker(std::int32_t type, std::int64_t index, ILibraryItemMarker** pp) = 0;
    virtual bool HasMarkers(std::int32_t type) = 0;
    virtual std::vector<ComPtr<ILibraryItem>> GetMarkers(std::int32_t type) = 0;
    // A failed load gives its HRESULT in place of the count.
    virtual std::int64_t GetMarkerCount(std::int32_t type) = 0;
    virtual bool ContainsMarker(std::int32_t type, ILibraryItemMarker* pMarker) = 0;
};
QM_DECLARE_IID(ILibraryItemMarkerManager, "{504CF748-EF54-44C0-BD6D-316C4429776D}")

// An item in its role as a marker: cue points, title, synch flag, audio annotation.
struct ILibraryItemMarker : ILibraryItemMarkerManager
{
    virtual HRESULT get_IsRootItem(std::int32_t* pVal) = 0;
    virtual HRESULT put_CueIn(REFERENCE_TIME value) = 0;
    // S_FALSE and 0 when not set.
    virtual HRESULT get_CueIn(REFERENCE_TIME* pCueIn) = 0;
    virtual HRESULT put_CueOut(REFERENCE_TIME value) = 0;
    virtual HRESULT get_CueOut(REFERENCE_TIME* pCueOut) = 0;
    virtual HRESULT SetCuePoints(REFERENCE_TIME in, REFERENCE_TIME out) = 0;
    virtual HRESULT AsCollection(ILibraryItemCollection** pVal) = 0;
    virtual bool get_IsSynchMarker() = 0;
    virtual HRESULT put_IsSynchMarker(bool value) = 0;
    virtual HRESULT put_Title(const wstring& value) = 0;
    // The title, or the media file's name without folder and extension.
    virtual wstring get_Title() = 0;
    virtual HRESULT put_Comment(const wstring& value) = 0;
    virtual wstring get_Comment() = 0;
    // Always 0; the colour is read by get_Color.
    virtual std::uint32_t get_ColorValue() = 0;
    virtual std::uint32_t get_MarkerFlags() = 0;
    virtual void put_MarkerFlags(std::uint32_t flags) = 0;
    virtual bool HasMarkerFlags(std::uint32_t mask) = 0;
    virtual wstring get_ID() = 0;
    virtual std::optional<std::int64_t> get_AudioAnnotationDuration() = 0;
    virtual std::optional<wstring> get_AudioAnnotationPath() = 0;
    virtual HRESULT put_AudioAnnotationPath(LPCWSTR path) = 0;
    // Also deletes the annotation's audio files.
    virtual HRESULT RemoveAudioAnnotation() = 0;
    // A free-standing copy of the marker's user data, with a new ID.
    virtual HRESULT Clone(ILibraryItemMarker** pp) = 0;

    // The RGB value (0x00BBGGRR) of a colour name "Color1" to "Color8"; 0 otherwise.
    QM_API static COLORREF GetColorAsCOLORREF(wstring_view name);
};
QM_DECLARE_IID(ILibraryItemMarker, "{3E3AAFC2-1486-45B8-9792-0735AC31319C}")

// The clip.
struct ILibraryItem : IUnknown
{
    // S_OK written; S_FALSE nothing written.
    virtual HRESULT Save() = 0;
    virtual HRESULT Unload() = 0;
    // A new attached item with the same content, for another media path.
    virtual HRESULT CopyTo(LPCWSTR path, ILibraryItem** ppLibraryItem) = 0;
    virtual HRESULT ApplySpeedFactor(double speedFactor) = 0;
    virtual HRESULT ApplyTrim(REFERENCE_TIME desiredInPoint, REFERENCE_TIME desiredOutPoint,
                              REFERENCE_TIME trueInPoint, REFERENCE_TIME trueOutPoint) = 0;
    virtual wstring get_Name() = 0;
    virtual HRESULT get_MediaWriteTime(DATE* pVal) = 0;
    virtual HRESULT get_SidecarWriteTime(DATE* pVal) = 0;
    virtual HRESULT get_MediaCreationTime(DATE* pVal) = 0;
    virtual wstring get_MediaPath() = 0;
    // S_FALSE, and nothing else, for the path the item already has.
    virtual HRESULT put_MediaPath(const wstring& path, bool load) = 0;
    virtual std::int32_t get_ItemKind() = 0;
    virtual HRESULT get_MediaSize(std::uint64_t* pVal) = 0;
    virtual wstring get_SidecarPath() = 0;
    virtual HRESULT get_SidecarSize(std::uint64_t* pVal) = 0;
    virtual bool get_IsReadOnly() = 0;
    // Sets or clears the read-only permission of the media file and its sidecar.
    virtual HRESULT put_IsReadOnly(bool value) = 0;
    // Deletes the sidecar and starts over with an empty node.
    virtual HRESULT ResetMetadata() = 0;

    virtual std::vector<Keyword> get_Keywords() = 0;
    virtual std::vector<wstring> get_Categories() = 0;
    virtual std::vector<Keyword> GetKeywordsOfCategory(const wstring& category) = 0;
    virtual std::uint64_t GetValueCount(const wstring& category) = 0;
    virtual HRESULT GetValuesIntoBuffer(const wstring& category, WCHAR* dst, size_t size) = 0;
    // The values joined by "; ", quoted where they hold a semicolon.
    virtual wstring GetValuesAsString(const wstring& category) = 0;
    virtual wstring GetValueAt(const wstring& category, std::uint64_t index) = 0;
    virtual wstring GetValueAtIndex(const wstring& category, std::uint64_t index) = 0;
    virtual HRESULT SetCategoryValues(const wstring& category, const std::vector<wstring>& values) = 0;
    virtual HRESULT SetCategoryValue(wstring_view category, wstring_view value) = 0;
    virtual HRESULT SetKeyword(const Keyword& keyword) = 0;
    virtual bool get_HasKeywords() = 0;
    virtual bool HasValues(const wstring& category) = 0;
    virtual HRESULT AddCategoryValues(const wstring& category, const std::vector<wstring>& values) = 0;
    virtual HRESULT RemoveCategory(const wstring& category) = 0;
    virtual HRESULT ClearKeywords() = 0;
    virtual HRESULT AddCategoryValue(wstring_view category, wstring_view value) = 0;
    virtual HRESULT AddKeyword(const Keyword& keyword) = 0;
    virtual HRESULT RemoveKeyword(const Keyword& keyword) = 0;
    virtual std::int32_t CompareCategory(ILibraryItem* other, const wstring& category) = 0;
    virtual HRESULT RenameCategory(const wstring& oldCategory, const wstring& newCategory) = 0;
    virtual HRESULT ReplaceKeyword(const Keyword& oldKeyword, const Keyword& newKeyword) = 0;

    virtual HRESULT InvalidateMarkers() = 0;
    virtual HRESULT InsertInto(IXMLDOMNode* pParentNode, IXMLDOMNode* before) = 0;
    virtual HRESULT RemoveFrom(IXMLDOMNode* pParentNode) = 0;
    virtual HRESULT GetOrCreateChildNode(BSTR name, IXMLDOMNode** ppNode) = 0;
    virtual HRESULT GetChildNode(BSTR name, IXMLDOMNode** ppNode) = 0;
    virtual bool HasKeyword(const wstring& category, const wstring& value) = 0;
    virtual bool HasCategory(const wstring& category) = 0;
    virtual HRESULT put_Color(wstring_view color) = 0;
    virtual wstring get_Color() = 0;
    virtual bool HasId(wstring_view id) = 0;
    virtual bool HasPath(wstring_view path) = 0;
    virtual HRESULT AddExtension(IMDExtension* pExtension) = 0;
    virtual HRESULT RemoveExtension(IMDExtension* pExtension) = 0;
    virtual HRESULT GetOrCreateExtension(REFGUID type, REFIID iid, void** ppv) = 0;
    // S_FALSE, and ppv untouched, when the clip has no extension of the type.
    virtual HRESULT GetExtension(REFGUID type, REFIID iid, void** ppv) = 0;
    virtual REFERENCE_TIME get_SynchronizationHandicap() = 0;
    virtual HRESULT put_SynchronizationHandicap(REFERENCE_TIME value) = 0;
    virtual bool get_IsTransient() = 0;
    virtual void put_IsTransient(bool value) = 0;
    virtual MVVM::PropertyEvent<const PROPERTYKEY&>& get_PropertyChanged() = 0;
    virtual ~ILibraryItem() = default;
};
QM_DECLARE_IID(ILibraryItem, "{3B8BEAC5-7C28-4276-8A6B-777A65DA9BD2}")

// The thumbnail position of a clip.
struct ILibraryItemVideo : IUnknown
{
    virtual HRESULT put_ThumbnailTime(REFERENCE_TIME time) = 0;
    // S_FALSE and 0 when there is no position.
    virtual HRESULT get_ThumbnailTime(REFERENCE_TIME* pVal) = 0;
};
QM_DECLARE_IID(ILibraryItemVideo, "{827CB430-5E38-4E1A-858B-4EF77F638835}")

namespace Quillmar::Library::Native
{
// What other objects of the library ask of an item: the media engine's entries,
// indexing, and raw setters.
struct ILibraryItemNT : IUnknown
{
    virtual HRESULT RemoveFromSourceCache(bool flush) = 0;
    virtual HRESULT put_CachedSourceInfo(ICachedSourceInfo* info) = 0;
    virtual HRESULT get_CachedSourceInfo(ICachedSourceInfo** info) = 0;
    virtual HRESULT put_DisplayName(const wstring& name) = 0;
    virtual HRESULT put_MediaCreationTime(const DATE* value) = 0;
    virtual HRESULT put_MediaSize(std::uint64_t size) = 0;
    virtual HRESULT put_RawPath(const wstring& path) = 0;
    virtual HRESULT GetThumbnail(REFERENCE_TIME time, SIZE requestedSize, HBITMAP* bitmap, SIZE* size,
                                 SIZE* nativeSize, LONG* rotation) = 0;
    virtual HRESULT GetIndexFile(bool create, HWND parent, wstring* path) = 0;
    virtual HRESULT BeginIndexing(Standard::IAsyncCallback* pCallback, IUnknown* pState) = 0;
    virtual HRESULT EndIndexing(Standard::IAsyncResult* pResult) = 0;
    virtual HRESULT AbortIndexing() = 0;
    virtual std::int32_t GetIndexingProgress() = 0;
    virtual HRESULT ReloadSourceInfo(LPCWSTR indexPath) = 0;
    virtual HRESULT get_Duration(REFERENCE_TIME* pVal) = 0;
    virtual HRESULT put_Duration(REFERENCE_TIME value) = 0;
    virtual bool HasSourceInfo() = 0;
    virtual HRESULT CreateSource(IUnknown** ppSource, bool useIndex) = 0;
    virtual HRESULT SetPathOverride(LPCWSTR path, const wstring& tag) = 0;
    virtual bool get_PathOverridden() = 0;
    virtual wstring get_PathOverrideTag() = 0;
    virtual HRESULT CopyDataSourceTo(ILibraryItem* pTarget, REFERENCE_TIME in, REFERENCE_TIME out) = 0;
    virtual HRESULT GetThumbnailEx(REFERENCE_TIME time, SIZE requestedSize, HBITMAP* bitmap, SIZE* size,
                                   SIZE* nativeSize, LONG* rotation, wstring* thumbnailPath, bool useCache) = 0;
    // S_OK for the first frame's wall-clock time; S_FALSE and the media creation time
    // when it is unknown.
    virtual HRESULT get_FirstFrameAbsoluteTime(FILETIME* pVal) = 0;
    virtual HRESULT put_FirstFrameAbsoluteTime(std::uint64_t value) = 0;
    virtual std::int32_t get_AudioChannelCount() = 0;
};
QM_DECLARE_IID(ILibraryItemNT, "{0B47C973-47BC-4985-953F-EFF04EDFD310}")

// An item written into and read from a parent node of another document.
struct ILibraryItemSerialization : IUnknown
{
    virtual HRESULT Serialize(VARIANT unused, IXMLDOMNode* pParentNode) = 0;
    // S_FALSE when the parent holds no LIBRARY_ITEM.
    virtual HRESULT Deserialize(IXMLDOMNode* pParentNode) = 0;
};
QM_DECLARE_IID(ILibraryItemSerialization, "{81935AA4-3081-4B24-A534-EB6EA4C4C248}")
} // namespace Quillmar::Library::Native
