// Markers of a clip, and the time arithmetic of clips and markers.
#include "DataAccess/Library/ClipTestSupport.h"
#include "qm/MetadataCore.h"

#include <limits>

using namespace qmtest;

namespace
{
class MarkerTest : public ClipTest
{
protected:
    void SetUp() override
    {
        ClipTest::SetUp();
        m_item = Clip("m.mp4");
        m_clip = Marker(m_item.Get());
    }
    ComPtr<ILibraryItemMarker> Create(std::int32_t type, REFERENCE_TIME in = kTimeNotSet, REFERENCE_TIME out = kTimeNotSet,
                                      const std::u16string& title = {})
    {
        ComPtr<ILibraryItemMarker> marker;
        EXPECT_EQ(m_clip->CreateMarker(type, marker.GetAddressOf()), S_OK);
        marker->SetCuePoints(in, out);
        if (!title.empty())
            marker->put_Title(title);
        return marker;
    }
    std::vector<std::u16string> Titles(std::int32_t type)
    {
        std::vector<std::u16string> titles;
        for (const auto& marker : m_clip->GetMarkers(type))
            titles.push_back(Marker(marker.Get())->get_Title());
        return titles;
    }
    static REFERENCE_TIME CueIn(ILibraryItemMarker* marker)
    {
        REFERENCE_TIME value = 0;
        marker->get_CueIn(&value);
        return value;
    }

    ComPtr<ILibraryItem> m_item;
    ComPtr<ILibraryItemMarker> m_clip;
};

using Names = std::vector<std::u16string>;
} // namespace

TEST_F(MarkerTest, CreateFilesMarkersByTypeAndRefusesUnknownTypes)
{
    Create(MarkerTypeMarker, 1, 2, u"a");
    Create(MarkerTypeEvent, 3, kTimeNotSet, u"b");
    Create(MarkerTypeThumbnail, 4);
    Create(MarkerTypeGameTime, 5, 6, u"d");
    ComPtr<ILibraryItemMarker> refused;
    EXPECT_EQ(m_clip->CreateMarker(4, refused.GetAddressOf()), E_INVALIDARG);
    EXPECT_EQ(m_clip->CreateMarker(-1, refused.GetAddressOf()), E_INVALIDARG);
    for (std::int32_t type = 0; type < 4; ++type)
        EXPECT_EQ(m_clip->GetMarkerCount(type), 1);

    ASSERT_EQ(m_item->Save(), S_OK);
    EXPECT_EQ(
        WithoutIds(ReadFile(Sidecar("m.mp4"))),
        "<LIBRARY_ITEM><NAME>m.mp4</NAME><ID>{ID}</ID><VERSION subversion=\"1\">2.0</VERSION>"
        "<THUMBNAIL_INDEX>0</THUMBNAIL_INDEX>"
        "<LIBRARY_ITEM ItemType=\"Marker\" IN=\"1\" OUT=\"2\" UNIT=\"RefTime\"><NAME/><ID>{ID}</ID>"
        "<VERSION subversion=\"1\">2.0</VERSION><Library.MDProperties><Property Name=\"Title\"><![CDATA[a]]></Property>"
        "</Library.MDProperties></LIBRARY_ITEM>"
        "<LIBRARY_ITEM ItemType=\"Marker.Event\" IN=\"3\" UNIT=\"RefTime\"><NAME/><ID>{ID}</ID>"
        "<VERSION subversion=\"1\">2.0</VERSION><Library.MDProperties><Property Name=\"Title\"><![CDATA[b]]></Property>"
        "</Library.MDProperties></LIBRARY_ITEM>"
        "<LIBRARY_ITEM ItemType=\"Thumbnail\" IN=\"4\" UNIT=\"RefTime\"><NAME/><ID>{ID}</ID>"
        "<VERSION subversion=\"1\">2.0</VERSION></LIBRARY_ITEM>"
        "<LIBRARY_ITEM ItemType=\"GameTime\" IN=\"5\" OUT=\"6\" UNIT=\"RefTime\"><NAME/><ID>{ID}</ID>"
        "<VERSION subversion=\"1\">2.0</VERSION><Library.MDProperties><Property Name=\"Title\"><![CDATA[d]]></Property>"
        "</Library.MDProperties></LIBRARY_ITEM>"
        "<TYPE>1</TYPE></LIBRARY_ITEM>");
}

