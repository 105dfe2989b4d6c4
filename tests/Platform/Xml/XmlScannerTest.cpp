// The fast route of the parser: what it reads itself must come out as expat would build
// it, what it is not sure of must reach expat, and every error is expat's.
#include "Platform/Xml/XmlDocument.h"
#include "Platform/Xml/XmlParser.h"
#include "Platform/Xml/XmlScanner.h"

#include "Support/XmlTreeEvents.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{
using qm::xml::XmlDocument;
using qm::xml::XmlParser;

ComPtr<XmlDocument> NewDocument()
{
    ComPtr<XmlDocument> document;
    EXPECT_EQ(S_OK, XmlDocument::Create(document.GetAddressOf()));
    return document;
}

struct Outcome
{
    bool parsed = false;
    std::vector<std::u16string> tree;
    qm::xml::XmlParseErrorInfo error;
};

// expatOnly: the parser's expat route alone; otherwise the route a load takes.
Outcome Read(const std::string& xml, bool expatOnly, const char* encoding = nullptr, bool preserve = false)
{
    ComPtr<XmlDocument> document = NewDocument();
    XmlParser parser(*document.Get(), preserve, encoding);
    Outcome outcome;
    outcome.parsed = expatOnly ? parser.Feed(xml.data(), xml.size(), true) : parser.Parse(xml.data(), xml.size());
    if (outcome.parsed)
    {
        parser.Commit();
        outcome.tree = qmtest::TreeEvents(*document.Get(), true);
    }
    outcome.error = parser.Error();
    return outcome;
}

// Whether the scanner reads the document to its end by itself.
bool ScannerReads(const std::string& xml, const char* encoding = nullptr)
{
    ComPtr<XmlDocument> document = NewDocument();
    qm::xml::XmlTreeBuilder builder(*document.Get(), false);
    return qm::xml::XmlScanner(builder, encoding != nullptr).Scan(xml);
}

void ExpectSameAsExpat(const std::string& xml, const char* encoding = nullptr, bool preserve = false)
{
    const Outcome fast = Read(xml, false, encoding, preserve);
    const Outcome expat = Read(xml, true, encoding, preserve);
    ASSERT_EQ(expat.parsed, fast.parsed) << xml;
    EXPECT_EQ(expat.tree, fast.tree) << xml;
    EXPECT_EQ(expat.error.code, fast.error.code) << xml;
    EXPECT_EQ(expat.error.reason, fast.error.reason) << xml;
    EXPECT_EQ(expat.error.line, fast.error.line) << xml;
    EXPECT_EQ(expat.error.column, fast.error.column) << xml;
    EXPECT_EQ(expat.error.position, fast.error.position) << xml;
}
} // namespace

TEST(XmlScanner, ReadsTheFormsOfLibraryFilesItselfAndBuildsWhatExpatBuilds)
{
    const std::vector<std::string> documents = {
        "<LIBRARY_ITEM><NAME>Match</NAME><VERSION subversion=\"1\">2.0</VERSION><EMPTY/><E a='1' b=\"2\" /></LIBRARY_ITEM>",
        "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"utf-8\" standalone='yes' ?>\r\n<r/>\r\n",
        "<?xml version='1.0'?><!-- before --><?app some data ?><r><?p?><!----></r><!-- after -->",
        // Line ends: CR LF and a lone CR become LF in text, comments, CDATA and PI data.
        "<r>one\r\ntwo\rthree<!-- a\r\nb --><![CDATA[c\r\nd\re]]><?p e\r\nf?></r>",
        // Attribute values: white space becomes a space, references stay what they say.
        "<r a=\"x\ty\r\nz\nw\" b='&#9;&#10;&#13;&lt;&gt;&amp;&apos;&quot;' c=\"'\" d='\"'/>",
        // References and characters of every length.
        "<r>&#65;&#x42;&#x1F600;&#1114111; Caf\xC3\xA9 \xE6\x97\xA5 \xF0\x9F\x98\x80 \xC2\x80 ]] ] > </r>",
        // White space: layout goes, references and CDATA keep it.
        "<r>\n  <a> </a>\n  <b>&#32;</b><c> <![CDATA[ ]]> </c><d>  x  </d>\n</r>",
        "<a:b xml:lang='en' _c.d-e='1'><a:b/></a:b>",
        "<r><![CDATA[<not>&markup;]]></r>",
    };
    for (const std::string& xml : documents)
    {
        EXPECT_TRUE(ScannerReads(xml)) << xml;
        ExpectSameAsExpat(xml);
        ExpectSameAsExpat(xml, "UTF-8", true);
    }
    // Text made UTF-8 by the caller keeps whatever encoding it declared.
    const std::string declared = "<?xml version=\"1.0\" encoding=\"UTF-16\"?><r/>";
    EXPECT_TRUE(ScannerReads(declared, "UTF-8"));
    ExpectSameAsExpat(declared, "UTF-8");
}

