// Writing XML: what is escaped, and that every kind of node reads back as it was.
#include "Platform/Xml/XmlWriter.h"

#include "Platform/Xml/XmlTestSupport.h"

using namespace qmtest;

namespace
{
// Builds <r> with one node of each kind, holding the given text.
ComPtr<IXMLDOMDocument2> EveryKindOfNode(std::u16string_view text)
{
    auto document = NewDocument();
    ComPtr<IXMLDOMElement> root, child;
    EXPECT_EQ(S_OK, document->createElement(CComBSTR(u"r"), root.GetAddressOf()));
    EXPECT_EQ(S_OK, document->appendChild(root.Get(), nullptr));
    EXPECT_EQ(S_OK, root->setAttribute(CComBSTR(u"attr"), CComVariant(text)));
    EXPECT_EQ(S_OK, document->createElement(CComBSTR(u"t"), child.GetAddressOf()));
    EXPECT_EQ(S_OK, child->put_text(CComBSTR(text)));
    EXPECT_EQ(S_OK, root->appendChild(child.Get(), nullptr));
    ComPtr<IXMLDOMCDATASection> cdata;
    EXPECT_EQ(S_OK, document->createCDATASection(CComBSTR(text), cdata.GetAddressOf()));
    ComPtr<IXMLDOMElement> holder;
    EXPECT_EQ(S_OK, document->createElement(CComBSTR(u"c"), holder.GetAddressOf()));
    EXPECT_EQ(S_OK, holder->appendChild(cdata.Get(), nullptr));
    EXPECT_EQ(S_OK, root->appendChild(holder.Get(), nullptr));
    ComPtr<IXMLDOMComment> comment;
    EXPECT_EQ(S_OK, document->createComment(CComBSTR(u"a comment & <stuff>"), comment.GetAddressOf()));
    EXPECT_EQ(S_OK, root->appendChild(comment.Get(), nullptr));
    ComPtr<IXMLDOMProcessingInstruction> pi;
    EXPECT_EQ(S_OK, document->createProcessingInstruction(CComBSTR(u"target"), CComBSTR(u"some data"), pi.GetAddressOf()));
    EXPECT_EQ(S_OK, root->appendChild(pi.Get(), nullptr));
    return document;
}

std::u16string Attribute(IXMLDOMNode* node, const char16_t* name)
{
    CComVariant value;
    EXPECT_EQ(S_OK, Element(node)->getAttribute(CComBSTR(name), &value));
    return std::u16string(qm::BstrView(value.bstrVal));
}
} // namespace

TEST(XmlWriter, EscapesWhatWouldNotReadBack)
{
    auto document = EveryKindOfNode(u"a&b<c>d\"e'f\tg\nh\ri]]>j");
    EXPECT_EQ(u"<r attr=\"a&amp;b&lt;c>d&quot;e'f&#9;g&#10;h&#13;i]]>j\">"
              u"<t>a&amp;b&lt;c&gt;d\"e'f\tg\nh&#13;i]]&gt;j</t>"
              u"<c><![CDATA[a&b<c>d\"e'f\tg\nh]]>&#13;<![CDATA[i]]]]><![CDATA[>j]]></c>"
              u"<!--a comment & <stuff>--><?target some data?></r>",
              XmlOf(document.Get()));
}

TEST(XmlWriter, EveryNodeKindRoundTrips)
{
    for (std::u16string_view text : {std::u16string_view(u"plain"), std::u16string_view(u"a&b<c>d\"e'f\tg\nh\r\ni]]>j"),
                                     std::u16string_view(u"\r\n\t "), std::u16string_view(u"\u00c9\U0001F600"),
                                     std::u16string_view(u"]]>]]>\r\r")})
    {
        auto written = EveryKindOfNode(text);
        auto read = LoadXml(XmlOf(written.Get()));
        EXPECT_EQ(XmlOf(written.Get()), XmlOf(read.Get()));
        EXPECT_EQ(text, Attribute(Select(read.Get(), u"r").Get(), u"attr"));
        EXPECT_EQ(text, TextOf(Select(read.Get(), u"r/t").Get()));
        EXPECT_EQ(text, TextOf(Select(read.Get(), u"r/c").Get()));
    }
}

