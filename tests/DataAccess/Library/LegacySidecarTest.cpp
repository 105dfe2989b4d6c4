// Sidecars of older layouts, written by hand, load as their version says and save in the
// current layout.
#include "DataAccess/Library/ClipTestSupport.h"

using namespace qmtest;

namespace
{
class LegacySidecarTest : public ClipTest
{
protected:
    ComPtr<ILibraryItem> Load(const std::string& sidecarBody, HRESULT expected = S_OK)
    {
        const auto media = Media("old.mp4");
        WriteFile(Sidecar("old.mp4"), sidecarBody);
        ComPtr<ILibraryItem> item;
        EXPECT_EQ(m_factory->GetLibraryItem(media.c_str(), item.GetAddressOf()), expected);
        return item;
    }
    static std::vector<std::u16string> Titles(ILibraryItem* item, std::int32_t type)
    {
        std::vector<std::u16string> titles;
        for (const auto& marker : Marker(item)->GetMarkers(type))
            titles.push_back(Marker(marker.Get())->get_ID().empty() ? u"?" : Marker(marker.Get())->get_Title());
        return titles;
    }
};

const char* kHead = "<LIBRARY_ITEM><NAME>old</NAME><ID>{11111111-2222-3333-4444-555555555555}</ID>";
} // namespace

TEST_F(LegacySidecarTest, ASynchPointAndTaggedItemsBecomeASynchMarkerAndEvents)
{
    const auto item = Load(std::string(kHead) +
                           "<VERSION>2.0</VERSION><SYNCH_POINT POS_IN_MSEC=\"1500\"/>"
                           "<LIBRARY_ITEM _tag=\"true\" NAME=\"Goal\"><ID>{A}</ID>"
                           "<LIBRARY_ITEM _tag=\"true\" NAME=\"Nested\"><ID>{B}</ID></LIBRARY_ITEM></LIBRARY_ITEM>"
                           "<LIBRARY_ITEM _tag=\"false\" NAME=\"Kept\"><ID>{C}</ID></LIBRARY_ITEM>"
                           "</LIBRARY_ITEM>");
    ASSERT_TRUE(item);
    const auto marker = Marker(item.Get());
    ASSERT_EQ(marker->GetMarkerCount(MarkerTypeMarker), 1);
    ComPtr<ILibraryItemMarker> synch;
    ASSERT_EQ(marker->GetSynchMarker(synch.GetAddressOf()), S_OK);
    REFERENCE_TIME in = 0, out = 0;
    EXPECT_EQ(synch->get_CueIn(&in), S_OK);
    EXPECT_EQ(synch->get_CueOut(&out), S_OK);
    EXPECT_EQ(in, 15000000);
    EXPECT_EQ(out, 15000000);
    const auto events = marker->GetMarkers(MarkerTypeEvent);
    ASSERT_EQ(events.size(), 1u);
    const std::u16string xml = NodeXml(item.Get());
    EXPECT_EQ(xml.find(u"SYNCH_POINT"), std::u16string::npos);
    EXPECT_EQ(xml.find(u"_tag=\"true\""), std::u16string::npos);
    EXPECT_NE(xml.find(u"<NAME>Goal</NAME>"), std::u16string::npos);
    EXPECT_NE(xml.find(u"<NAME>Nested</NAME>"), std::u16string::npos);
    EXPECT_NE(xml.find(u"_tag=\"false\""), std::u16string::npos);

    ASSERT_EQ(item->Save(), S_OK);
    const std::string saved = ReadFile(Sidecar("old.mp4"));
    EXPECT_NE(saved.find("<VERSION subversion=\"1\">2.0</VERSION>"), std::string::npos);
    EXPECT_NE(saved.find("ItemType=\"Marker.Event\""), std::string::npos);
    EXPECT_NE(saved.find("SynchMarker=\"yes\""), std::string::npos);
}

