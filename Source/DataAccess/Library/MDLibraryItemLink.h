// Named references from a clip to other clips by file location. Locations are absolute
// in memory; in the XML they are relative to the clip's media path when both lie on one
// file system, so that a pair of files moved together still finds each other.
#pragma once

#include "DataAccess/Library/MDExtension.h"

#include <cstdint>
#include <map>
#include <optional>
#include <vector>

namespace Quillmar::Library::Native
{
class CMDLibraryItemLink : public MDExtension<CMDLibraryItemLink, IMDLibraryItemLink>
{
public:
    static constexpr GUID kType = MDTYPE_LibraryItemLink;
    static constexpr bool kCanUnload = false;
    static constexpr wstring_view kNodeName = u"Library.MDLibraryItemLink";
    // Answered with the object itself, so that CopyFrom can reach another one's map.
    static constexpr CLSID ClassId = qm::ParseGuid("{8B77FD00-9A33-42DB-8D5B-94733C0AE3F9}");

    struct LinkedItemLocation
    {
        wstring path;
        // Wanted position in the list that get_LinkedItems gives.
        std::optional<std::int32_t> index;
    };

    struct LinkReference
    {
        std::int64_t synchronizationOffset = 0;
        wstring name;
        std::vector<LinkedItemLocation> items;
    };

    CMDLibraryItemLink() = default;

    HRESULT QueryInterface(REFIID riid, void** ppv) override
    {
        return qm::QueryInterfaceFrom<IMDLibraryItemLink, IMDExtension, IPersistMDExtension,
                                      qm::QISelf<CMDLibraryItemLink>>(this, riid, ppv);
    }

    HRESULT Clone(IMDExtension**, int) override { return E_NOTIMPL; }

    std::vector<wstring> GetLinkIds() override;
    std::vector<ComPtr<ILibraryItem>> get_LinkedItems(ILibraryItemFactory* factory, wstring_view id,
                                                      bool createMissing) override;
    std::vector<wstring> GetLinkedPaths(wstring_view id) override;
    HRESULT AddLinkedPath(wstring_view id, const wstring& path, std::optional<std::int32_t> index) override;
    HRESULT AddLinkedItem(wstring_view id, ILibraryItem* pLibraryItem, std::optional<std::int32_t> index) override;
    HRESULT RemoveLinkedPath(wstring_view id, const wstring& path) override;
    HRESULT RemoveLinkedItem(wstring_view id, ILibraryItem* pLibraryItem) override;
    HRESULT RemoveLink(wstring_view id) override;
    HRESULT CopyFrom(IMDLibraryItemLink* other) override;
    bool HasLink(wstring_view id) override;
    HRESULT SetLinkName(wstring_view id, wstring_view name) override;
    wstring GetLinkName(wstring_view id) override;
    HRESULT SetSynchronizationOffset(wstring_view id, std::int64_t offset) override;
    HRESULT GetSynchronizationOffset(wstring_view id, std::int64_t* offset) override;

    HRESULT Load(IXMLDOMNode* parentNode, ILibraryItem* pLibraryItem) override;
    HRESULT Delete(IXMLDOMNode* parentNode, ILibraryItem* pLibraryItem) override;

private:
    friend MDExtension;

    // Keyed by the reference id, ordered by UTF-16 code units.
    using References = std::map<wstring, LinkReference, std::less<>>;

    // The reference of id, made empty when it is missing.
    HRESULT FindOrCreate(wstring_view id, References::iterator& it);
    // The reference of id, or null.
    const LinkReference* Find(wstring_view id) const;

    static HRESULT WriteReference(IXMLDOMElement* container, const wstring& id, const LinkReference& reference,
                                  const wstring& mediaPath);
    static HRESULT WriteLocation(IXMLDOMElement* referenceElement, const LinkedItemLocation& location,
                                 const wstring& mediaPath);
    HRESULT ReadReference(IXMLDOMNode* node, const wstring& mediaPath);
    // Appends the location that node gives, if it is an element with a location.
    static HRESULT ReadLocation(IXMLDOMNode* node, const wstring& mediaPath, std::vector<LinkedItemLocation>& items);

    // Every save needs the clip, whose media path the stored locations are relative to.
    HRESULT PrepareSave(ILibraryItem* pLibraryItem);
    HRESULT Write(IXMLDOMNode* parentNode, IXMLDOMDocument* document, ILibraryItem* pLibraryItem);

    References m_references;
};
} // namespace Quillmar::Library::Native
