// Named opaque text blobs that other subsystems keep in a clip. Each blob is one "Data"
// element directly under the clip's node, its name in "Id" and its text in CDATA.
#pragma once

#include "DataAccess/Library/MDExtension.h"

#include <map>

namespace Quillmar::Library::Native
{
class CMDDataBlob : public MDExtension<CMDDataBlob, IMDDataBlob>
{
public:
    static constexpr GUID kType = MDTYPE_DataBlob;
    static constexpr bool kCanUnload = true;
    static constexpr wstring_view kNodeName = u"Data";

    CMDDataBlob() = default;

    HRESULT Clone(IMDExtension** ppExtension, int deepClone) override;

    HRESULT GetData(LPCWSTR dataBlobName, BSTR* pVal) override;
    HRESULT SetData(LPCWSTR dataBlobName, LPCWSTR value) override;
    HRESULT RemoveData(LPCWSTR dataBlobName) override;

    HRESULT Load(IXMLDOMNode* parentNode, ILibraryItem* pLibraryItem) override;
    HRESULT Delete(IXMLDOMNode* parentNode, ILibraryItem* pLibraryItem) override;

private:
    friend MDExtension;

    // Names are exact keys, in the order of their UTF-16 code units, so that the file's
    // order is the same on every machine.
    struct BstrLess
    {
        using is_transparent = void;
        bool operator()(const CComBSTR& a, const CComBSTR& b) const noexcept { return a.View() < b.View(); }
        bool operator()(const CComBSTR& a, wstring_view b) const noexcept { return a.View() < b; }
        bool operator()(wstring_view a, const CComBSTR& b) const noexcept { return a < b.View(); }
    };
    using Blobs = std::map<CComBSTR, CComBSTR, BstrLess>;

    HRESULT WriteBlob(IXMLDOMDocument* document, IXMLDOMNode* parent, const CComBSTR& name, const CComBSTR& data);
    HRESULT Write(IXMLDOMNode* parentNode, IXMLDOMDocument* document, ILibraryItem* pLibraryItem);
    HRESULT ReadBlob(IXMLDOMNode* node);

    Blobs m_blobs;
};
} // namespace Quillmar::Library::Native