TEST(XmlWriter, CharactersXmlCannotCarryAreRefusedWhereStored)
{
    auto document = LoadXml(u"<r/>");
    auto root = Element(Select(document.Get(), u"r").Get());
    const std::u16string bad[] = {std::u16string(1, u'\x01'), std::u16string(u"a\0b", 3), u"\uFFFE",
                                  std::u16string(1, char16_t(0xD800)), std::u16string(1, char16_t(0xDC00)) + u"x"};
    for (const std::u16string& text : bad)
    {
        EXPECT_EQ(E_INVALIDARG, root->setAttribute(CComBSTR(u"a"), CComVariant(text)));
        EXPECT_EQ(E_INVALIDARG, root->put_text(CComBSTR(text)));
        ComPtr<IXMLDOMText> node;
        EXPECT_EQ(E_INVALIDARG, document->createTextNode(CComBSTR(text), node.GetAddressOf()));
    }
    ComPtr<IXMLDOMElement> element;
    for (const char16_t* name : {u"", u"1a", u"a b", u"a<"})
        EXPECT_EQ(E_INVALIDARG, document->createElement(CComBSTR(name), element.GetAddressOf()));
    ComPtr<IXMLDOMComment> comment;
    EXPECT_EQ(E_INVALIDARG, document->createComment(CComBSTR(u"a--b"), comment.GetAddressOf()));
    EXPECT_EQ(E_INVALIDARG, document->createComment(CComBSTR(u"ends-"), comment.GetAddressOf()));
    ComPtr<IXMLDOMProcessingInstruction> pi;
    EXPECT_EQ(E_INVALIDARG, document->createProcessingInstruction(CComBSTR(u"xml"), CComBSTR(u""), pi.GetAddressOf()));
    EXPECT_EQ(E_INVALIDARG, document->createProcessingInstruction(CComBSTR(u"t"), CComBSTR(u"?>"), pi.GetAddressOf()));
    // A CR would read back as a line feed, and neither can escape it.
    EXPECT_EQ(E_INVALIDARG, document->createComment(CComBSTR(u"a\rb"), comment.GetAddressOf()));
    EXPECT_EQ(E_INVALIDARG,
              document->createProcessingInstruction(CComBSTR(u"t"), CComBSTR(u"a\r\nb"), pi.GetAddressOf()));
    ASSERT_EQ(S_OK, document->createComment(CComBSTR(u"a\nb"), comment.GetAddressOf()));
    ASSERT_EQ(S_OK, document->createProcessingInstruction(CComBSTR(u"t"), CComBSTR(u"a\nb"), pi.GetAddressOf()));
    EXPECT_EQ(E_INVALIDARG, comment->put_text(CComBSTR(u"a\r\nb")));
    EXPECT_EQ(E_INVALIDARG, pi->put_text(CComBSTR(u"\r")));
    EXPECT_EQ(u"<r/>", XmlOf(document.Get()));
}

TEST(XmlWriter, AttributeValuesOfEveryVariantType)
{
    auto document = LoadXml(u"<r/>");
    auto root = Element(Select(document.Get(), u"r").Get());
    CComVariant i64(static_cast<LONGLONG>(-9223372036854775807LL - 1));
    CComVariant u64(static_cast<ULONGLONG>(18446744073709551615ULL));
    CComVariant u32(static_cast<ULONG>(4294967295u));
    CComVariant i32(static_cast<LONG>(-2147483647 - 1));
    CComVariant f(0.1f);
    CComVariant t(true);
    CComVariant s(u"text");
    ASSERT_EQ(S_OK, root->setAttribute(CComBSTR(u"i64"), i64));
    ASSERT_EQ(S_OK, root->setAttribute(CComBSTR(u"u64"), u64));
    ASSERT_EQ(S_OK, root->setAttribute(CComBSTR(u"u32"), u32));
    ASSERT_EQ(S_OK, root->setAttribute(CComBSTR(u"i32"), i32));
    ASSERT_EQ(S_OK, root->setAttribute(CComBSTR(u"f"), f));
    ASSERT_EQ(S_OK, root->setAttribute(CComBSTR(u"b"), t));
    ASSERT_EQ(S_OK, root->setAttribute(CComBSTR(u"s"), s));
    EXPECT_EQ(u"<r i64=\"-9223372036854775808\" u64=\"18446744073709551615\" u32=\"4294967295\" "
              u"i32=\"-2147483648\" f=\"0.1\" b=\"True\" s=\"text\"/>",
              XmlOf(document.Get()));
    // Setting an existing attribute keeps its place.
    ASSERT_EQ(S_OK, root->setAttribute(CComBSTR(u"i64"), CComVariant(u"x")));
    EXPECT_EQ(0u, XmlOf(root.Get()).find(u"<r i64=\"x\""));
}
