// Documents: load and save through streams and files, the root element, properties,
// the attribute map and node creation.
#include "Platform/Xml/XmlDocument.h"

#include "Platform/Xml/XmlDocumentHelpers.h"
#include "Platform/Xml/XmlTestSupport.h"
#include "Support/TempDir.h"
#include "qm/Runtime/Streams.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <sstream>

using namespace qmtest;

namespace
{
// Writes only: the document must not need anything else of a stream it saves to.
class WriteOnlyStream final : public ISequentialStream
{
public:
    HRESULT QueryInterface(REFIID riid, void** ppv) override
    {
        *ppv = (riid == IID_IUnknown || riid == IID_ISequentialStream) ? this : nullptr;
        return *ppv ? S_OK : E_NOINTERFACE;
    }
    ULONG AddRef() override { return 2; }
    ULONG Release() override { return 1; }
    HRESULT Read(void*, ULONG, ULONG*) override { return E_NOTIMPL; }
    HRESULT Write(const void* data, ULONG count, ULONG* done) override
    {
        // Takes at most 3 bytes a call, so that the writer must loop.
        const ULONG taken = count < 3 ? count : 3;
        bytes.append(static_cast<const char*>(data), taken);
        if (done)
            *done = taken;
        return S_OK;
    }
    std::string bytes;
};

// Reads a few bytes a call, then fails if told to: a load must gather the pieces and
// pass a failure on.
class TrickleStream final : public ISequentialStream
{
public:
    TrickleStream(std::string bytes, HRESULT atEnd) : m_bytes(std::move(bytes)), m_atEnd(atEnd) {}
    HRESULT QueryInterface(REFIID riid, void** ppv) override
    {
        *ppv = (riid == IID_IUnknown || riid == IID_ISequentialStream) ? this : nullptr;
        return *ppv ? S_OK : E_NOINTERFACE;
    }
    ULONG AddRef() override { return 2; }
    ULONG Release() override { return 1; }
    HRESULT Read(void* data, ULONG count, ULONG* done) override
    {
        const std::size_t left = m_bytes.size() - m_offset;
        if (left == 0 && FAILED(m_atEnd))
            return m_atEnd;
        const std::size_t piece = std::min<std::size_t>({left, count, 5});
        std::memcpy(data, m_bytes.data() + m_offset, piece);
        m_offset += piece;
        *done = static_cast<ULONG>(piece);
        return S_OK;
    }
    HRESULT Write(const void*, ULONG, ULONG*) override { return E_NOTIMPL; }

private:
    std::string m_bytes;
    std::size_t m_offset = 0;
    HRESULT m_atEnd;
};

ComPtr<IMemoryStream> StreamOf(const std::string& bytes)
{
    ComPtr<IMemoryStream> stream;
    EXPECT_EQ(S_OK, CreateMemoryStream(0, stream.GetAddressOf()));
    EXPECT_EQ(S_OK, stream->Write(bytes.data(), static_cast<ULONG>(bytes.size()), nullptr));
    LARGE_INTEGER start{};
    EXPECT_EQ(S_OK, stream->Seek(start, STREAM_SEEK_SET, nullptr));
    return stream;
}
} // namespace

TEST(XmlDocument, SavesAndLoadsThroughStreamsAndFiles)
{
    auto document = LoadXml(u"<r a=\"\u00e9\"><c>x &amp; y</c></r>");
    WriteOnlyStream sink;
    ASSERT_EQ(S_OK, document->save(CComVariant(static_cast<IUnknown*>(&sink))));
    EXPECT_EQ("<r a=\"\xC3\xA9\"><c>x &amp; y</c></r>", sink.bytes);

    auto again = NewDocument();
    VARIANT_BOOL ok = VARIANT_FALSE;
    auto stream = StreamOf(sink.bytes);
    ASSERT_EQ(S_OK, again->load(CComVariant(static_cast<IUnknown*>(stream.Get())), &ok));
    EXPECT_EQ(VARIANT_TRUE, ok);
    EXPECT_EQ(XmlOf(document.Get()), XmlOf(again.Get()));

    qmtest::TempDir folder;
    ASSERT_EQ(S_OK, document->save(CComVariant(folder.U16("saved.xml"))));
    std::stringstream content;
    content << std::ifstream(folder / "saved.xml").rdbuf();
    EXPECT_EQ(sink.bytes, content.str());
    ComPtr<IXMLDOMDocument> fromFile;
    ComPtr<IXMLDOMParseError> error;
    ASSERT_EQ(S_OK, LoadDocumentFromFile(folder.U16("saved.xml"), fromFile.GetAddressOf(), error.GetAddressOf(), false));
    EXPECT_EQ(XmlOf(document.Get()), XmlOf(fromFile.Get()));
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND),
              LoadDocumentFromFile(folder.U16("missing.xml"), fromFile.ReleaseAndGetAddressOf(), nullptr, false));
    // A stream that is no document: E_FAIL and its parse error.
    auto bad = StreamOf("<r>");
    ASSERT_EQ(E_FAIL, LoadDocumentFromStream(bad.Get(), fromFile.ReleaseAndGetAddressOf(), error.ReleaseAndGetAddressOf(),
                                             false));
    ASSERT_TRUE(error);
    LONG code = 0;
    error->get_errorCode(&code);
    EXPECT_NE(0, code);
    EXPECT_EQ(E_UNEXPECTED, LoadDocumentFromStream(bad.Get(), nullptr, nullptr, false));
}