TEST_F(LegacySidecarTest, OlderVersionsWithoutASynchPointOnlyChangeTheVersion)
{
    for (const char* version : {"1.0", "2.0"})
    {
        const auto item = Load(std::string(kHead) + "<VERSION>" + version + "</VERSION><LIBRARY_ITEM ItemType=\"Marker\" IN=\"1000\"><ID>{D}</ID></LIBRARY_ITEM></LIBRARY_ITEM>");
        ASSERT_TRUE(item);
        EXPECT_EQ(Marker(item.Get())->GetMarkerCount(MarkerTypeMarker), 1);
        EXPECT_FALSE(Marker(item.Get())->get_IsSynchMarker());
        EXPECT_NE(NodeXml(item.Get()).find(u"<VERSION subversion=\"1\">2.0</VERSION>"), std::u16string::npos) << version;
        m_factory->RemoveFromCache(m_dir.U16("old.mp4"), false);
    }
}

TEST_F(LegacySidecarTest, VersionFourIsRewrittenAndConvertedOnlyWithoutSubversion)
{
    auto item = Load(std::string(kHead) + "<VERSION subversion=\"7\">4.0</VERSION><SYNCH_POINT POS_IN_MSEC=\"-1\"/></LIBRARY_ITEM>");
    ASSERT_TRUE(item);
    EXPECT_EQ(Marker(item.Get())->GetMarkerCount(MarkerTypeMarker), 0);
    EXPECT_NE(NodeXml(item.Get()).find(u"<VERSION subversion=\"1\">2.0</VERSION>"), std::u16string::npos);
    m_factory->RemoveFromCache(m_dir.U16("old.mp4"), false);

    // Without subversion the file goes through the conversion, which takes only "2.0" and
    // "1.0": a "4.0" file keeps its synch point as it is.
    item = Load(std::string(kHead) + "<VERSION>4.0</VERSION><SYNCH_POINT POS_IN_MSEC=\"-1\"/></LIBRARY_ITEM>");
    ASSERT_TRUE(item);
    const std::u16string xml = NodeXml(item.Get());
    EXPECT_NE(xml.find(u"<VERSION subversion=\"1\">2.0</VERSION>"), std::u16string::npos);
    EXPECT_NE(xml.find(u"SYNCH_POINT"), std::u16string::npos);
}

TEST_F(LegacySidecarTest, UnknownOrMissingVersionsDoNotLoad)
{
    Load(std::string(kHead) + "<VERSION>3.0</VERSION></LIBRARY_ITEM>", E_FAIL);
    Load(std::string(kHead) + "<VERSION> 2.0</VERSION></LIBRARY_ITEM>", E_FAIL);
    Load(std::string(kHead) + "</LIBRARY_ITEM>", E_UNEXPECTED);
}

TEST_F(LegacySidecarTest, ADamagedSidecarComesUpEmptyAndIsReplacedByTheNextSave)
{
    const auto item = Load("<LIBRARY_ITEM><NAME>broken");
    ASSERT_TRUE(item);
    EXPECT_EQ(item->get_Name(), u"old");
    EXPECT_EQ(ReadFile(Sidecar("old.mp4")), "<LIBRARY_ITEM><NAME>broken");
    ASSERT_EQ(item->Save(), S_OK);
    EXPECT_NE(ReadFile(Sidecar("old.mp4")).find("<TYPE>1</TYPE>"), std::string::npos);
}

TEST_F(LegacySidecarTest, MillisecondCuesAreRewrittenOnlyAtTheFirstCueChange)
{
    const std::string head = "<LIBRARY_ITEM IN=\"1000\"><NAME>old</NAME><ID>{11111111-2222-3333-4444-555555555555}</ID>";
    const auto reread = Load(head + "<VERSION subversion=\"1\">2.0</VERSION></LIBRARY_ITEM>");
    ASSERT_TRUE(reread);
    const auto marker = Marker(reread.Get());
    REFERENCE_TIME in = 0;
    EXPECT_EQ(marker->get_CueIn(&in), S_OK);
    EXPECT_EQ(in, 10000000);
    EXPECT_NE(NodeXml(reread.Get()).find(u"IN=\"1000\""), std::u16string::npos);
    ASSERT_EQ(marker->put_CueOut(20000000), S_OK);
    const std::u16string xml = NodeXml(reread.Get());
    EXPECT_NE(xml.find(u"IN=\"10000000\""), std::u16string::npos);
    EXPECT_NE(xml.find(u"OUT=\"20000000\""), std::u16string::npos);
    EXPECT_NE(xml.find(u"UNIT=\"RefTime\""), std::u16string::npos);
}
