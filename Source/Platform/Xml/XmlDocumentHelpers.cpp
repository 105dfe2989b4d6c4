#include "Platform/Xml/XmlDocumentHelpers.h"

#include "qm/Platform/Com/ComPtr.h"
#include "qm/Platform/Com/Stream.h"

HRESULT CreateDocument(IXMLDOMDocument** ppDocument, bool freeThreaded)
{
    if (ppDocument == nullptr)
        return E_POINTER;
    *ppDocument = nullptr;
    ComPtr<IXMLDOMDocument2> document;
    HRESULT hr = CreateXmlDocument(freeThreaded ? CLSID_FreeThreadedDOMDocument60 : CLSID_DOMDocument60,
                                   document.GetAddressOf());
    if (FAILED(hr))
        return hr;
    hr = document->put_async(VARIANT_FALSE);
    if (FAILED(hr))
        return hr;
    hr = document->put_validateOnParse(VARIANT_FALSE);
    if (FAILED(hr))
        return hr;
    hr = document->put_resolveExternals(VARIANT_FALSE);
    if (FAILED(hr))
        return hr;
    *ppDocument = document.Detach();
    return S_OK;
}

HRESULT LoadDocumentFromStream(IStream* stream, IXMLDOMDocument** ppDocument, IXMLDOMParseError** ppError,
                               bool freeThreaded)
{
    if (ppDocument == nullptr)
        return E_UNEXPECTED;
    *ppDocument = nullptr;
    if (ppError)
        *ppError = nullptr;
    ComPtr<IXMLDOMDocument> document;
    HRESULT hr = CreateDocument(document.GetAddressOf(), freeThreaded);
    if (FAILED(hr))
        return hr;
    // The document holds the stream for the call through the variant.
    CComVariant source(static_cast<IUnknown*>(stream));
    VARIANT_BOOL loaded = VARIANT_FALSE;
    hr = document->load(source, &loaded);
    if (FAILED(hr))
        return hr;
    if (loaded == VARIANT_FALSE)
    {
        if (ppError)
            document->get_parseError(ppError);
        return E_FAIL;
    }
    *ppDocument = document.Detach();
    return S_OK;
}

HRESULT LoadDocumentFromFile(wstring_view path, IXMLDOMDocument** ppDocument, IXMLDOMParseError** ppError,
                             bool freeThreaded)
{
    if (ppDocument == nullptr)
        return E_UNEXPECTED;
    *ppDocument = nullptr;
    if (ppError)
        *ppError = nullptr;
    ComPtr<IStream> stream;
    HRESULT hr = SHCreateStreamOnFileEx(std::u16string(path).c_str(), STGM_READ | STGM_SHARE_DENY_WRITE,
                                        0, FALSE, nullptr, stream.GetAddressOf());
    if (FAILED(hr))
        return hr;
    return LoadDocumentFromStream(stream.Get(), ppDocument, ppError, freeThreaded);
}
