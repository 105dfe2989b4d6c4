// The XML of a clip element by element, and round trips through save and load.
#include "DataAccess/Library/ClipTestSupport.h"
#include "qm/Library/MetadataExtensions.h"

using namespace qmtest;

namespace
{
class ClipXmlTest : public ClipTest
{
protected:
    template <class Interface>
    ComPtr<Interface> Extension(ILibraryItem* item, const GUID& type)
    {
        ComPtr<Interface> extension;
        EXPECT_EQ(item->GetOrCreateExtension(type, qm::IidOf<Interface>(), reinterpret_cast<void**>(extension.GetAddressOf())),
                  S_OK);
        return extension;
    }
    // The saved file of a fresh factory's item.
    ComPtr<ILibraryItem> Reload(const std::u16string& path)
    {
        TearDown();
        SetUp();
        return Get(path);
    }
    static std::string Body(const std::string& file)
    {
        const std::string text = WithoutIds(file);
        const size_t start = text.find("<THUMBNAIL_INDEX>0</THUMBNAIL_INDEX>") + 36;
        return text.substr(start, text.rfind("<TYPE>") - start);
    }
};

const std::u16string kAccents = u"Équipe à domicile";
const std::u16string kCjk = u"試合の記録";
const std::u16string kAstral = u"\U0001F3C6 trophy";
} // namespace

TEST_F(ClipXmlTest, KeywordsAreWrittenByCategoryInOrderAndCaseMakesNoNewCategory)
{
    const auto item = Clip("k.mp4");
    ASSERT_EQ(item->AddKeyword({u"Équipe", u"Rouge"}), S_OK);
    ASSERT_EQ(item->AddKeyword({u"ÉQUIPE", u"Bleu"}), S_OK);
    ASSERT_EQ(item->AddKeyword({u"action", u"Goal"}), S_OK);
    ASSERT_EQ(item->AddKeyword({u"équipe", u"rouge"}), S_OK);
    EXPECT_EQ(item->get_Categories(), (std::vector<std::u16string>{u"action", u"Équipe"}));
    ASSERT_EQ(item->Save(), S_OK);
    EXPECT_EQ(Body(ReadFile(Sidecar("k.mp4"))),
              "<CATEGORIES><CATEGORY name=\"action\">Goal</CATEGORY><CATEGORY name=\"Équipe\">Bleu</CATEGORY>"
              "<CATEGORY name=\"Équipe\">rouge</CATEGORY></CATEGORIES>");
}

TEST_F(ClipXmlTest, EachExtensionKindWritesItsElementsAtTheEnd)
{
    const auto item = Clip("e.mp4");
    Extension<IMDAudioMatrix>(item.Get(), MDTYPE_AudioMatrix)->put_OutputCount(2);
    Extension<IMDDataSource>(item.Get(), MDTYPE_DataSource)->LoadFromXmlText(u"<DataSource><U k=\"1\"/></DataSource>");
    Extension<IMDLibraryItemLink>(item.Get(), MDTYPE_LibraryItemLink)->AddLinkedPath(u"NOTEBOOK", m_dir.U16("x.mp4"), 0);
    Extension<IMDOverlayDrawing>(item.Get(), MDTYPE_OverlayDrawing)->put_Drawing(u"<a>1</a>");
    Marker(item.Get())->put_Title(u"T");
    Extension<IMDDataBlob>(item.Get(), MDTYPE_DataBlob)->SetData(u"key", u"value");
    Extension<IMDMediaSourceInfo>(item.Get(), MDTYPE_MediaSourceInfo)->put_Rotation(VideoRotation90);
    ASSERT_EQ(item->Save(), S_OK);
    EXPECT_EQ(Body(ReadFile(Sidecar("e.mp4"))),
              "<AudioMatrix><Output fl=\"1\"/><Output fr=\"1\"/></AudioMatrix>"
              "<Library.MDLibraryItemLink><Reference Id=\"NOTEBOOK\"><LibraryItem LastKnownLocation=\"./x.mp4\" Index=\"0\"/>"
              "</Reference></Library.MDLibraryItemLink>"
              "<Library.MDProperties><Property Name=\"Title\"><![CDATA[T]]></Property></Library.MDProperties>"
              "<MediaSourceInfo><Rotation Angle=\"90\"/></MediaSourceInfo>"
              "<DataSource><U k=\"1\"/></DataSource>"
              "<OverlayDrawing><![CDATA[<a>1</a>]]></OverlayDrawing>"
              "<Data Id=\"key\"><![CDATA[value]]></Data>");
}

