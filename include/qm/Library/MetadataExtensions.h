// Typed metadata records of a clip. Each extension owns a slice of the clip's XML and is
// reached by its type GUID through the clip's GetExtension family.
#pragma once

#include "qm/Platform/Com/Bstr.h"
#include "qm/Platform/Com/ComPtr.h"
#include "qm/Platform/Xml/XmlDom.h"

#include <optional>
#include <vector>

struct ILibraryItem;
struct ILibraryItemFactory;

struct IMDExtension : IUnknown
{
    // An independent copy; what deepClone allows is the kind's.
    virtual HRESULT Clone(IMDExtension** ppExtension, int deepClone) = 0;
    virtual GUID GetExtensionType() = 0;
};
QM_DECLARE_IID(IMDExtension, "{90508EFF-9013-4134-9ACC-B02FBFB9933F}")

struct IPersistMDExtension : IUnknown
{
    // Writes the extension under the clip's node; S_FALSE, and nothing written, when clean.
    virtual HRESULT Save(IXMLDOMNode* parentNode, ILibraryItem* pLibraryItem) = 0;
    // S_FALSE: the extension is not to be kept.
    virtual HRESULT Load(IXMLDOMNode* parentNode, ILibraryItem* pLibraryItem) = 0;
    virtual HRESULT Delete(IXMLDOMNode* parentNode, ILibraryItem* pLibraryItem) = 0;
    virtual bool CanUnload() = 0;
    virtual bool IsDirty() = 0;
};
QM_DECLARE_IID(IPersistMDExtension, "{8855E020-11A3-4BED-92DF-672E34567863}")

// Type GUIDs, in the order in which the kinds are registered.
inline constexpr GUID MDTYPE_AudioMatrix = qm::ParseGuid("{820E53C0-9135-43FD-B592-DDAA4C17FA79}");
inline constexpr GUID MDTYPE_DataSource = qm::ParseGuid("{B17BDD0E-B19D-4684-B435-5F3BD478B615}");
inline constexpr GUID MDTYPE_LibraryItemLink = qm::ParseGuid("{3C59CE16-5A56-408A-B85A-B5097ED6FDEC}");
inline constexpr GUID MDTYPE_OverlayDrawing = qm::ParseGuid("{DB753966-FA52-4A4D-8EBD-CE4B6F1E38D2}");
inline constexpr GUID MDTYPE_Properties = qm::ParseGuid("{1E94678B-627B-4A95-AC9E-E73D4B8064E6}");
inline constexpr GUID MDTYPE_DataBlob = qm::ParseGuid("{5E7F5922-4AF2-42FF-8FC0-12AD4BB5F738}");
inline constexpr GUID MDTYPE_MediaSourceInfo = qm::ParseGuid("{16740109-18D7-4265-9837-66CAA177951A}");

// Free named text properties; the clip keeps its title and comment here.
struct IMDProperties : IMDExtension
{
    virtual HRESULT put_Comment(const wstring& value) = 0;
    virtual wstring get_Comment() = 0;
    virtual HRESULT put_Title(const wstring& value) = 0;
    virtual wstring get_Title() = 0;
    virtual HRESULT SetProperty(const wstring& name, const wstring& value) = 0;
    // The value, or the default value when the value is empty.
    virtual wstring GetProperty(const wstring& name) = 0;
    virtual HRESULT SetDefaultValue(const wstring& name, const wstring& value) = 0;
};
QM_DECLARE_IID(IMDProperties, "{2142092C-E920-41B6-8F23-CB8AD8A9F867}")

// Named opaque text blobs of other subsystems.
struct IMDDataBlob : IMDExtension
{
    // S_FALSE, and pVal untouched, for an unknown name.
    virtual HRESULT GetData(LPCWSTR dataBlobName, BSTR* pVal) = 0;
    // A null or empty value removes the blob.
    virtual HRESULT SetData(LPCWSTR dataBlobName, LPCWSTR value) = 0;
    virtual HRESULT RemoveData(LPCWSTR dataBlobName) = 0;
};
QM_DECLARE_IID(IMDDataBlob, "{6D649CE7-A1DD-4E38-B315-7D7B1575FA35}")

struct AspectRatio
{
    std::int32_t cx = 0;
    std::int32_t cy = 0;
};

enum VideoRotation : std::int32_t
{
    VideoRotationNone = 0,
    VideoRotation90 = 1,
    VideoRotation180 = 2,
    VideoRotation270 = 3,
    VideoRotationUnset = 4,
};

struct Fraction
{
    std::int64_t numerator = 0;
    std::int64_t denominator = 1;
};

// Interlace flag bits.
constexpr std::uint32_t kInterlaced = 0x1;
constexpr std::uint32_t kField1First = 0x4;
constexpr std::uint32_t kInterlaceUnset = 0xFFFFFFFF;