TEST_F(MarkerTest, AMarkerReadsItsClipsPathAndFallsBackOnItsFileName)
{
    const auto marker = Create(MarkerTypeMarker);
    ComPtr<ILibraryItem> item;
    marker->QueryInterface(IID_ILibraryItem, reinterpret_cast<void**>(item.GetAddressOf()));
    EXPECT_EQ(item->get_MediaPath(), m_item->get_MediaPath());
    EXPECT_EQ(item->get_SidecarPath(), m_item->get_MediaPath() + u".quilclip");
    EXPECT_EQ(marker->get_Title(), u"m");
    std::int32_t root = -1;
    EXPECT_EQ(marker->get_IsRootItem(&root), S_OK);
    EXPECT_EQ(root, 0);
    EXPECT_EQ(m_clip->get_IsRootItem(&root), S_OK);
    EXPECT_EQ(root, 1);
}

TEST_F(MarkerTest, MoveKeepsTheListAndTheXmlInStep)
{
    const auto a = Create(MarkerTypeMarker, 1, kTimeNotSet, u"a");
    const auto b = Create(MarkerTypeMarker, 2, kTimeNotSet, u"b");
    const auto c = Create(MarkerTypeMarker, 3, kTimeNotSet, u"c");
    EXPECT_EQ(m_clip->MoveMarker(MarkerTypeMarker, 1, b.Get()), S_OK);
    EXPECT_EQ(m_clip->MoveMarker(MarkerTypeMarker, 2, b.Get()), S_OK);
    EXPECT_EQ(Titles(MarkerTypeMarker), (Names{u"a", u"b", u"c"}));
    EXPECT_EQ(m_clip->MoveMarker(MarkerTypeMarker, 0, c.Get()), S_OK);
    EXPECT_EQ(Titles(MarkerTypeMarker), (Names{u"c", u"a", u"b"}));
    EXPECT_EQ(m_clip->MoveMarker(MarkerTypeMarker, -1, c.Get()), S_OK);
    EXPECT_EQ(Titles(MarkerTypeMarker), (Names{u"a", u"b", u"c"}));

    // The XML follows: once the markers are flushed, a reload reads the same order.
    NodeXml(m_item.Get());
    EXPECT_EQ(m_item->InvalidateMarkers(), S_OK);
    EXPECT_EQ(Titles(MarkerTypeMarker), (Names{u"a", u"b", u"c"}));
}

TEST_F(MarkerTest, RemovingTheLastMarkerOfATypeErasesItsList)
{
    const auto a = Create(MarkerTypeEvent);
    EXPECT_EQ(m_clip->RemoveMarker(MarkerTypeEvent, a.Get()), S_OK);
    EXPECT_FALSE(m_clip->HasMarkers(MarkerTypeEvent));
    EXPECT_EQ(m_clip->MoveMarker(MarkerTypeEvent, 0, a.Get()), E_UNEXPECTED);
    EXPECT_EQ(m_clip->RemoveMarkers(MarkerTypeEvent), S_FALSE);
    Create(MarkerTypeEvent);
    Create(MarkerTypeEvent);
    EXPECT_EQ(m_clip->RemoveMarkers(MarkerTypeEvent), S_OK);
    EXPECT_EQ(NodeXml(m_item.Get()).find(u"Marker.Event"), std::u16string::npos);

    // Moves and removals do not load the lists.
    const auto b = Create(MarkerTypeEvent);
    m_item->InvalidateMarkers();
    LogCapture log;
    EXPECT_EQ(m_clip->MoveMarker(MarkerTypeEvent, 0, b.Get()), E_UNEXPECTED);
    EXPECT_EQ(m_clip->RemoveMarker(MarkerTypeEvent, b.Get()), E_UNEXPECTED);
    const std::string path = m_dir / "m.mp4";
    EXPECT_EQ(log.Count(2, "Attempting to move a marker in bad context. File path is '" + path + "'"), 1);
    EXPECT_EQ(log.Count(2, "Attempting to remove a marker in bad context. File path is '" + path + "'"), 1);
}