TEST(XmlDocument, LoadsAStreamReadInPiecesAndPassesOnItsFailure)
{
    // Longer than one read buffer, with characters of several bytes across the pieces.
    std::string xml = "<r>";
    while (xml.size() < 150000)
        xml += "<e a=\"\xC3\xA9t\xC3\xA9\">\xE6\x97\xA5\xF0\x9F\x98\x80</e>";
    xml += "</r>";
    TrickleStream pieces(xml, S_OK);
    auto document = NewDocument();
    VARIANT_BOOL ok = VARIANT_FALSE;
    ASSERT_EQ(S_OK, document->load(CComVariant(static_cast<IUnknown*>(&pieces)), &ok));
    EXPECT_EQ(VARIANT_TRUE, ok);
    auto whole = NewDocument();
    ASSERT_EQ(S_OK, whole->load(CComVariant(static_cast<IUnknown*>(StreamOf(xml).Get())), &ok));
    EXPECT_EQ(XmlOf(whole.Get()), XmlOf(document.Get()));

    TrickleStream broken("<r>unfinished", E_ACCESSDENIED);
    EXPECT_EQ(E_ACCESSDENIED, document->load(CComVariant(static_cast<IUnknown*>(&broken)), &ok));
    EXPECT_EQ(VARIANT_FALSE, ok);
}

TEST(XmlDocument, CreatedDocumentsAndTheirProperties)
{
    ComPtr<IXMLDOMDocument> document;
    ASSERT_EQ(S_OK, CreateDocument(document.GetAddressOf(), false));
    VARIANT_BOOL flag = VARIANT_TRUE;
    document->get_async(&flag);
    EXPECT_EQ(VARIANT_FALSE, flag);
    document->get_validateOnParse(&flag);
    EXPECT_EQ(VARIANT_FALSE, flag);
    document->get_resolveExternals(&flag);
    EXPECT_EQ(VARIANT_FALSE, flag);
    document->get_preserveWhiteSpace(&flag);
    EXPECT_EQ(VARIANT_FALSE, flag);
    EXPECT_EQ(E_POINTER, CreateDocument(nullptr, false));
    ComPtr<IXMLDOMDocument> freeThreaded;
    EXPECT_EQ(CLASS_E_CLASSNOTAVAILABLE, CreateDocument(freeThreaded.GetAddressOf(), true));

    ComPtr<IXMLDOMDocument2> document2;
    ASSERT_EQ(S_OK, document.As(&document2));
    const char16_t* namespaces = u"xmlns:mpeg7='urn:mpeg:mpeg7:schema:2001' xmlns:xsi='urn:mpeg:mpeg7:schema:2001'";
    ASSERT_EQ(S_OK, document2->setProperty(CComBSTR(u"SelectionNamespaces"), CComVariant(namespaces)));
    CComVariant value;
    ASSERT_EQ(S_OK, document2->getProperty(CComBSTR(u"SelectionNamespaces"), &value));
    EXPECT_EQ(namespaces, qm::BstrView(value.bstrVal));
    EXPECT_EQ(E_INVALIDARG, document2->setProperty(CComBSTR(u"SelectionLanguage"), CComVariant(u"XSLPattern")));
    EXPECT_EQ(E_INVALIDARG, document2->setProperty(CComBSTR(u"NoSuchProperty"), CComVariant(u"x")));
}

