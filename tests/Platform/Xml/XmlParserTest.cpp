// Reading XML: encodings, white space, refusals and the parse error.
#include "Platform/Xml/XmlParser.h"

#include "Platform/Xml/XmlTestSupport.h"
#include "Support/TempDir.h"

#include <fstream>
#include <string>

using namespace qmtest;

namespace
{
struct ParseFailure
{
    LONG code = 0;
    std::u16string reason;
    LONG line = 0;
    LONG column = 0;
    LONG position = 0;
};

ParseFailure FailureOf(IXMLDOMDocument* document)
{
    ComPtr<IXMLDOMParseError> error;
    EXPECT_EQ(S_OK, document->get_parseError(error.GetAddressOf()));
    ParseFailure failure;
    CComBSTR reason;
    error->get_errorCode(&failure.code);
    error->get_reason(reason.GetAddressOf());
    failure.reason = std::u16string(qm::BstrView(reason));
    error->get_line(&failure.line);
    error->get_linepos(&failure.column);
    error->get_filepos(&failure.position);
    return failure;
}

// Loads text that must be refused: S_FALSE, a false flag and an empty document.
ParseFailure Refused(std::u16string_view xml)
{
    auto document = NewDocument();
    VARIANT_BOOL ok = VARIANT_TRUE;
    EXPECT_EQ(S_FALSE, document->loadXML(CComBSTR(xml), &ok));
    EXPECT_EQ(VARIANT_FALSE, ok);
    ComPtr<IXMLDOMNode> child;
    EXPECT_EQ(S_FALSE, document->get_firstChild(child.GetAddressOf()));
    return FailureOf(document.Get());
}

// Loads bytes from a file, as a sidecar is read.
ComPtr<IXMLDOMDocument2> LoadBytes(const std::string& bytes, VARIANT_BOOL* ok)
{
    qmtest::TempDir folder;
    const std::string path = folder / "document.xml";
    std::ofstream(path, std::ios::binary) << bytes;
    auto document = NewDocument();
    EXPECT_TRUE(SUCCEEDED(document->load(CComVariant(folder.U16("document.xml")), ok)));
    return document;
}
} // namespace

TEST(XmlParser, MalformedInputGivesAParseErrorWithItsPlace)
{
    ParseFailure failure = Refused(u"<a>\n  <b></a>");
    EXPECT_NE(0, failure.code);
    EXPECT_FALSE(failure.reason.empty());
    EXPECT_EQ(2, failure.line);
    // expat places a mismatched end tag at its name.
    EXPECT_EQ(8, failure.column);
    EXPECT_EQ(11, failure.position);

    for (const char16_t* bad : {u"", u"<a>", u"<a></b>", u"<a/><b/>", u"text", u"<a x='1' x='2'/>", u"<a>&undefined;</a>",
                                u"<1a/>", u"<a><!-- a -- b --></a>"})
        EXPECT_NE(0, Refused(bad).code) << std::string(bad, bad + std::char_traits<char16_t>::length(bad));

    // A good load afterwards clears the error.
    auto document = LoadXml(u"<ok/>");
    EXPECT_EQ(0, FailureOf(document.Get()).code);
}

TEST(XmlParser, DocumentTypeDeclarationsAreRefused)
{
    // No entity is expanded, so "billion laughs" and external entities cannot happen.
    ParseFailure laughs = Refused(u"<!DOCTYPE l [<!ENTITY a \"aaaa\"><!ENTITY b \"&a;&a;&a;&a;\">]><l>&b;</l>");
    EXPECT_EQ(u"A document type declaration is not allowed.", laughs.reason);
    ParseFailure external = Refused(u"<!DOCTYPE r SYSTEM \"file:///etc/passwd\"><r/>");
    EXPECT_EQ(laughs.code, external.code);
}

TEST(XmlParser, NestingIsLimited)
{
    auto nested = [](int depth) {
        std::u16string xml;
        for (int i = 0; i < depth; ++i)
            xml += u"<e>";
        for (int i = 0; i < depth; ++i)
            xml += u"</e>";
        return xml;
    };
    LoadXml(nested(qm::xml::XmlParser::kMaxDepth));
    EXPECT_EQ(u"Elements are nested too deeply.", Refused(nested(qm::xml::XmlParser::kMaxDepth + 1)).reason);
    EXPECT_EQ(u"Elements are nested too deeply.", Refused(nested(100000).substr(0, 300000)).reason);
}