TEST_F(MarkerTest, TheSynchMarkerIsOneAndTheLastSynchMarkerGivesTheThumbnailTime)
{
    const auto a = Create(MarkerTypeMarker, 100);
    const auto b = Create(MarkerTypeMarker, 200);
    const auto c = Create(MarkerTypeMarker, 300);
    REFERENCE_TIME thumbnail = -5;
    // No thumbnail marker, no synch marker: the first marker.
    ComPtr<ILibraryItemVideo> video;
    m_item.As(&video);
    EXPECT_EQ(m_clip->SetSynchMarker(c.Get()), S_OK);
    EXPECT_TRUE(c->get_IsSynchMarker());
    EXPECT_EQ(m_clip->SetSynchMarker(b.Get()), S_OK);
    EXPECT_FALSE(c->get_IsSynchMarker());
    ComPtr<ILibraryItemMarker> synch;
    EXPECT_EQ(m_clip->GetSynchMarker(synch.GetAddressOf()), S_OK);
    EXPECT_EQ(CueIn(synch.Get()), 200);
    // Hand-set flags on two markers: the last one wins.
    c->put_IsSynchMarker(true);
    ASSERT_EQ(m_item->Save(), S_OK);
    m_factory->RemoveFromCache(m_item->get_MediaPath(), false);
    const auto reread = Get(m_item->get_MediaPath());
    reread.As(&video);
    EXPECT_EQ(video->get_ThumbnailTime(&thumbnail), S_OK);
    EXPECT_EQ(thumbnail, 300);
    EXPECT_EQ(m_clip->SetSynchMarker(nullptr), S_OK);
    EXPECT_EQ(m_clip->GetSynchMarker(synch.ReleaseAndGetAddressOf()), S_FALSE);
    EXPECT_NE(NodeXml(m_item.Get()).find(u"SynchMarker=\"no\""), std::u16string::npos);
}

TEST_F(MarkerTest, ThumbnailTimeIsTheCueInOfTheFirstThumbnailMarker)
{
    ComPtr<ILibraryItemVideo> video;
    m_item.As(&video);
    REFERENCE_TIME time = -1;
    EXPECT_EQ(video->get_ThumbnailTime(&time), S_FALSE);
    EXPECT_EQ(time, 0);
    EXPECT_EQ(video->put_ThumbnailTime(42), S_OK);
    EXPECT_EQ(m_clip->GetMarkerCount(MarkerTypeThumbnail), 1);
    EXPECT_EQ(video->put_ThumbnailTime(43), S_OK);
    EXPECT_EQ(m_clip->GetMarkerCount(MarkerTypeThumbnail), 1);
    EXPECT_EQ(video->get_ThumbnailTime(&time), S_OK);
    EXPECT_EQ(time, 43);
}

