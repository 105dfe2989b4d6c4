// The drawing laid over a clip: one opaque text of the host's, kept in a CDATA section of
// the clip's "OverlayDrawing" element so that any markup in it survives as it stands.
#pragma once

#include "DataAccess/Library/MDExtension.h"

namespace Quillmar::Library::Native
{
class CMDOverlayDrawing : public MDExtension<CMDOverlayDrawing, IMDOverlayDrawing>
{
public:
    static constexpr GUID kType = MDTYPE_OverlayDrawing;
    static constexpr bool kCanUnload = true;
    static constexpr wstring_view kNodeName = u"OverlayDrawing";

    CMDOverlayDrawing() = default;

    HRESULT Clone(IMDExtension** ppExtension, int deepClone) override;

    HRESULT put_Drawing(LPCWSTR value) override;
    HRESULT get_Drawing(BSTR* pVal) override;

    HRESULT Load(IXMLDOMNode* parentNode, ILibraryItem* pItem) override;
    HRESULT Delete(IXMLDOMNode* parentNode, ILibraryItem* pLibraryItem) override;

private:
    friend MDExtension;

    HRESULT Write(IXMLDOMNode* parentNode, IXMLDOMDocument* document, ILibraryItem* pLibraryItem);

    // Null until a text is put or loaded.
    CComBSTR m_text;
};
} // namespace Quillmar::Library::Native