TEST_F(ClipXmlTest, ANewClipHasTheFourKindsMadeOnLoadAndNoOthers)
{
    const auto item = Clip("n.mp4");
    for (const GUID& type : {MDTYPE_AudioMatrix, MDTYPE_LibraryItemLink, MDTYPE_Properties, MDTYPE_MediaSourceInfo})
    {
        ComPtr<IMDExtension> extension;
        EXPECT_EQ(item->GetExtension(type, IID_IMDExtension, reinterpret_cast<void**>(extension.GetAddressOf())), S_OK);
    }
    for (const GUID& type : {MDTYPE_DataSource, MDTYPE_OverlayDrawing, MDTYPE_DataBlob})
    {
        IMDExtension* untouched = reinterpret_cast<IMDExtension*>(0x1);
        EXPECT_EQ(item->GetExtension(type, IID_IMDExtension, reinterpret_cast<void**>(&untouched)), S_FALSE);
        EXPECT_EQ(untouched, reinterpret_cast<IMDExtension*>(0x1));
    }
}

TEST_F(ClipXmlTest, ASavedClipLoadsBackFieldByFieldWithTextOfEveryScript)
{
    const auto media = Media("rt.mp4");
    {
        const auto item = Get(media);
        const auto marker = Marker(item.Get());
        marker->put_Title(kAccents);
        marker->put_Comment(kCjk + u"\r\nline two");
        item->put_Color(u"Color6");
        item->AddKeyword({kCjk, kAstral});
        item->AddKeyword({u"Équipe", kAccents});
        marker->SetCuePoints(123, 456);
        item->put_SynchronizationHandicap(-77);
        ComPtr<ILibraryItemMarker> event;
        marker->CreateMarker(MarkerTypeEvent, event.GetAddressOf());
        event->put_Title(kAstral);
        event->SetCuePoints(10, kTimeNotSet);
        ComPtr<ILibraryItem> eventItem;
        event->QueryInterface(IID_ILibraryItem, reinterpret_cast<void**>(eventItem.GetAddressOf()));
        eventItem->AddKeyword({u"Type", u"Shot; \"on target\""});
        Extension<IMDDataBlob>(item.Get(), MDTYPE_DataBlob)->SetData(kCjk.c_str(), kAstral.c_str());
        ASSERT_EQ(item->Save(), S_OK);
    }
    const auto item = Reload(media);
    const auto marker = Marker(item.Get());
    EXPECT_EQ(marker->get_Title(), kAccents);
    EXPECT_EQ(marker->get_Comment(), kCjk + u"\r\nline two");
    EXPECT_EQ(item->get_Color(), u"Color6");
    EXPECT_EQ(item->GetValuesAsString(kCjk), kAstral);
    EXPECT_EQ(item->GetValueAt(u"ÉQUIPE", 0), kAccents);
    REFERENCE_TIME in = 0, out = 0;
    marker->get_CueIn(&in);
    marker->get_CueOut(&out);
    EXPECT_EQ(in, 123);
    EXPECT_EQ(out, 456);
    EXPECT_EQ(item->get_SynchronizationHandicap(), -77);
    ASSERT_EQ(marker->GetMarkerCount(MarkerTypeEvent), 1);
    const auto event = marker->GetMarkers(MarkerTypeEvent)[0];
    EXPECT_EQ(Marker(event.Get())->get_Title(), kAstral);
    EXPECT_EQ(event->GetValuesAsString(u"Type"), u"\"Shot; \"\"on target\"\"\"");
    BSTR data = nullptr;
    ASSERT_EQ(Extension<IMDDataBlob>(item.Get(), MDTYPE_DataBlob)->GetData(kCjk.c_str(), &data), S_OK);
    EXPECT_EQ(std::u16string(qm::BstrView(data)), kAstral);
    SysFreeString(data);
}