TEST_F(MarkerTest, CueReadsAndWrites)
{
    REFERENCE_TIME value = -1;
    EXPECT_EQ(m_clip->get_CueIn(&value), S_FALSE);
    EXPECT_EQ(value, 0);
    std::vector<PROPERTYKEY> events;
    const MVVM::PropertyEvent<const PROPERTYKEY&>::Handler handler = [&](Object*, const PROPERTYKEY& key) {
        events.push_back(key);
    };
    m_item->get_PropertyChanged().Subscribe(&handler, false);
    EXPECT_EQ(m_clip->put_CueIn(0), S_OK);
    EXPECT_EQ(m_clip->get_CueIn(&value), S_OK);
    EXPECT_EQ(value, 0);
    EXPECT_EQ(m_clip->put_CueIn(0), S_OK);
    EXPECT_EQ(m_clip->put_CueOut(kTimeOpenEnd), S_OK);
    EXPECT_EQ(m_clip->get_CueOut(&value), S_FALSE);
    EXPECT_EQ(m_clip->SetCuePoints(kTimeNotSet, kTimeNotSet), S_OK);
    m_item->get_PropertyChanged().Unsubscribe(&handler);
    ASSERT_EQ(events.size(), 4u);
    EXPECT_EQ(events[0].pid, PKEY_CueIn.pid);
    EXPECT_EQ(events[0].fmtid, PKEY_CueIn.fmtid);
    EXPECT_EQ(events[1].fmtid, PKEY_CueOut.fmtid);
    const std::u16string xml = NodeXml(m_item.Get());
    EXPECT_EQ(xml.find(u"IN="), std::u16string::npos);
    EXPECT_EQ(xml.find(u"UNIT="), std::u16string::npos);
}

TEST_F(MarkerTest, SpeedFactorScalesAllTimesAndRenewsMarkerIds)
{
    m_clip->SetCuePoints(1000, 3001);
    const auto a = Create(MarkerTypeMarker, 400, 801);
    const std::u16string oldId = a->get_ID();
    EXPECT_EQ(m_item->ApplySpeedFactor(1.0), S_OK);
    EXPECT_EQ(a->get_ID(), oldId);
    EXPECT_EQ(m_item->ApplySpeedFactor(0), E_INVALIDARG);
    EXPECT_EQ(m_item->ApplySpeedFactor(2.0), S_OK);
    REFERENCE_TIME value = 0;
    m_clip->get_CueOut(&value);
    EXPECT_EQ(value, 1500);
    EXPECT_EQ(CueIn(a.Get()), 200);
    a->get_CueOut(&value);
    EXPECT_EQ(value, 400);
    EXPECT_NE(a->get_ID(), oldId);

    ComPtr<ILibraryItem> other;
    m_factory->CreateLibraryItem(other.GetAddressOf());
    EXPECT_EQ(other->ApplySpeedFactor(2.0), E_UNEXPECTED);
}

TEST_F(MarkerTest, TrimKeepsMarkersOnTheLimitsAndDropsThoseOutside)
{
    Create(MarkerTypeMarker, 100, 200, u"on the limits");
    Create(MarkerTypeMarker, 99, 150, u"one before");
    Create(MarkerTypeMarker, 150, 201, u"one after");
    Create(MarkerTypeEvent, 250, kTimeNotSet, u"cue in alone after the end");
    Create(MarkerTypeEvent, 50, kTimeNotSet, u"cue in alone before");
    EXPECT_EQ(m_item->ApplyTrim(100, 200, 101, 300), E_INVALIDARG);
    EXPECT_EQ(m_item->ApplyTrim(100, 200, 50, 150), E_INVALIDARG);
    EXPECT_EQ(m_item->ApplyTrim(100, 200, 50, 300), S_OK);
    EXPECT_EQ(Titles(MarkerTypeMarker), (Names{u"on the limits"}));
    EXPECT_EQ(Titles(MarkerTypeEvent), (Names{u"cue in alone after the end"}));
    EXPECT_EQ(CueIn(Marker(m_clip->GetMarkers(MarkerTypeMarker)[0].Get()).Get()), 50);
    REFERENCE_TIME value = 0;
    m_clip->get_CueIn(&value);
    EXPECT_EQ(value, 50);
    m_clip->get_CueOut(&value);
    EXPECT_EQ(value, 150);
    EXPECT_EQ(NodeXml(m_item.Get()).find(u"one before"), std::u16string::npos);
}

