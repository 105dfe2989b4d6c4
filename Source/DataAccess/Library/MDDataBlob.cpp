#include "DataAccess/Library/MDDataBlob.h"

#include "DataAccess/Library/XmlNodeAccess.h"
#include "Logging/QMLog.h"

namespace Quillmar::Library::Native
{
namespace
{
constexpr wstring_view kIdAttribute = u"Id";

// The length of a 16-bit name, under the name its checks are written with.
size_t wcslen(LPCWSTR text) { return std::char_traits<char16_t>::length(text); }
} // namespace

HRESULT CMDDataBlob::Clone(IMDExtension** ppExtension, int)
{
    QMCheckCondition(ppExtension != 0, E_POINTER);
    // A clip that receives the copy writes it at its next save.
    return CopyWith(ppExtension, &CMDDataBlob::m_blobs, true);
}

HRESULT CMDDataBlob::GetData(LPCWSTR dataBlobName, BSTR* pVal)
{
    QMCheckCondition(dataBlobName != 0 && wcslen(dataBlobName) > 0, E_INVALIDARG);
    QMCheckCondition(pVal != 0, E_POINTER);
    const auto it = m_blobs.find(wstring_view(dataBlobName));
    if (it == m_blobs.end())
        return S_FALSE;
    return it->second.CopyTo(pVal);
}

HRESULT CMDDataBlob::SetData(LPCWSTR dataBlobName, LPCWSTR value)
{
    QMCheckCondition(dataBlobName != 0 && wcslen(dataBlobName) > 0, E_INVALIDARG);
    if (value == nullptr || *value == 0)
        return RemoveData(dataBlobName);
    const wstring_view name(dataBlobName);
    QMCheckHRESULT(CheckText(name));
    QMCheckHRESULT(CheckText(value));
    CComBSTR data(value);
    const auto it = m_blobs.find(name);
    if (it == m_blobs.end())
        m_blobs.emplace(CComBSTR(name), std::move(data));
    else
        it->second = std::move(data);
    m_dirty = true;
    return S_OK;
}

HRESULT CMDDataBlob::RemoveData(LPCWSTR dataBlobName)
{
    QMCheckCondition(dataBlobName != 0 && wcslen(dataBlobName) > 0, E_INVALIDARG);
    const auto it = m_blobs.find(wstring_view(dataBlobName));
    if (it == m_blobs.end())
        return S_OK;
    m_blobs.erase(it);
    m_dirty = true;
    return S_OK;
}

HRESULT CMDDataBlob::WriteBlob(IXMLDOMDocument* document, IXMLDOMNode* parent, const CComBSTR& name,
                               const CComBSTR& data)
{
    ComPtr<IXMLDOMElement> element;
    QMCheckHRESULT(CreateElement(document, kNodeName, element));
    QMCheckHRESULT(SetAttribute(element.Get(), kIdAttribute, CComVariant(name.View())));
    QMCheckHRESULT(AppendCData(element.Get(), data.View()));
    QMCheckHRESULT(parent->appendChild(element.Get(), nullptr));
    return S_OK;
}

HRESULT CMDDataBlob::Write(IXMLDOMNode* parentNode, IXMLDOMDocument* document, ILibraryItem*)
{
    for (const auto& [name, data] : m_blobs)
        QMCheckHRESULT(WriteBlob(document, parentNode, name, data));
    return S_OK;
}

HRESULT CMDDataBlob::ReadBlob(IXMLDOMNode* node)
{
    ComPtr<IXMLDOMElement> element;
    QMCheckHRESULT(AsElement(node, element));
    std::optional<wstring> name;
    QMCheckHRESULT(GetAttributeText(element.Get(), kIdAttribute, name));
    if (!name || name->empty())
        return S_OK;
    wstring data;
    QMCheckHRESULT(GetNodeText(node, data));
    if (data.empty())
        return S_OK;
    // A later element of a name already read is dropped: the first one wins.
    if (m_blobs.find(wstring_view(*name)) == m_blobs.end())
        m_blobs.emplace(CComBSTR(wstring_view(*name)), CComBSTR(wstring_view(data)));
    return S_OK;
}

HRESULT CMDDataBlob::Load(IXMLDOMNode* parentNode, ILibraryItem*)
{
    QMCheckCondition(parentNode != nullptr, E_INVALIDARG);
    m_blobs.clear();
    m_dirty = false;
    NodeList nodes;
    QMCheckHRESULT(SelectNodes(parentNode, kNodeName, nodes));
    for (const auto& node : nodes)
        QMCheckHRESULT(ReadBlob(node.Get()));
    return S_OK;
}

HRESULT CMDDataBlob::Delete(IXMLDOMNode* parentNode, ILibraryItem*)
{
    QMCheckHRESULT(RemoveElements(parentNode));
    return S_OK;
}
} // namespace Quillmar::Library::Native
