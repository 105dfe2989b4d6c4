#include "DataAccess/Library/MDOverlayDrawing.h"

#include "DataAccess/Library/XmlNodeAccess.h"
#include "Logging/QMLog.h"

namespace Quillmar::Library::Native
{
HRESULT CMDOverlayDrawing::Clone(IMDExtension** ppExtension, int)
{
    QMCheckCondition(ppExtension != 0, E_POINTER);
    // A clip that receives the copy writes it at its next save.
    return CopyWith(ppExtension, &CMDOverlayDrawing::m_text, true);
}

HRESULT CMDOverlayDrawing::put_Drawing(LPCWSTR value)
{
    if (value != nullptr)
        QMCheckHRESULT(CheckText(value));
    m_text = value;
    m_dirty = true;
    return S_OK;
}

HRESULT CMDOverlayDrawing::get_Drawing(BSTR* pVal)
{
    QMCheckCondition(pVal != 0, E_POINTER);
    return m_text.CopyTo(pVal);
}

HRESULT CMDOverlayDrawing::Write(IXMLDOMNode* parentNode, IXMLDOMDocument* document, ILibraryItem*)
{
    ComPtr<IXMLDOMElement> pNode;
    QMCheckHRESULT(CreateElement(document, kNodeName, pNode));
    // An empty drawing leaves no element behind.
    if (m_text.Length() > 0)
    {
        QMCheckHRESULT(AppendCData(pNode.Get(), m_text.View()));
        QMCheckHRESULT(parentNode->appendChild(pNode.Get(), nullptr));
    }
    return S_OK;
}

HRESULT CMDOverlayDrawing::Load(IXMLDOMNode* parentNode, ILibraryItem* pItem)
{
    QMCheckCondition(pItem != 0, E_INVALIDARG);
    m_text.Empty();
    ComPtr<IXMLDOMNode> drawingNode;
    const HRESULT found = SelectNode(parentNode, kNodeName, drawingNode);
    QMCheckHRESULT(found);
    if (found == S_FALSE)
        return E_FAIL;
    QMCheckHRESULT(drawingNode->get_text(m_text.GetAddressOf()));
    return S_OK;
}

HRESULT CMDOverlayDrawing::Delete(IXMLDOMNode* parentNode, ILibraryItem*)
{
    QMCheckHRESULT(RemoveElements(parentNode));
    // The text stays, so that a later save of this object writes it again.
    m_dirty = true;
    return S_OK;
}
} // namespace Quillmar::Library::Native
