// The clip's XML layer: sidecar loading with its log texts, new item nodes, single
// elements and text forms.
#include "DataAccess/Library/XMLLibraryParser.h"

#include "Platform/Xml/XmlTestSupport.h"
#include "Support/LogCapture.h"
#include "Support/TempDir.h"
#include "qm/Logging.h"
#include "qm/PersistXML.h"

#include <algorithm>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>
#include <string>
#include <vector>

using namespace Quillmar::Library::Native;
using namespace qmtest;

namespace
{
class LoggedTest : public testing::Test
{
protected:
    // The errors reported so far, each as "file|text".
    std::vector<std::string> Lines() const
    {
        std::vector<std::string> lines;
        for (const LogCapture::Report& report : m_log.Reports())
            if (report.level <= 1)
                lines.push_back(report.file + "|" + report.text);
        return lines;
    }

    LogCapture m_log;
};
} // namespace

TEST_F(LoggedTest, LoadItemNodeReadsTheSidecarAndTellsTheMediaPath)
{
    TempDir folder;
    std::ofstream(folder / "clip.mp4.quilclip") << "<LIBRARY_ITEM><NAME>clip</NAME></LIBRARY_ITEM>";
    ComPtr<IXMLDOMNode> item;
    ASSERT_EQ(S_OK, LoadItemNode(u"/media/clip.mp4", folder.U16("clip.mp4.quilclip"), item.GetAddressOf()));
    EXPECT_EQ(u"<LIBRARY_ITEM><NAME>clip</NAME><FILE_NAME>/media/clip.mp4</FILE_NAME></LIBRARY_ITEM>", XmlOf(item.Get()));
    ComPtr<IXMLDOMDocument> document;
    item->get_ownerDocument(document.GetAddressOf());
    ComPtr<IXMLDOMDocument2> document2;
    ASSERT_EQ(S_OK, document.As(&document2));
    CComVariant namespaces;
    document2->getProperty(CComBSTR(u"SelectionNamespaces"), &namespaces);
    EXPECT_EQ(u"xmlns:mpeg7='urn:mpeg:mpeg7:schema:2001' xmlns:xsi='urn:mpeg:mpeg7:schema:2001' "
              u"xmlns:ms='urn:schemas-microsoft-com:xslt'",
              qm::BstrView(namespaces.bstrVal));
    EXPECT_TRUE(Lines().empty());
    EXPECT_EQ(E_POINTER, LoadItemNode(u"/m", folder.U16("clip.mp4.quilclip"), nullptr));
}

TEST_F(LoggedTest, LoadItemNodeLogsWhyASidecarCannotBeRead)
{
    TempDir folder;
    std::ofstream(folder / "bad.quilclip") << "<LIBRARY_ITEM>\n<NAME></LIBRARY_ITEM>";
    ComPtr<IXMLDOMNode> item;
    EXPECT_EQ(E_FAIL, LoadItemNode(u"/m.mp4", folder.U16("bad.quilclip"), item.GetAddressOf()));
    EXPECT_EQ(E_FAIL, LoadItemNode(u"/m.mp4", folder.U16("missing.quilclip"), item.GetAddressOf()));
    std::ofstream(folder / "other.quilclip") << "<OTHER/>";
    EXPECT_EQ(E_INVALIDARG, LoadItemNode(u"/m.mp4", folder.U16("other.quilclip"), item.GetAddressOf()));
    EXPECT_EQ(nullptr, item.Get());
    const std::vector<std::string> lines = Lines();
    ASSERT_EQ(4u, lines.size());
    const std::string file = "Source/DataAccess/Library/XMLLibraryParser.cpp|";
    EXPECT_EQ(file + "Failed to read file '" + (folder / "bad.quilclip") +
                  "', reason: mismatched tag, line 2, pos 9",
              lines[0]);
    EXPECT_EQ(file + "Failed to read file '" + (folder / "missing.quilclip") + "', no parse error", lines[1]);
    // No LIBRARY_ITEM: the append fails on the missing parent, logged and returned.
    EXPECT_EQ(file + "QMCheckCondition: pParentNode", lines[2]);
    EXPECT_EQ(file + "QMCheckHRESULT: 0x80070057", lines[3]);
}

