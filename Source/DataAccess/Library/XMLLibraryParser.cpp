#include "DataAccess/Library/XMLLibraryParser.h"

#include "Logging/QMLog.h"
#include "Platform/Kernel/Path.h"
#include "Platform/Text/Format.h"
#include "Platform/Text/Scan.h"
#include "qm/Platform/Com/ComPtr.h"
#include "qm/Platform/Com/Stream.h"
#include "qm/Platform/Kernel/Time.h"

namespace Quillmar::Library::Native
{
namespace
{
constexpr const char16_t* kSelectionNamespaces =
    u"xmlns:mpeg7='urn:mpeg:mpeg7:schema:2001' xmlns:xsi='urn:mpeg:mpeg7:schema:2001' "
    u"xmlns:ms='urn:schemas-microsoft-com:xslt'";

// The child of that name, or S_FALSE and null.
HRESULT FindChild(IXMLDOMNode* parent, wstring_view name, ComPtr<IXMLDOMNode>& child)
{
    return parent->selectSingleNode(CComBSTR(name), child.ReleaseAndGetAddressOf());
}

void LogReadFailure(wstring_view sidecarPath, IXMLDOMParseError* error)
{
    const wstring path(sidecarPath);
    if (error == nullptr)
    {
        QMLog(1, u"Failed to read file '%s', no parse error", path.c_str());
        return;
    }
    CComBSTR reason;
    LONG line = 0, column = 0;
    error->get_reason(reason.GetAddressOf());
    error->get_line(&line);
    error->get_linepos(&column);
    const wstring text(reason.View());
    QMLog(1, u"Failed to read file '%s', reason: %s, line %d, pos %d", path.c_str(), text.c_str(), line, column);
}

// The sidecar's stream, refused before a byte is read when it is no regular file (a FIFO
// would block, a device never end) or larger than any sidecar.
HRESULT OpenSidecar(wstring_view sidecarPath, ComPtr<IStream>& stream)
{
    HRESULT hr = SHCreateStreamOnFileEx(wstring(sidecarPath).c_str(), STGM_READ | STGM_SHARE_DENY_WRITE, 0, FALSE,
                                        nullptr, stream.ReleaseAndGetAddressOf());
    if (FAILED(hr))
        return hr;
    STATSTG stat{};
    hr = stream->Stat(&stat, STATFLAG_NONAME);
    if (FAILED(hr))
        return hr;
    if (stat.cbSize.QuadPart > kMaxSidecarBytes)
    {
        const wstring path(sidecarPath);
        QMLog(1, u"File '%s' is larger than %llu bytes and is not read", path.c_str(),
              static_cast<unsigned long long>(kMaxSidecarBytes));
        return HRESULT_FROM_WIN32(ERROR_FILE_TOO_LARGE);
    }
    return S_OK;
}

bool IsRefusedFile(HRESULT hr)
{
    return hr == HRESULT_FROM_WIN32(ERROR_FILE_TOO_LARGE) || hr == HRESULT_FROM_WIN32(ERROR_BAD_FILE_TYPE);
}
} // namespace

HRESULT LoadItemNode(wstring_view mediaPath, wstring_view sidecarPath, IXMLDOMNode** ppXMLNode)
{
    QMCheckCondition(ppXMLNode, E_POINTER);
    *ppXMLNode = nullptr;
    ComPtr<IXMLDOMDocument> document;
    ComPtr<IXMLDOMParseError> error;
    ComPtr<IStream> stream;
    HRESULT hr = OpenSidecar(sidecarPath, stream);
    if (SUCCEEDED(hr))
        hr = LoadDocumentFromStream(stream.Get(), document.GetAddressOf(), error.GetAddressOf(), false);
    if (FAILED(hr))
    {
        LogReadFailure(sidecarPath, error.Get());
        return IsRefusedFile(hr) ? hr : E_FAIL;
    }
    ComPtr<IXMLDOMDocument2> document2;
    document.As(&document2);
    QMCheckCondition(document2, E_NOINTERFACE);
    QMCheckHRESULT(document2->setProperty(CComBSTR(u"SelectionNamespaces"), CComVariant(kSelectionNamespaces)));
    ComPtr<IXMLDOMNode> item;
    QMCheckHRESULT(document->selectSingleNode(CComBSTR(u"LIBRARY_ITEM"), item.GetAddressOf()));
    // The file holds no FILE_NAME: the loaded node tells the path it was loaded for.
    QMCheckHRESULT(AppendTextElement(item.Get(), u"FILE_NAME", mediaPath));
    *ppXMLNode = item.Detach();
    return S_OK;
}

HRESULT CreateItemNode(IXMLDOMNode** ppItem, wstring_view mediaPath, int kind, const GUID& id, bool withFileName)
{
    QMCheckCondition(ppItem, E_POINTER);
    *ppItem = nullptr;
    ComPtr<IXMLDOMDocument> document;
    QMCheckHRESULT(CreateDocument(document.GetAddressOf(), false));
    ComPtr<IXMLDOMNode> item;
    QMCheckHRESULT(document->createNode(CComVariant(static_cast<LONG>(NODE_ELEMENT)), CComBSTR(u"LIBRARY_ITEM"),
                                        nullptr, item.GetAddressOf()));
    QMCheckHRESULT(document->appendChild(item.Get(), nullptr));

    wstring name(PathFindFileNameW(mediaPath));
    PathRemoveExtensionW(name);
    QMCheckHRESULT(AppendTextElement(item.Get(), u"NAME", name));

    GUID itemId = id;
    if (itemId == GUID_NULL)
        QMCheckHRESULT(CoCreateGuid(&itemId));
    QMCheckHRESULT(AppendTextElement(item.Get(), u"ID", qm::GuidToString(itemId)));

    ComPtr<IXMLDOMNode> version;
    QMCheckHRESULT(AppendTextElement(item.Get(), u"VERSION", u"2.0", version.GetAddressOf()));
    ComPtr<IXMLDOMElement> versionElement;
    QMCheckHRESULT(version.As(&versionElement));
    QMCheckHRESULT(versionElement->setAttribute(CComBSTR(u"subversion"), CComVariant(static_cast<LONG>(1))));

    if (withFileName)
        QMCheckHRESULT(AppendTextElement(item.Get(), u"FILE_NAME", mediaPath));
    if (kind == 1)
        QMCheckHRESULT(AppendTextElement(item.Get(), u"THUMBNAIL_INDEX", u"0"));
    *ppItem = item.Detach();
    return S_OK;
}

HRESULT AppendTextElement(IXMLDOMNode* pParentNode, wstring_view nodeName, wstring_view value, IXMLDOMNode** ppNode)
{
    QMCheckCondition(pParentNode, E_INVALIDARG);
    QMCheckCondition(!nodeName.empty(), E_INVALIDARG);
    if (ppNode)
        *ppNode = nullptr;
    ComPtr<IXMLDOMDocument> document;
    QMCheckHRESULT(pParentNode->get_ownerDocument(document.GetAddressOf()));
    // A document is its own owner.
    if (!document)
        QMCheckHRESULT(pParentNode->QueryInterface(IID_IXMLDOMDocument, reinterpret_cast<void**>(document.GetAddressOf())));
    ComPtr<IXMLDOMElement> element;
    QMCheckHRESULT(document->createElement(CComBSTR(nodeName), element.GetAddressOf()));
    QMCheckHRESULT(element->put_text(CComBSTR(value)));
    QMCheckHRESULT(pParentNode->appendChild(element.Get(), nullptr));
    if (ppNode)
        *ppNode = element.Detach();
    return S_OK;
}

HRESULT ReadElementText(IXMLDOMNode* pParentNode, wstring_view elementName, wstring& value)
{
    QMCheckCondition(pParentNode, E_INVALIDARG);
    QMCheckCondition(!elementName.empty(), E_INVALIDARG);
    ComPtr<IXMLDOMNode> element;
    HRESULT hr = FindChild(pParentNode, elementName, element);
    QMCheckHRESULT(hr);
    if (hr == S_FALSE)
        return S_FALSE;
    CComBSTR text;
    QMCheckHRESULT(element->get_text(text.GetAddressOf()));
    value = wstring(text.View());
    return S_OK;
}

HRESULT RemoveElement(IXMLDOMNode* pParentNode, wstring_view elementName)
{
    QMCheckCondition(pParentNode, E_INVALIDARG);
    ComPtr<IXMLDOMNode> element;
    HRESULT hr = FindChild(pParentNode, elementName, element);
    QMCheckHRESULT(hr);
    if (hr == S_FALSE)
        return S_FALSE;
    return pParentNode->removeChild(element.Get(), nullptr);
}

HRESULT WriteTypeElement(IXMLDOMNode* pParentNode, int kind)
{
    QMCheckCondition(pParentNode, E_INVALIDARG);
    const wstring text = qm::FormatW(u"%d", kind);
    ComPtr<IXMLDOMNode> element;
    HRESULT hr = FindChild(pParentNode, u"TYPE", element);
    QMCheckHRESULT(hr);
    if (hr == S_FALSE)
        return AppendTextElement(pParentNode, u"TYPE", text);
    QMCheckHRESULT(element->put_text(CComBSTR(text)));
    return S_OK;
}

wstring FormatInt64Text(std::int64_t value) { return qm::FormatW(u"%I64d", value); }

bool ScanInt64Text(wstring_view text, std::int64_t& value) { return qm::ScanInt64(text, value); }

namespace
{
template <class Int>
HRESULT ReadIntegerAttribute(IXMLDOMElement* element, wstring_view name, VARTYPE type, Int VARIANT::*field, Int& value)
{
    QMCheckCondition(element, E_INVALIDARG);
    CComVariant text;
    HRESULT hr = element->getAttribute(CComBSTR(name), &text);
    if (hr != S_OK)
        return hr;
    CComVariant number;
    hr = VariantChangeType(&number, &text, 0, type);
    if (FAILED(hr))
        return hr;
    value = number.*field;
    return S_OK;
}
} // namespace

HRESULT ReadInt64Attribute(IXMLDOMElement* element, wstring_view name, std::int64_t& value)
{
    return ReadIntegerAttribute(element, name, VT_I8, &VARIANT::llVal, value);
}

HRESULT ReadInt32Attribute(IXMLDOMElement* element, wstring_view name, std::int32_t& value)
{
    return ReadIntegerAttribute(element, name, VT_I4, &VARIANT::lVal, value);
}

wstring FormatAbsoluteTime(const FILETIME& time)
{
    SYSTEMTIME st{};
    if (!FileTimeToSystemTime(&time, &st))
        return {};
    return qm::FormatW(u"%04d.%02d.%02dT%02d:%02d:%02d.%03d", st.wYear, st.wMonth, st.wDay, st.wHour, st.wMinute,
                       st.wSecond, st.wMilliseconds);
}

HRESULT ParseAbsoluteTime(wstring_view text, FILETIME& time)
{
    wstring compact;
    for (const char16_t c : text)
        if (c != u' ' && c != u'\t' && c != u'\r' && c != u'\n' && c != u'-' && c != u':' && c != u'.')
            compact += c;
    int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0, millisecond = 0;
    if (qm::ScanW(compact.c_str(), u"%04d%02d%02dT%02d%02d%02d%03d", &year, &month, &day, &hour, &minute, &second,
                  &millisecond) < 6)
        return E_FAIL;
    const SYSTEMTIME st{static_cast<WORD>(year),   static_cast<WORD>(month),  0,
                        static_cast<WORD>(day),    static_cast<WORD>(hour),   static_cast<WORD>(minute),
                        static_cast<WORD>(second), static_cast<WORD>(millisecond)};
    FILETIME parsed{};
    if (!SystemTimeToFileTime(&st, &parsed))
        return E_FAIL;
    time = parsed;
    return S_OK;
}

wstring FormatYesNo(bool value) { return value ? u"yes" : u"no"; }

bool IsYes(wstring_view text) { return text == u"yes"; }
} // namespace Quillmar::Library::Native