TEST_F(MarkerTest, TimesThatWouldLeaveTheRangeRefuseTheWholeRewrite)
{
    constexpr REFERENCE_TIME kMax = INT64_MAX;
    constexpr REFERENCE_TIME kMin = INT64_MIN + 1;
    m_clip->SetCuePoints(1000, 3000);
    const auto a = Create(MarkerTypeMarker, 400, 800);
    const std::u16string id = a->get_ID();
    const std::u16string before = NodeXml(m_item.Get());
    const auto unchanged = [&] {
        EXPECT_EQ(NodeXml(m_item.Get()), before);
        EXPECT_EQ(a->get_ID(), id);
    };

    // 1000 / 1e-300 and every quotient beyond 2^63 has no time.
    for (const double factor : {1e-300, 1e-16, std::numeric_limits<double>::denorm_min()})
    {
        EXPECT_EQ(m_item->ApplySpeedFactor(factor), E_INVALIDARG) << factor;
        unchanged();
    }
    EXPECT_EQ(m_item->ApplySpeedFactor(std::numeric_limits<double>::quiet_NaN()), E_INVALIDARG);
    // A marker alone out of range is enough.
    const auto far = Create(MarkerTypeEvent, kMax - 1, kTimeNotSet);
    const std::u16string withFar = NodeXml(m_item.Get());
    EXPECT_EQ(m_item->ApplySpeedFactor(0.5), E_INVALIDARG);
    EXPECT_EQ(NodeXml(m_item.Get()), withFar);
    ASSERT_EQ(m_clip->RemoveMarker(MarkerTypeEvent, far.Get()), S_OK);
    EXPECT_EQ(m_item->ApplySpeedFactor(std::numeric_limits<double>::infinity()), S_OK);
    EXPECT_EQ(CueIn(a.Get()), 0);

    // A cut whose section, or a kept marker, lies beyond the range of times from the new start.
    m_clip->SetCuePoints(1000, 3000);
    const auto b = Create(MarkerTypeMarker, kMax - 1, kTimeNotSet, u"far");
    const std::u16string beforeTrim = NodeXml(m_item.Get());
    EXPECT_EQ(m_item->ApplyTrim(0, kMax, kMin, kMax), E_INVALIDARG);
    EXPECT_EQ(m_item->ApplyTrim(0, 10, -10, 20), E_INVALIDARG);
    EXPECT_EQ(m_item->ApplyTrim(kMin, kMin, kMin, kMax), S_OK);
    EXPECT_EQ(NodeXml(m_item.Get()).find(u"far"), std::u16string::npos);
    EXPECT_NE(beforeTrim, NodeXml(m_item.Get()));
}

TEST_F(MarkerTest, TrimReplacesTheDataSourceByACloneThatCarriesTheRange)
{
    ComPtr<IMDDataSource> source;
    ASSERT_EQ(m_item->GetOrCreateExtension(MDTYPE_DataSource, IID_IMDDataSource, reinterpret_cast<void**>(source.GetAddressOf())),
              S_OK);
    ASSERT_EQ(source->LoadFromXmlText(u"<DataSource><Unit a=\"1\"/></DataSource>"), S_OK);
    ASSERT_EQ(m_item->ApplyTrim(100, 200, 50, 300), S_OK);
    ComPtr<IMDDataSource> trimmed;
    ASSERT_EQ(m_item->GetExtension(MDTYPE_DataSource, IID_IMDDataSource, reinterpret_cast<void**>(trimmed.GetAddressOf())),
              S_OK);
    EXPECT_NE(trimmed.Get(), source.Get());
    ComPtr<qm_mdc::IDataSourceUnitMgrCtrl> manager;
    ASSERT_EQ(trimmed->QueryManager(qm_mdc::IID_IDataSourceUnitMgrCtrl, reinterpret_cast<void**>(manager.GetAddressOf())), S_OK);
    REFERENCE_TIME start = 0, end = 0;
    EXPECT_EQ(manager->GetRangeStart(&start), S_OK);
    EXPECT_EQ(manager->GetRangeEnd(&end), S_OK);
    EXPECT_EQ(start, 50);
    EXPECT_EQ(end, 300);
    ASSERT_EQ(m_item->Save(), S_OK);
    const std::string saved = ReadFile(Sidecar("m.mp4"));
    EXPECT_NE(saved.find("RangeStart=\"50\""), std::string::npos);
    EXPECT_NE(saved.find("<Unit a=\"1\"/>"), std::string::npos);
}