// What the user overrode about how the video is to be interpreted.
struct IMDMediaSourceInfo : IMDExtension
{
    virtual void Reset() = 0;
    virtual HRESULT put_AspectRatio(const AspectRatio& value) = 0;
    virtual AspectRatio get_AspectRatio() = 0;
    virtual HRESULT put_InterlaceFlags(std::uint32_t value) = 0;
    virtual std::uint32_t get_InterlaceFlags() = 0;
    virtual HRESULT put_Rotation(VideoRotation value) = 0;
    virtual VideoRotation get_Rotation() = 0;
    virtual HRESULT put_FlipVertical(bool value) = 0;
    virtual bool get_FlipVertical() = 0;
    virtual HRESULT put_FlipHorizontal(bool value) = 0;
    virtual bool get_FlipHorizontal() = 0;
    // Writes a dirty extension into the clip's XML at once.
    virtual HRESULT Commit() = 0;
    virtual HRESULT put_VideoStreamRate(const Fraction& value) = 0;
    virtual Fraction get_VideoStreamRate() = 0;
};
QM_DECLARE_IID(IMDMediaSourceInfo, "{B471198D-5692-43E3-BFD2-8C4BF556B45B}")

// How the audio channels of a clip mix into outputs: per output, gains by input channel.
struct IMDAudioMatrix : IMDExtension
{
    virtual std::uint64_t get_OutputCount() = 0;
    // A new count starts over with the identity matrix.
    virtual void put_OutputCount(std::uint64_t count) = 0;
    virtual float GetGain(std::uint32_t channel, std::uint64_t output) = 0;
    virtual void SetGain(std::uint32_t channel, std::uint64_t output, float gain) = 0;
    virtual std::vector<std::vector<float>> GetMatrix() = 0;
};
QM_DECLARE_IID(IMDAudioMatrix, "{681BC55E-9196-407C-9FAF-27C1829A1612}")

// The clip's data source units, held by a manager of the metadata module.
struct IMDDataSource : IMDExtension
{
    // S_FALSE, and ppv untouched, when there is no manager.
    virtual HRESULT QueryManager(REFIID iid, void** ppv) = 0;
    virtual HRESULT SetDataSourceUnitMgr(IUnknown* pDSUMgr) = 0;
    // A new extension with the units cut to the section from start to end.
    virtual HRESULT CloneRange(LPCWSTR mediaPath, REFERENCE_TIME start, REFERENCE_TIME end, REFIID iid,
                               void** ppv) = 0;
    virtual void MarkDirty() = 0;
    virtual HRESULT LoadFromXmlText(LPCWSTR xml) = 0;
};
QM_DECLARE_IID(IMDDataSource, "{D0965E3A-DB13-4A05-ACCA-EA5F16B105A1}")

// Named references to other clips by file location.
struct IMDLibraryItemLink : IMDExtension
{
    virtual std::vector<wstring> GetLinkIds() = 0;
    // The linked clips through the factory, placed by their Index; gaps are null.
    virtual std::vector<ComPtr<ILibraryItem>> get_LinkedItems(ILibraryItemFactory* factory, wstring_view id,
                                                              bool createMissing) = 0;
    virtual std::vector<wstring> GetLinkedPaths(wstring_view id) = 0;
    virtual HRESULT AddLinkedPath(wstring_view id, const wstring& path, std::optional<std::int32_t> index) = 0;
    virtual HRESULT AddLinkedItem(wstring_view id, ILibraryItem* pLibraryItem, std::optional<std::int32_t> index) = 0;
    virtual HRESULT RemoveLinkedPath(wstring_view id, const wstring& path) = 0;
    virtual HRESULT RemoveLinkedItem(wstring_view id, ILibraryItem* pLibraryItem) = 0;
    // An empty id removes every reference.
    virtual HRESULT RemoveLink(wstring_view id) = 0;
    virtual HRESULT CopyFrom(IMDLibraryItemLink* other) = 0;
    virtual bool HasLink(wstring_view id) = 0;
    virtual HRESULT SetLinkName(wstring_view id, wstring_view name) = 0;
    virtual wstring GetLinkName(wstring_view id) = 0;
    virtual HRESULT SetSynchronizationOffset(wstring_view id, std::int64_t offset) = 0;
    virtual HRESULT GetSynchronizationOffset(wstring_view id, std::int64_t* offset) = 0;
};
QM_DECLARE_IID(IMDLibraryItemLink, "{F5C3E050-D67E-4BA4-9C1A-A6F83AB775CC}")

// The opaque drawing text laid over a clip.
struct IMDOverlayDrawing : IMDExtension
{
    virtual HRESULT put_Drawing(LPCWSTR value) = 0;
    // Null when there is no text.
    virtual HRESULT get_Drawing(BSTR* pVal) = 0;
};
QM_DECLARE_IID(IMDOverlayDrawing, "{04DF920B-F63B-4D6E-9E52-38958D82738D}")