TEST_F(ClipXmlTest, FileFactsAndAttributesOfTheClip)
{
    const auto item = Clip("f.mp4");
    std::uint64_t size = 0;
    EXPECT_EQ(item->get_MediaSize(&size), S_OK);
    EXPECT_EQ(size, 5u);
    EXPECT_EQ(item->get_SidecarSize(&size), S_OK);
    EXPECT_EQ(size, 0u);
    DATE written = 0;
    EXPECT_EQ(item->get_MediaWriteTime(&written), S_OK);
    EXPECT_GT(written, 40000.0);

    ComPtr<Quillmar::Library::Native::ILibraryItemNT> nt;
    item.As(&nt);
    FILETIME first{};
    EXPECT_EQ(nt->get_FirstFrameAbsoluteTime(&first), S_FALSE);
    ASSERT_EQ(nt->put_FirstFrameAbsoluteTime(132223104000000000ull), S_OK); // 2020-01-01
    item->put_SynchronizationHandicap(5);
    std::u16string xml = NodeXml(item.Get());
    EXPECT_NE(xml.find(u"FirstFrameAbsoluteTime=\"2020.01.01T00:00:00.000\""), std::u16string::npos);
    EXPECT_NE(xml.find(u"SynchronizationHandicap=\"5\""), std::u16string::npos);
    nt->put_FirstFrameAbsoluteTime(0);
    item->put_SynchronizationHandicap(0);
    xml = NodeXml(item.Get());
    EXPECT_NE(xml.find(u"FirstFrameAbsoluteTime="), std::u16string::npos);
    EXPECT_EQ(xml.find(u"SynchronizationHandicap="), std::u16string::npos);
}

TEST_F(ClipXmlTest, CopyToGivesTheCopyAndItsMarkersNewIds)
{
    const auto item = Clip("c.mp4");
    ComPtr<ILibraryItemMarker> marker;
    Marker(item.Get())->CreateMarker(MarkerTypeMarker, marker.GetAddressOf());
    marker->SetCuePoints(5, 6);
    ComPtr<ILibraryItem> copy;
    ASSERT_EQ(item->CopyTo(m_dir.U16("copy.mp4").c_str(), copy.GetAddressOf()), S_OK);
    EXPECT_EQ(copy->get_MediaPath(), m_dir.U16("copy.mp4"));
    EXPECT_NE(Marker(copy.Get())->get_ID(), Marker(item.Get())->get_ID());
    const auto copied = Marker(Marker(copy.Get())->GetMarkers(MarkerTypeMarker)[0].Get());
    EXPECT_NE(copied->get_ID(), marker->get_ID());
    REFERENCE_TIME in = 0;
    copied->get_CueIn(&in);
    EXPECT_EQ(in, 5);
}

TEST_F(ClipXmlTest, ResetMetadataDeletesTheSidecarAndStartsOver)
{
    const auto item = Clip("z.mp4");
    item->put_Color(u"Color2");
    item->AddKeyword({u"a", u"b"});
    ASSERT_EQ(item->Save(), S_OK);
    ASSERT_EQ(item->ResetMetadata(), S_OK);
    EXPECT_FALSE(std::filesystem::exists(Sidecar("z.mp4")));
    EXPECT_EQ(item->get_Color(), u"");
    EXPECT_EQ(item->get_MediaPath(), m_dir.U16("z.mp4"));

    // A notebook's file is its own sidecar: the reset is refused and the notebook stays.
    const auto notebook = Get(Media("z.notebook"));
    ASSERT_EQ(notebook->put_Color(u"Color5"), S_OK);
    ASSERT_EQ(notebook->Save(), S_OK);
    const std::string saved = ReadFile(m_dir / "z.notebook");
    LogCapture log;
    EXPECT_EQ(notebook->ResetMetadata(), HRESULT_FROM_WIN32(ERROR_NOT_SUPPORTED));
    EXPECT_EQ(log.Count(2, "Cannot reset the metadata of notebook '" + (m_dir / "z.notebook") + "'"), 1);
    EXPECT_EQ(ReadFile(m_dir / "z.notebook"), saved);
    EXPECT_EQ(notebook->get_Color(), u"Color5");
}

TEST_F(ClipXmlTest, CommitWritesTheSourceOverridesAtOnceAndTellsListeners)
{
    const auto item = Clip("s.mp4");
    const auto info = Extension<IMDMediaSourceInfo>(item.Get(), MDTYPE_MediaSourceInfo);
    int events = 0;
    const MVVM::PropertyEvent<const PROPERTYKEY&>::Handler handler = [&](Object*, const PROPERTYKEY& key) {
        events += key.pid == 0;
    };
    item->get_PropertyChanged().Subscribe(&handler, false);
    ASSERT_EQ(info->put_FlipVertical(true), S_OK);
    ASSERT_EQ(info->Commit(), S_OK);
    item->get_PropertyChanged().Unsubscribe(&handler);
    EXPECT_EQ(events, 1);
    ComPtr<IXMLDOMNode> node;
    ASSERT_EQ(item->GetChildNode(CComBSTR(u"MediaSourceInfo"), node.GetAddressOf()), S_OK);
    EXPECT_FALSE(Quillmar::Library::Native::CLibraryItem::From(item.Get())->IsDirty());
}