TEST(XmlParser, WhiteSpaceOnlyTextIsDroppedOtherTextKeptAsItStands)
{
    auto document = LoadXml(u"<r>\n  <NAME> </NAME>\n  <V>  two words  </V><C><![CDATA[  ]]></C><R>&#32;&#10;</R></r>");
    // Layout between elements and blank element text go; CDATA and references stay.
    EXPECT_EQ(u"", TextOf(Select(document.Get(), u"r/NAME").Get()));
    ComPtr<IXMLDOMNode> child;
    EXPECT_EQ(S_FALSE, Select(document.Get(), u"r/NAME")->get_firstChild(child.GetAddressOf()));
    EXPECT_EQ(u"  two words  ", TextOf(Select(document.Get(), u"r/V").Get()));
    EXPECT_EQ(u"  ", TextOf(Select(document.Get(), u"r/C").Get()));
    EXPECT_EQ(u" \n", TextOf(Select(document.Get(), u"r/R").Get()));
    EXPECT_EQ(u"<r><NAME/><V>  two words  </V><C><![CDATA[  ]]></C><R>&#32;&#10;</R></r>", XmlOf(document.Get()));

    auto preserved = NewDocument();
    ASSERT_EQ(S_OK, preserved->put_preserveWhiteSpace(VARIANT_TRUE));
    VARIANT_BOOL ok = VARIANT_FALSE;
    ASSERT_EQ(S_OK, preserved->loadXML(CComBSTR(u"<r> <a/> </r>"), &ok));
    EXPECT_EQ(u"  ", TextOf(preserved.Get()));
}

TEST(XmlParser, EmptyValuesAreEmptyStringsNotNull)
{
    auto document = LoadXml(u"<r a=''><e></e></r>");
    CComVariant value;
    ASSERT_EQ(S_OK, Element(Select(document.Get(), u"r").Get())->getAttribute(CComBSTR(u"a"), &value));
    ASSERT_EQ(VT_BSTR, value.vt);
    EXPECT_NE(nullptr, value.bstrVal);
    EXPECT_EQ(0u, SysStringLen(value.bstrVal));
    CComBSTR text;
    ASSERT_EQ(S_OK, Select(document.Get(), u"r/e")->get_text(text.GetAddressOf()));
    EXPECT_NE(nullptr, text.m_str);
}

TEST(XmlParser, ReadsUtf8AndUtf16WithByteOrderMarks)
{
    const std::u16string expected = u"\u00c9quipe \U0001F600";
    VARIANT_BOOL ok = VARIANT_FALSE;
    auto utf8 = LoadBytes("\xEF\xBB\xBF<r a=\"\xC3\xA9\">\xC3\x89quipe \xF0\x9F\x98\x80</r>", &ok);
    EXPECT_EQ(VARIANT_TRUE, ok);
    EXPECT_EQ(expected, TextOf(utf8.Get()));

    for (bool bigEndian : {false, true})
    {
        std::u16string text = u"\uFEFF<?xml version=\"1.0\" encoding=\"UTF-16\"?><r>" + expected + u"</r>";
        std::string bytes;
        for (char16_t c : text)
        {
            const char high = static_cast<char>(c >> 8), low = static_cast<char>(c & 0xFF);
            bytes += bigEndian ? high : low;
            bytes += bigEndian ? low : high;
        }
        auto utf16 = LoadBytes(bytes, &ok);
        EXPECT_EQ(VARIANT_TRUE, ok);
        EXPECT_EQ(expected, TextOf(utf16.Get()));
    }

    // Malformed UTF-8, NUL and characters XML cannot carry are refused.
    for (const char* bad : {"<r>\xC3\x28</r>", "<r>\xED\xA0\x80</r>", "<r>&#1;</r>", "<r>\xEF\xBF\xBF</r>"})
    {
        LoadBytes(bad, &ok);
        EXPECT_EQ(VARIANT_FALSE, ok) << bad;
    }
    // A name that UTF-16 input allows but a UTF-8 document does not would never read back
    // once saved: refused at load, and where it would be made.
    std::string latin1Name = "\xFF\xFE";
    for (char c : std::string("<r \xBA=\"1\"/>"))
    {
        latin1Name += c;
        latin1Name += '\0';
    }
    LoadBytes(latin1Name, &ok);
    EXPECT_EQ(VARIANT_FALSE, ok);
    auto names = NewDocument();
    ComPtr<IXMLDOMElement> element;
    EXPECT_EQ(E_INVALIDARG, names->createElement(CComBSTR(u"\u00BA"), element.GetAddressOf()));
    EXPECT_EQ(E_INVALIDARG, names->createElement(CComBSTR(u"\u2070"), element.GetAddressOf()));
    EXPECT_EQ(S_OK, names->createElement(CComBSTR(u"\u00C9quipe"), element.GetAddressOf()));
    LoadBytes(std::string("<r>\0</r>", 8), &ok);
    EXPECT_EQ(VARIANT_FALSE, ok);
    EXPECT_FALSE(Refused(std::u16string(u"<r>") + char16_t(0xD800) + u"</r>").reason.empty());
}