TEST_F(LoggedTest, CreateItemNodeWritesItsElementsInOrder)
{
    const GUID id = qm::ParseGuid("{0A1B2C3D-1111-2222-3333-444455556666}");
    ComPtr<IXMLDOMNode> video;
    ASSERT_EQ(S_OK, CreateItemNode(video.GetAddressOf(), u"/media/Game 1.final.mp4", 1, id, true));
    EXPECT_EQ(u"<LIBRARY_ITEM><NAME>Game 1.final</NAME><ID>{0A1B2C3D-1111-2222-3333-444455556666}</ID>"
              u"<VERSION subversion=\"1\">2.0</VERSION><FILE_NAME>/media/Game 1.final.mp4</FILE_NAME>"
              u"<THUMBNAIL_INDEX>0</THUMBNAIL_INDEX></LIBRARY_ITEM>",
              XmlOf(video.Get()));
    // The node is the root of a document of its own.
    ComPtr<IXMLDOMNode> parent;
    ASSERT_EQ(S_OK, video->get_parentNode(parent.GetAddressOf()));
    DOMNodeType type;
    parent->get_nodeType(&type);
    EXPECT_EQ(NODE_DOCUMENT, type);

    ComPtr<IXMLDOMNode> notebook;
    ASSERT_EQ(S_OK, CreateItemNode(notebook.GetAddressOf(), u"", 18, GUID_NULL, false));
    const std::u16string xml = XmlOf(notebook.Get());
    EXPECT_EQ(0u, xml.find(u"<LIBRARY_ITEM><NAME/><ID>{"));
    EXPECT_EQ(std::u16string::npos, xml.find(u"THUMBNAIL_INDEX"));
    EXPECT_EQ(std::u16string::npos, xml.find(u"FILE_NAME"));
    EXPECT_EQ(std::u16string::npos, xml.find(u"{00000000-"));
    EXPECT_EQ(E_POINTER, CreateItemNode(nullptr, u"", 1, id, false));
}

TEST_F(LoggedTest, SingleElements)
{
    auto document = LoadXml(u"<r><EMPTY></EMPTY><TEXT>value</TEXT></r>");
    auto r = Select(document.Get(), u"r");
    std::u16string value = u"unchanged";
    EXPECT_EQ(S_FALSE, ReadElementText(r.Get(), u"MISSING", value));
    EXPECT_EQ(u"unchanged", value);
    EXPECT_EQ(S_OK, ReadElementText(r.Get(), u"EMPTY", value));
    EXPECT_EQ(u"", value);
    EXPECT_EQ(S_OK, ReadElementText(r.Get(), u"TEXT", value));
    EXPECT_EQ(u"value", value);

    ASSERT_EQ(S_OK, AppendTextElement(r.Get(), u"A", u"1"));
    ASSERT_EQ(S_OK, AppendTextElement(r.Get(), u"A", u"2"));
    ASSERT_EQ(S_OK, WriteTypeElement(r.Get(), -1));
    ASSERT_EQ(S_OK, WriteTypeElement(r.Get(), 18));
    EXPECT_EQ(u"<r><EMPTY/><TEXT>value</TEXT><A>1</A><A>2</A><TYPE>18</TYPE></r>", XmlOf(r.Get()));
    ComPtr<IXMLDOMNode> fresh;
    ASSERT_EQ(S_OK, AppendTextElement(r.Get(), u"B", u"", fresh.GetAddressOf()));
    ASSERT_EQ(S_OK, WriteTypeElement(fresh.Get(), -1));
    EXPECT_EQ(u"<B><TYPE>-1</TYPE></B>", XmlOf(fresh.Get()));
    EXPECT_EQ(S_OK, RemoveElement(r.Get(), u"A"));
    EXPECT_EQ(S_OK, RemoveElement(r.Get(), u"A"));
    EXPECT_EQ(S_FALSE, RemoveElement(r.Get(), u"A"));

    m_log.Clear();
    EXPECT_EQ(E_INVALIDARG, ReadElementText(nullptr, u"X", value));
    EXPECT_EQ(E_INVALIDARG, ReadElementText(r.Get(), u"", value));
    EXPECT_EQ(E_INVALIDARG, AppendTextElement(r.Get(), u"", u"x"));
    EXPECT_EQ(E_INVALIDARG, RemoveElement(nullptr, u"X"));
    EXPECT_EQ(E_INVALIDARG, WriteTypeElement(nullptr, 1));
    const std::vector<std::string> lines = Lines();
    ASSERT_EQ(5u, lines.size());
    EXPECT_NE(std::string::npos, lines[0].find("QMCheckCondition: pParentNode"));
    EXPECT_NE(std::string::npos, lines[1].find("QMCheckCondition: !elementName.empty()"));
    EXPECT_NE(std::string::npos, lines[2].find("QMCheckCondition: !nodeName.empty()"));
}