TEST_F(MarkerTest, CopyMarkerAndCloneMakeNewIdentities)
{
    const auto a = Create(MarkerTypeEvent, 7, 9, u"source");
    a->put_AudioAnnotationPath(m_dir.U16("note.wav").c_str());
    const auto otherClip = Marker(Clip("o.mp4").Get());
    ComPtr<ILibraryItemMarker> copy;
    ASSERT_EQ(otherClip->CopyMarker(a.Get(), copy.GetAddressOf()), S_OK);
    EXPECT_NE(copy->get_ID(), a->get_ID());
    EXPECT_EQ(copy->get_Title(), u"source");
    EXPECT_EQ(CueIn(copy.Get()), 7);
    EXPECT_EQ(otherClip->GetMarkerCount(MarkerTypeEvent), 1);
    EXPECT_EQ(copy->get_AudioAnnotationPath(), std::optional<std::u16string>(m_dir.U16("note.wav")));

    ComPtr<ILibraryItemMarker> clone;
    ASSERT_EQ(a->Clone(clone.GetAddressOf()), S_OK);
    EXPECT_NE(clone->get_ID(), a->get_ID());
    EXPECT_EQ(clone->get_Title(), u"source");
    EXPECT_FALSE(m_clip->ContainsMarker(MarkerTypeEvent, clone.Get()));
    EXPECT_TRUE(m_clip->ContainsMarker(MarkerTypeEvent, a.Get()));
}

TEST_F(MarkerTest, RemovingTheAudioAnnotationDeletesItsFile)
{
    const auto a = Create(MarkerTypeMarker);
    WriteFile(m_dir / "note.wav", "audio");
    EXPECT_EQ(a->RemoveAudioAnnotation(), S_FALSE);
    ASSERT_EQ(a->put_AudioAnnotationPath(m_dir.U16("note.wav").c_str()), S_OK);
    EXPECT_EQ(a->RemoveAudioAnnotation(), S_OK);
    EXPECT_FALSE(std::filesystem::exists(m_dir / "note.wav"));
    EXPECT_FALSE(a->get_AudioAnnotationPath().has_value());
}

TEST_F(MarkerTest, UnknownItemTypesSurviveLoadAndSave)
{
    const auto media = Media("u.mp4");
    WriteFile(Sidecar("u.mp4"),
              "<LIBRARY_ITEM><NAME>u</NAME><ID>{00000000-0000-0000-0000-000000000001}</ID>"
              "<VERSION subversion=\"1\">2.0</VERSION>"
              "<LIBRARY_ITEM ItemType=\"Marker.Future\"><ID>{X}</ID></LIBRARY_ITEM></LIBRARY_ITEM>");
    const auto item = Get(media);
    for (std::int32_t type = 0; type < 4; ++type)
        EXPECT_EQ(Marker(item.Get())->GetMarkerCount(type), 0);
    ASSERT_EQ(item->put_Color(u"Color4"), S_OK);
    ASSERT_EQ(item->Save(), S_OK);
    EXPECT_NE(ReadFile(Sidecar("u.mp4")).find("ItemType=\"Marker.Future\""), std::string::npos);
}

TEST_F(MarkerTest, ColoursByName)
{
    EXPECT_EQ(ILibraryItemMarker::GetColorAsCOLORREF(u"Color1"), 0x0000369Eu);
    EXPECT_EQ(ILibraryItemMarker::GetColorAsCOLORREF(u"Color8"), 0x00626262u);
    EXPECT_EQ(ILibraryItemMarker::GetColorAsCOLORREF(u"color1"), 0u);
    EXPECT_EQ(ILibraryItemMarker::GetColorAsCOLORREF(u""), 0u);
}