TEST(XmlDocument, DocumentElementIsReplacedAndAdoptedAcrossDocuments)
{
    auto document = LoadXml(u"<!--before--><old/>");
    ComPtr<IXMLDOMElement> root;
    ASSERT_EQ(S_OK, document->get_documentElement(root.GetAddressOf()));
    auto other = LoadXml(u"<new><child/></new>");
    ComPtr<IXMLDOMElement> foreign;
    ASSERT_EQ(S_OK, other->get_documentElement(foreign.GetAddressOf()));
    ASSERT_EQ(S_OK, document->putref_documentElement(foreign.Get()));
    EXPECT_EQ(u"<!--before--><new><child/></new>", XmlOf(document.Get()));
    EXPECT_EQ(u"", XmlOf(other.Get()));
    ComPtr<IXMLDOMDocument> owner;
    foreign->get_ownerDocument(owner.GetAddressOf());
    EXPECT_EQ(Identity(document.Get()), Identity(owner.Get()));
    // The old root lives on for whoever holds it, without a parent.
    ComPtr<IXMLDOMNode> parent;
    EXPECT_EQ(S_FALSE, root->get_parentNode(parent.GetAddressOf()));

    auto empty = NewDocument();
    ComPtr<IXMLDOMElement> none;
    EXPECT_EQ(S_FALSE, empty->get_documentElement(none.GetAddressOf()));
    EXPECT_EQ(nullptr, none.Get());
    ComPtr<IXMLDOMElement> made;
    ASSERT_EQ(S_OK, empty->createElement(CComBSTR(u"made"), made.GetAddressOf()));
    ASSERT_EQ(S_OK, empty->putref_documentElement(made.Get()));
    EXPECT_EQ(u"<made/>", XmlOf(empty.Get()));
}

TEST(XmlDocument, AttributesInDocumentOrderAndNodeCreation)
{
    auto document = LoadXml(u"<Output L='1' R='2' C='3'/>");
    auto output = Select(document.Get(), u"Output");
    ComPtr<IXMLDOMNamedNodeMap> attributes;
    ASSERT_EQ(S_OK, output->get_attributes(attributes.GetAddressOf()));
    LONG length = 0;
    ASSERT_EQ(S_OK, attributes->get_length(&length));
    ASSERT_EQ(3, length);
    std::u16string seen;
    ComPtr<IXMLDOMNode> attribute;
    while (attributes->nextNode(attribute.ReleaseAndGetAddressOf()) == S_OK)
    {
        CComBSTR name;
        CComVariant value;
        attribute->get_nodeName(name.GetAddressOf());
        attribute->get_nodeValue(&value);
        seen += std::u16string(name.View()) + u"=" + std::u16string(qm::BstrView(value.bstrVal)) + u";";
        DOMNodeType type;
        attribute->get_nodeType(&type);
        EXPECT_EQ(NODE_ATTRIBUTE, type);
    }
    EXPECT_EQ(u"L=1;R=2;C=3;", seen);
    ASSERT_EQ(S_OK, attributes->getNamedItem(CComBSTR(u"R"), attribute.ReleaseAndGetAddressOf()));
    ComPtr<IXMLDOMNode> same;
    ASSERT_EQ(S_OK, attributes->get_item(1, same.GetAddressOf()));
    EXPECT_EQ(Identity(attribute.Get()), Identity(same.Get()));
    EXPECT_EQ(S_FALSE, attributes->getNamedItem(CComBSTR(u"X"), attribute.ReleaseAndGetAddressOf()));

    ComPtr<IXMLDOMNode> element;
    CComVariant elementType(static_cast<LONG>(NODE_ELEMENT));
    ASSERT_EQ(S_OK, document->createNode(elementType, CComBSTR(u"Library.MDProperties"), nullptr, element.GetAddressOf()));
    ASSERT_EQ(S_OK, output->appendChild(element.Get(), nullptr));
    EXPECT_EQ(u"<Output L=\"1\" R=\"2\" C=\"3\"><Library.MDProperties/></Output>", XmlOf(output.Get()));
    EXPECT_EQ(E_INVALIDARG, document->createNode(elementType, CComBSTR(u"x"), CComBSTR(u"urn:x"),
                                                 element.ReleaseAndGetAddressOf()));
    // A parentless element gives its own text.
    ComPtr<IXMLDOMElement> loose;
    ASSERT_EQ(S_OK, document->createElement(CComBSTR(u"loose"), loose.GetAddressOf()));
    ASSERT_EQ(S_OK, loose->setAttribute(CComBSTR(u"k"), CComVariant(u"v")));
    EXPECT_EQ(u"<loose k=\"v\"/>", XmlOf(loose.Get()));
}