TEST(XmlTextForms, NumbersBooleansAndAttributes)
{
    EXPECT_EQ(u"-9223372036854775808", FormatInt64Text(INT64_MIN));
    std::int64_t number = 5;
    EXPECT_TRUE(ScanInt64Text(u"12x", number));
    EXPECT_EQ(12, number);
    EXPECT_FALSE(ScanInt64Text(u"x", number));
    EXPECT_EQ(12, number);
    EXPECT_EQ(u"yes", FormatYesNo(true));
    EXPECT_EQ(u"no", FormatYesNo(false));
    EXPECT_TRUE(IsYes(u"yes"));
    EXPECT_FALSE(IsYes(u"Yes"));
    EXPECT_FALSE(IsYes(u""));

    auto document = LoadXml(u"<r IN='1234567890123' EMPTY='' BAD='12x' SMALL='-7'/>");
    auto r = Element(Select(document.Get(), u"r").Get());
    std::int64_t in = 0;
    EXPECT_EQ(S_OK, ReadInt64Attribute(r.Get(), u"IN", in));
    EXPECT_EQ(1234567890123, in);
    // Missing, empty and bad values leave the target as it was.
    EXPECT_EQ(S_FALSE, ReadInt64Attribute(r.Get(), u"OUT", in));
    EXPECT_TRUE(FAILED(ReadInt64Attribute(r.Get(), u"EMPTY", in)));
    EXPECT_TRUE(FAILED(ReadInt64Attribute(r.Get(), u"BAD", in)));
    EXPECT_EQ(1234567890123, in);
    std::int32_t small = 0;
    EXPECT_EQ(S_OK, ReadInt32Attribute(r.Get(), u"SMALL", small));
    EXPECT_EQ(-7, small);
    EXPECT_EQ(DISP_E_OVERFLOW, ReadInt32Attribute(r.Get(), u"IN", small));
    EXPECT_EQ(-7, small);
}

namespace
{
class Persisted final : public IQMPersistXML4Impl<Persisted>
{
public:
    static const char16_t* PersistNodeName() { return u"Persisted"; }
    HRESULT QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG AddRef() override { return 1; }
    ULONG Release() override { return 1; }
    HRESULT Load(BSTR, IXMLDOMElement*) override { return S_OK; }
    HRESULT Save(BSTR, IXMLDOMDocument*, IXMLDOMElement*) override { return S_OK; }
    HRESULT Reset() override { return S_OK; }
};
} // namespace

TEST(PersistXML, ImplementationTemplateDefaults)
{
    Persisted object;
    IQMPersistXML4* persist = &object;
    CComBSTR name;
    ASSERT_EQ(S_OK, persist->get_NodeName(name.GetAddressOf()));
    EXPECT_EQ(u"Persisted", name.View());
    EXPECT_EQ(E_POINTER, persist->get_NodeName(nullptr));
    EXPECT_EQ(E_NOTIMPL, persist->Load(0, nullptr));
    CComBSTR text;
    EXPECT_EQ(E_NOTIMPL, persist->Save(0, text.GetAddressOf()));
    EXPECT_EQ(E_POINTER, persist->Save(0, nullptr));
    EXPECT_EQ(E_NOTIMPL, persist->Load(static_cast<IXMLDOMElement*>(nullptr)));
    EXPECT_EQ(E_NOTIMPL, persist->Save(static_cast<IXMLDOMDocument*>(nullptr), nullptr));
    EXPECT_EQ(S_OK, persist->Load(nullptr, nullptr));
    EXPECT_EQ(S_OK, persist->Reset());
}

TEST_F(LoggedTest, LoadItemNodeRefusesWhatIsNoSidecarWithoutReadingIt)
{
    TempDir folder;
    ComPtr<IXMLDOMNode> item;
    // A device behind a link would never end; a FIFO would block.
    ASSERT_EQ(0, ::symlink("/dev/zero", (folder / "zero.quilclip").c_str()));
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_BAD_FILE_TYPE),
              LoadItemNode(u"/m/zero", folder.U16("zero.quilclip"), item.GetAddressOf()));
    ASSERT_EQ(0, ::mkfifo((folder / "fifo.quilclip").c_str(), 0644));
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_BAD_FILE_TYPE),
              LoadItemNode(u"/m/fifo", folder.U16("fifo.quilclip"), item.GetAddressOf()));
    // A file past the bound, sparse so that it takes no room.
    const std::string huge = folder / "huge.quilclip";
    std::ofstream(huge) << "<LIBRARY_ITEM/>";
    ASSERT_EQ(0, ::truncate(huge.c_str(), static_cast<off_t>(kMaxSidecarBytes + 1)));
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_FILE_TOO_LARGE), LoadItemNode(u"/m/huge", folder.U16("huge.quilclip"), item.GetAddressOf()));
    EXPECT_FALSE(item);
    EXPECT_TRUE(m_log.Contains("huge.quilclip' is larger than 268435456 bytes"));
}
