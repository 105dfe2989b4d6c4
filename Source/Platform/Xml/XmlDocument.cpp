#include "Platform/Xml/XmlDocument.h"

#include "Platform/Kernel/FileSystem.h"
#include "Platform/Xml/XmlAttribute.h"
#include "Platform/Xml/XmlCharacterData.h"
#include "Platform/Xml/XmlChars.h"
#include "Platform/Xml/XmlElement.h"
#include "Platform/Xml/XmlParseError.h"
#include "Platform/Xml/XmlParser.h"
#include "Platform/Xml/XmlWriter.h"

#include "qm/Platform/Com/Stream.h"
#include "qm/Platform/Text/Utf8Conversion.h"

#include <algorithm>
#include <new>
#include <vector>

namespace qm::xml
{
namespace
{
constexpr ULONG kIoChunk = 64 * 1024;
constexpr ULONG kFirstIoChunk = 4 * 1024;

// Hands a new node to an out-parameter of its interface type, with one reference.
template <class Interface>
HRESULT HandOut(Interface* node, Interface** result)
{
    node->AddRef();
    *result = node;
    return S_OK;
}

// The frame of every create operation: the out-parameter, the check of the input, and an
// allocation that fails; make builds the node.
template <class Interface, class Make>
HRESULT CreateNode(Interface** result, bool valid, Make make)
{
    if (result == nullptr)
        return E_POINTER;
    *result = nullptr;
    if (!valid)
        return E_INVALIDARG;
    try
    {
        return HandOut<Interface>(make(), result);
    }
    catch (const std::bad_alloc&)
    {
        return E_OUTOFMEMORY;
    }
}

HRESULT PutFlag(bool& flag, VARIANT_BOOL value)
{
    flag = value != VARIANT_FALSE;
    return S_OK;
}

HRESULT GetFlag(bool flag, VARIANT_BOOL* value)
{
    if (value == nullptr)
        return E_POINTER;
    *value = flag ? VARIANT_TRUE : VARIANT_FALSE;
    return S_OK;
}

// The stream in a variant: anything that answers IStream or ISequentialStream.
ComPtr<ISequentialStream> StreamOf(const VARIANT& source)
{
    if ((source.vt != VT_UNKNOWN && source.vt != VT_DISPATCH) || source.punkVal == nullptr)
        return nullptr;
    if (ComPtr<IStream> stream = QueryTo<IStream>(source.punkVal))
        return stream;
    return QueryTo<ISequentialStream>(source.punkVal);
}

HRESULT WriteAll(ISequentialStream* stream, const std::string& bytes)
{
    std::size_t done = 0;
    while (done < bytes.size())
    {
        const ULONG piece = static_cast<ULONG>(std::min<std::size_t>(bytes.size() - done, kIoChunk));
        ULONG written = 0;
        HRESULT hr = stream->Write(bytes.data() + done, piece, &written);
        if (FAILED(hr))
            return hr;
        if (written == 0)
            return STG_E_MEDIUMFULL;
        done += written;
    }
    return S_OK;
}
} // namespace

XmlDocument::XmlDocument() noexcept : XmlNode(NODE_DOCUMENT, this) {}

XmlDocument::~XmlDocument() = default;

HRESULT XmlDocument::Create(XmlDocument** document)
{
    if (document == nullptr)
        return E_POINTER;
    try
    {
        *document = Make<XmlDocument>(nullptr);
    }
    catch (const std::bad_alloc&)
    {
        *document = nullptr;
        return E_OUTOFMEMORY;
    }
    (*document)->Hold();
    return S_OK;
}

XmlDocument* XmlDocument::CloneEmpty() const
{
    auto* copy = Make<XmlDocument>(nullptr);
    copy->m_async = m_async;
    copy->m_validateOnParse = m_validateOnParse;
    copy->m_resolveExternals = m_resolveExternals;
    copy->m_preserveWhiteSpace = m_preserveWhiteSpace;
    copy->m_selectionNamespaces = m_selectionNamespaces;
    return copy;
}

XmlNodeCore* XmlDocument::CloneSelf(XmlDocument*) const { return CloneEmpty(); }

void* XmlDocument::QueryTyped(REFIID riid) noexcept
{
    if (riid == IID_IXMLDOMDocument || riid == IID_IXMLDOMDocument2)
        return static_cast<IXMLDOMDocument2*>(this);
    return nullptr;
}

HRESULT XmlDocument::get_documentElement(IXMLDOMElement** root)
{
    if (root == nullptr)
        return E_POINTER;
    *root = nullptr;
    for (XmlNodeCore* node = FirstChild(); node; node = node->NextSibling())
        if (node->Type() == NODE_ELEMENT)
            return HandOut<IXMLDOMElement>(static_cast<XmlElement*>(node), root);
    return S_FALSE;
}

HRESULT XmlDocument::putref_documentElement(IXMLDOMElement* root)
{
    ComPtr<IXMLDOMElement> current;
    HRESULT hr = get_documentElement(current.GetAddressOf());
    if (FAILED(hr))
        return hr;
    if (root == nullptr)
        return current ? removeChild(current.Get(), nullptr) : S_OK;
    XmlNodeCore* node = CoreOf(root);
    if (node == nullptr || node->Type() != NODE_ELEMENT)
        return E_INVALIDARG;
    if (current)
        return replaceChild(root, current.Get(), nullptr);
    return appendChild(root, nullptr);
}

HRESULT XmlDocument::createElement(BSTR tagName, IXMLDOMElement** element)
{
    const wstring_view name = qm::BstrView(tagName);
    return CreateNode(element, IsValidName(name), [&] { return XmlElement::Create(this, XmlString(name)); });
}

HRESULT XmlDocument::createTextNode(BSTR data, IXMLDOMText** text)
{
    const wstring_view value = qm::BstrView(data);
    return CreateNode(text, IsValidText(value), [&] { return XmlText::Create(this, NODE_TEXT, XmlString(value)); });
}

HRESULT XmlDocument::createComment(BSTR data, IXMLDOMComment** comment)
{
    const wstring_view value = qm::BstrView(data);
    return CreateNode(comment, IsValidComment(value), [&] { return XmlComment::Create(this, XmlString(value)); });
}

HRESULT XmlDocument::createCDATASection(BSTR data, IXMLDOMCDATASection** cdata)
{
    const wstring_view value = qm::BstrView(data);
    return CreateNode(cdata, IsValidText(value),
                      [&] { return XmlText::Create(this, NODE_CDATA_SECTION, XmlString(value)); });
}

HRESULT XmlDocument::createProcessingInstruction(BSTR target, BSTR data, IXMLDOMProcessingInstruction** pi)
{
    const wstring_view name = qm::BstrView(target);
    const wstring_view value = qm::BstrView(data);
    return CreateNode(pi, IsValidProcessingInstruction(name, value),
                      [&] { return XmlProcessingInstruction::Create(this, XmlString(name), XmlString(value)); });
}

HRESULT XmlDocument::createAttribute(BSTR name, IXMLDOMAttribute** attribute)
{
    const wstring_view text = qm::BstrView(name);
    return CreateNode(attribute, IsValidName(text),
                      [&] { return XmlAttribute::Create(this, XmlString(text), XmlString()); });
}

HRESULT XmlDocument::createNode(VARIANT type, BSTR name, BSTR namespaceURI, IXMLDOMNode** node)
{
    if (node == nullptr)
        return E_POINTER;
    *node = nullptr;
    if (!qm::BstrView(namespaceURI).empty())
        return E_INVALIDARG;
    CComVariant kind;
    if (FAILED(VariantChangeType(&kind, &type, 0, VT_I4)))
        return E_INVALIDARG;
    CComBSTR empty(u"");
    switch (kind.lVal)
    {
    case NODE_ELEMENT:
        return createElement(name, reinterpret_cast<IXMLDOMElement**>(node));
    case NODE_ATTRIBUTE:
        return createAttribute(name, reinterpret_cast<IXMLDOMAttribute**>(node));
    case NODE_TEXT:
        return createTextNode(empty, reinterpret_cast<IXMLDOMText**>(node));
    case NODE_CDATA_SECTION:
        return createCDATASection(empty, reinterpret_cast<IXMLDOMCDATASection**>(node));
    case NODE_COMMENT:
        return createComment(empty, reinterpret_cast<IXMLDOMComment**>(node));
    case NODE_PROCESSING_INSTRUCTION:
        return createProcessingInstruction(name, empty, reinterpret_cast<IXMLDOMProcessingInstruction**>(node));
    default:
        return E_INVALIDARG;
    }
}

template <class Reader>
HRESULT XmlDocument::Parse(Reader&& read, const char* encoding, VARIANT_BOOL* isSuccessful)
{
    if (isSuccessful)
        *isSuccessful = VARIANT_FALSE;
    try
    {
        if (!m_parseError)
        {
            HRESULT hr = XmlParseError::Create(m_parseError.ReleaseAndGetAddressOf());
            if (FAILED(hr))
                return hr;
        }
        XmlParser parser(*this, m_preserveWhiteSpace, encoding);
        HRESULT hr = read(parser);
        if (FAILED(hr))
            return hr;
        if (hr == S_FALSE)
        {
            // A document that does not parse leaves this one empty.
            RemoveAllChildren();
            m_parseError->Set(parser.Error());
            return S_FALSE;
        }
        parser.Commit();
        m_parseError->Set(XmlParseErrorInfo{});
        if (isSuccessful)
            *isSuccessful = VARIANT_TRUE;
        return S_OK;
    }
    catch (const std::bad_alloc&)
    {
        return E_OUTOFMEMORY;
    }
}

HRESULT XmlDocument::load(VARIANT source, VARIANT_BOOL* isSuccessful)
{
    if (source.vt == VT_BSTR)
    {
        std::vector<std::uint8_t> bytes;
        HRESULT hr = qm::FileSystem().ReadWholeFile(qm::BstrView(source.bstrVal), bytes);
        if (FAILED(hr))
        {
            if (isSuccessful)
                *isSuccessful = VARIANT_FALSE;
            return hr;
        }
        return Parse(
            [&](XmlParser& parser) {
                return parser.Parse(reinterpret_cast<const char*>(bytes.data()), bytes.size()) ? S_OK : S_FALSE;
            },
            nullptr, isSuccessful);
    }
    ComPtr<ISequentialStream> stream = StreamOf(source);
    if (!stream)
    {
        if (isSuccessful)
            *isSuccessful = VARIANT_FALSE;
        return E_INVALIDARG;
    }
    return Parse(
        [&](XmlParser& parser) -> HRESULT {
            // The whole document first: the parser reads it fastest in one piece.
            // Chunks grow with the document, so that a small one costs a small buffer.
            std::string bytes;
            for (;;)
            {
                const std::size_t done = bytes.size();
                const ULONG chunk = static_cast<ULONG>(std::clamp<std::size_t>(done, kFirstIoChunk, kIoChunk));
                bytes.resize(done + chunk);
                ULONG got = 0;
                HRESULT hr = stream->Read(bytes.data() + done, chunk, &got);
                if (FAILED(hr))
                    return hr;
                bytes.resize(done + std::min<std::size_t>(got, chunk));
                if (got == 0)
                    return parser.Parse(bytes.data(), bytes.size()) ? S_OK : S_FALSE;
            }
        },
        nullptr, isSuccessful);
}

HRESULT XmlDocument::loadXML(BSTR xml, VARIANT_BOOL* isSuccessful)
{
    std::string text;
    const bool valid = SUCCEEDED(qm::ToUtf8(qm::BstrView(xml), text));
    // The text is converted already: its own encoding declaration is overridden.
    return Parse(
        [&](XmlParser& parser) {
            if (!valid)
            {
                parser.Refuse(u"The text holds an unpaired surrogate.");
                return S_FALSE;
            }
            return parser.Parse(text.data(), text.size()) ? S_OK : S_FALSE;
        },
        "UTF-8", isSuccessful);
}

HRESULT XmlDocument::SaveTo(ISequentialStream* stream) const
{
    try
    {
        return WriteAll(stream, XmlWriter::ToUtf8(*this));
    }
    catch (const std::bad_alloc&)
    {
        return E_OUTOFMEMORY;
    }
}

HRESULT XmlDocument::SaveTo(wstring_view path) const
{
    try
    {
        const std::string bytes = XmlWriter::ToUtf8(*this);
        IFileSystem& fileSystem = qm::FileSystem();
        FileHandle file;
        HRESULT hr = fileSystem.OpenExclusiveWrite(path, file);
        if (SUCCEEDED(hr))
            hr = fileSystem.Write(file, bytes.data(), bytes.size());
        HRESULT closed = fileSystem.Close(file);
        return FAILED(hr) ? hr : closed;
    }
    catch (const std::bad_alloc&)
    {
        return E_OUTOFMEMORY;
    }
}

HRESULT XmlDocument::save(VARIANT destination)
{
    if (destination.vt == VT_BSTR)
        return SaveTo(qm::BstrView(destination.bstrVal));
    ComPtr<ISequentialStream> stream = StreamOf(destination);
    if (!stream)
        return E_INVALIDARG;
    return SaveTo(stream.Get());
}

HRESULT XmlDocument::get_parseError(IXMLDOMParseError** error)
{
    if (error == nullptr)
        return E_POINTER;
    *error = nullptr;
    if (!m_parseError)
    {
        HRESULT hr = XmlParseError::Create(m_parseError.ReleaseAndGetAddressOf());
        if (FAILED(hr))
            return hr;
    }
    *error = m_parseError.Get();
    (*error)->AddRef();
    return S_OK;
}

HRESULT XmlDocument::get_async(VARIANT_BOOL* value) { return GetFlag(m_async, value); }
// Loading is always synchronous; the flag is kept for callers that read it back.
HRESULT XmlDocument::put_async(VARIANT_BOOL value) { return PutFlag(m_async, value); }
HRESULT XmlDocument::get_validateOnParse(VARIANT_BOOL* value) { return GetFlag(m_validateOnParse, value); }
// No document with a DTD is accepted, so there is nothing to validate against.
HRESULT XmlDocument::put_validateOnParse(VARIANT_BOOL value) { return PutFlag(m_validateOnParse, value); }
HRESULT XmlDocument::get_resolveExternals(VARIANT_BOOL* value) { return GetFlag(m_resolveExternals, value); }
// Nothing external is ever read.
HRESULT XmlDocument::put_resolveExternals(VARIANT_BOOL value) { return PutFlag(m_resolveExternals, value); }
HRESULT XmlDocument::get_preserveWhiteSpace(VARIANT_BOOL* value) { return GetFlag(m_preserveWhiteSpace, value); }
HRESULT XmlDocument::put_preserveWhiteSpace(VARIANT_BOOL value) { return PutFlag(m_preserveWhiteSpace, value); }

HRESULT XmlDocument::setProperty(BSTR name, VARIANT value)
{
    wstring_view property = qm::BstrView(name);
    if (value.vt != VT_BSTR)
        return E_INVALIDARG;
    wstring_view text = qm::BstrView(value.bstrVal);
    if (property == u"SelectionNamespaces")
    {
        m_selectionNamespaces = wstring(text);
        return S_OK;
    }
    if (property == u"SelectionLanguage")
        return text == u"XPath" ? S_OK : E_INVALIDARG;
    return E_INVALIDARG;
}

HRESULT XmlDocument::getProperty(BSTR name, VARIANT* value)
{
    if (value == nullptr)
        return E_POINTER;
    VariantInit(value);
    wstring_view property = qm::BstrView(name);
    wstring_view text;
    if (property == u"SelectionNamespaces")
        text = m_selectionNamespaces;
    else if (property == u"SelectionLanguage")
        text = u"XPath";
    else
        return E_INVALIDARG;
    value->bstrVal = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    if (value->bstrVal == nullptr)
        return E_OUTOFMEMORY;
    value->vt = VT_BSTR;
    return S_OK;
}

HRESULT CreateXmlDocumentCore(IXMLDOMDocument2** document)
{
    XmlDocument* created = nullptr;
    HRESULT hr = XmlDocument::Create(&created);
    *document = created;
    return hr;
}
} // namespace qm::xml

HRESULT CreateXmlDocument(REFCLSID clsid, IXMLDOMDocument2** document)
{
    if (document == nullptr)
        return E_POINTER;
    *document = nullptr;
    // Nodes are not locked: the free-threaded class is not offered.
    if (clsid != CLSID_DOMDocument60)
        return CLASS_E_CLASSNOTAVAILABLE;
    return qm::xml::CreateXmlDocumentCore(document);
}