TEST(XmlScanner, ReadsLongNamesAndRunsAndLargeDocumentsAsExpatDoes)
{
    // Names and runs of text are read sixteen bytes at a time: what stops a run must be
    // found at every offset, also near the end of the input.
    const std::vector<std::string> stops = {"&amp;", "&#x20AC;", "\t", "\r\n", "]", "\xC3\xA9", "<b/>", "<![CDATA[c]]>"};
    for (std::size_t offset = 0; offset < 34; ++offset)
    {
        const std::string name = "n" + std::string(offset, 'a') + "-1.b:c_d";
        for (const std::string& stop : stops)
        {
            const std::string run = std::string(offset, 'x') + stop + std::string(20, 'y');
            const std::string attribute = stop.front() == '<' ? run.substr(0, offset) : run;
            const std::string xml =
                "<" + name + " " + name + "='" + attribute + "'>" + run + "</" + name + ">";
            EXPECT_TRUE(ScannerReads(xml)) << xml;
            ExpectSameAsExpat(xml);
            ExpectSameAsExpat(xml + std::string(40, ' '));
        }
    }

    // A document far larger than a parse's first block of memory, with one text larger
    // than any block.
    std::string large = "<r>";
    for (int i = 0; i < 20000; ++i)
        large += "<item n='" + std::to_string(i) + "'>text " + std::to_string(i) + "</item>";
    large += "<big>" + std::string(3 * 1024 * 1024, 'z') + "</big></r>";
    EXPECT_TRUE(ScannerReads(large));
    ExpectSameAsExpat(large);
}

TEST(XmlScanner, LeavesToExpatWhatItIsNotSureOf)
{
    std::string manyAttributes = "<r";
    for (int i = 0; i < 40; ++i)
        manyAttributes += " a" + std::to_string(i) + "='" + std::to_string(i) + "'";
    manyAttributes += "/>";
    const std::vector<std::string> documents = {
        "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><r>\xE9</r>",
        "<?xml version=\"1.1\"?><r/>",
        "<\xC3\x89quipe/>",
        "<r \xC3\xA9='1'/>",
        "<r>&#x0000041;</r>",
        std::string("\xFF\xFE<\0r\0/\0>\0", 10),
        manyAttributes,
    };
    for (const std::string& xml : documents)
    {
        EXPECT_FALSE(ScannerReads(xml)) << xml;
        ExpectSameAsExpat(xml);
    }
    EXPECT_TRUE(Read(manyAttributes, false).parsed);
    EXPECT_TRUE(Read("<r>&#x0000041;</r>", false).parsed);
}

TEST(XmlScanner, EveryErrorIsReportedAsExpatReportsIt)
{
    std::string deep;
    for (int i = 0; i <= XmlParser::kMaxDepth; ++i)
        deep += "<e>";
    const std::vector<std::string> documents = {
        "",
        "   ",
        "<r>",
        "<r></s>",
        "<r></r >x",
        "<r/><r/>",
        "text<r/>",
        "<r a='1' a='2'/>",
        "<r a='1'b='2'/>",
        "<r a=1/>",
        "<r a='<'/>",
        "<r>]]></r>",
        "<r>&undefined;</r>",
        "<r>&#0;</r>",
        "<r>&#xD800;</r>",
        "<r>&#65</r>",
        "<r><!-- a -- b --></r>",
        "<r><!-- a ---></r>",
        "<r><![CDATA[open</r>",
        "<r><?xml v?></r>",
        "<r>\xC3\x28</r>",
        "<r>\xED\xA0\x80</r>",
        "<r>\xEF\xBF\xBE</r>",
        "<r>\xF4\x90\x80\x80</r>",
        "<r>\xC0\xAF</r>",
        std::string("<r>\0</r>", 8),
        "<r>\x01</r>",
        " <?xml version='1.0'?><r/>",
        "<!DOCTYPE r><r/>",
        "<r><!DOCTYPE r></r>",
        deep,
    };
    for (const std::string& xml : documents)
    {
        EXPECT_FALSE(Read(xml, false).parsed) << xml;
        ExpectSameAsExpat(xml);
    }
}
