// What a clip takes from a node it reads: never a path, and nothing an earlier node left in
// memory. Sidecars here are written as another program would write them.
#include "DataAccess/Library/ClipTestSupport.h"

#include <filesystem>

using namespace qmtest;
namespace fs = std::filesystem;
using Quillmar::Library::Native::CLibraryItem;
using Quillmar::Library::Native::IID_ILibraryItemNT;
using Quillmar::Library::Native::ILibraryItemNT;

namespace
{
class ReadFromNodeTest : public ClipTest
{
protected:
    // A current sidecar for the media file, with body inside its LIBRARY_ITEM.
    void WriteSidecar(const std::string& media, const std::string& body, const std::string& attributes = {})
    {
        WriteFile(Sidecar(media), "<LIBRARY_ITEM" + attributes +
                                      "><NAME>x</NAME><ID>{6F1C2A3B-0000-4000-8000-000000000001}</ID>"
                                      "<VERSION subversion=\"1\">2.0</VERSION>" +
                                      body + "</LIBRARY_ITEM>");
    }
    // Makes the factory see the sidecar as another program's new version.
    void Touch(const std::string& media, int seconds = 5)
    {
        fs::last_write_time(Sidecar(media), fs::last_write_time(Sidecar(media)) + std::chrono::seconds(seconds));
    }
    std::vector<std::string> Files()
    {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(m_dir.Path()))
            names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }
    static ComPtr<ILibraryItemNT> NT(ILibraryItem* item)
    {
        ComPtr<ILibraryItemNT> nt;
        item->QueryInterface(IID_ILibraryItemNT, reinterpret_cast<void**>(nt.GetAddressOf()));
        return nt;
    }
};

const std::string kOtherPath = "<FILE_NAME>OTHER</FILE_NAME>";

std::string Naming(const std::string& path)
{
    std::string text = kOtherPath;
    return text.replace(text.find("OTHER"), 5, path);
}
} // namespace

TEST_F(ReadFromNodeTest, APathInASidecarNeitherRedirectsTheClipNorIsWrittenBack)
{
    const std::u16string real = Media("real.mp4");
    Media("other.mp4");
    WriteSidecar("real.mp4",
                 Naming(m_dir / "other.mp4") +
                     "<LIBRARY_ITEM ItemType=\"Marker\"><NAME/><ID>{6F1C2A3B-0000-4000-8000-000000000002}</ID>"
                     "<VERSION subversion=\"1\">2.0</VERSION>" +
                     Naming(m_dir / "other.mp4") + "</LIBRARY_ITEM>");

    const auto item = Get(real);
    EXPECT_EQ(item->get_MediaPath(), real);
    EXPECT_EQ(item->get_SidecarPath(), m_dir.U16("real.mp4.quilclip"));
    const auto markers = Marker(item.Get())->GetMarkers(0);
    ASSERT_EQ(markers.size(), 1u);
    EXPECT_EQ(markers[0]->get_MediaPath(), real);
    // The clip's node names the path it was opened with, once.
    const std::u16string xml = NodeXml(item.Get());
    EXPECT_EQ(xml.find(u"other.mp4"), std::u16string::npos);
    EXPECT_EQ(xml.find(u"<FILE_NAME>"), xml.rfind(u"<FILE_NAME>"));

    ASSERT_EQ(item->put_Color(u"Color2"), S_OK);
    ASSERT_EQ(Marker(markers[0].Get())->put_Title(u"Goal"), S_OK);
    ASSERT_EQ(item->Save(), S_OK);
    ASSERT_EQ(markers[0]->Save(), S_FALSE);
    EXPECT_EQ(Files(), (std::vector<std::string>{"other.mp4", "real.mp4", "real.mp4.quilclip"}));
    const std::string saved = ReadFile(Sidecar("real.mp4"));
    EXPECT_NE(saved.find("Color2"), std::string::npos);
    EXPECT_NE(saved.find("Goal"), std::string::npos);
    EXPECT_EQ(saved.find("FILE_NAME"), std::string::npos);
}

TEST_F(ReadFromNodeTest, NoCopyOfANodeCarriesItsClipsPathAlong)
{
    const auto source = Clip("source.mp4");
    ASSERT_EQ(source->put_Color(u"Color4"), S_OK);
    ASSERT_EQ(source->Save(), S_OK);
    const std::string sourceSidecar = ReadFile(Sidecar("source.mp4"));
    const auto target = Clip("target.mp4");

    // A whole clip copied in as a marker: its FILE_NAME is the source's.
    ComPtr<ILibraryItemMarker> copied;
    ASSERT_EQ(Marker(target.Get())->CopyMarker(Marker(source.Get()).Get(), copied.GetAddressOf()), S_OK);
    ComPtr<ILibraryItem> copiedItem;
    copied.As(&copiedItem);
    EXPECT_EQ(copiedItem->get_MediaPath(), m_dir.U16("target.mp4"));
    ASSERT_EQ(copied->put_Title(u"Copy"), S_OK);
    EXPECT_EQ(copiedItem->Save(), S_FALSE);
    ASSERT_EQ(target->Save(), S_OK);
    EXPECT_EQ(ReadFile(Sidecar("source.mp4")), sourceSidecar);
    const std::string saved = ReadFile(Sidecar("target.mp4"));
    EXPECT_NE(saved.find("Copy"), std::string::npos);
    EXPECT_EQ(saved.find("FILE_NAME"), std::string::npos);
    EXPECT_EQ(saved.find(m_dir / "source.mp4"), std::string::npos);

    // A copy to another path, and the metadata copied between clips, stay where they go.
    ComPtr<ILibraryItem> moved;
    ASSERT_EQ(source->CopyTo(m_dir.U16("moved.mp4").c_str(), moved.GetAddressOf()), S_OK);
    EXPECT_EQ(moved->get_MediaPath(), m_dir.U16("moved.mp4"));
    const auto third = Clip("third.mp4");
    ASSERT_EQ(CopyLibraryItemMetadata(third.Get(), source.Get(), true), S_OK);
    EXPECT_EQ(third->get_MediaPath(), m_dir.U16("third.mp4"));
    EXPECT_EQ(NodeXml(third.Get()).find(m_dir.U16("source.mp4")), std::u16string::npos);
    ASSERT_EQ(third->Save(), S_OK);
    EXPECT_EQ(ReadFile(Sidecar("source.mp4")), sourceSidecar);
}

TEST_F(ReadFromNodeTest, AReloadForgetsWhatTheNewSidecarNoLongerHolds)
{
    const auto item = Clip("r.mp4");
    ASSERT_EQ(item->put_SynchronizationHandicap(70000), S_OK);
    ASSERT_EQ(NT(item.Get())->put_FirstFrameAbsoluteTime(132000000000000000ull), S_OK);
    ASSERT_EQ(Marker(item.Get())->put_IsSynchMarker(true), S_OK);
    ComPtr<ILibraryItemVideo> video;
    item.As(&video);
    ASSERT_EQ(video->put_ThumbnailTime(5000000), S_OK);
    ASSERT_EQ(item->Save(), S_OK);

    // Another program writes the clip again without any of them.
    WriteSidecar("r.mp4", "");
    Touch("r.mp4");
    EXPECT_EQ(Get(m_dir.U16("r.mp4")).Get(), item.Get());
    EXPECT_EQ(item->get_SynchronizationHandicap(), 0);
    FILETIME firstFrame{};
    EXPECT_EQ(NT(item.Get())->get_FirstFrameAbsoluteTime(&firstFrame), S_FALSE);
    EXPECT_FALSE(Marker(item.Get())->get_IsSynchMarker());
    REFERENCE_TIME thumbnail = -1;
    EXPECT_EQ(video->get_ThumbnailTime(&thumbnail), S_FALSE);
    EXPECT_EQ(Marker(item.Get())->get_ID(), u"{6F1C2A3B-0000-4000-8000-000000000001}");
    ASSERT_EQ(item->Save(), S_OK);
    const std::string saved = ReadFile(Sidecar("r.mp4"));
    for (const char* gone : {"SynchronizationHandicap", "FirstFrameAbsoluteTime", "SynchMarker", "Thumbnail"})
        EXPECT_EQ(saved.find(gone), std::string::npos) << gone;
}

TEST_F(ReadFromNodeTest, ANotebooksDurationGoesWithItsFileAndTheHostsStays)
{
    const std::u16string path = m_dir.U16("n.notebook");
    WriteFile(m_dir / "n.notebook", "<LIBRARY_ITEM><NAME>n</NAME><ID>{6F1C2A3B-0000-4000-8000-000000000003}</ID>"
                                    "<VERSION subversion=\"1\">2.0</VERSION><DURATION>1234</DURATION></LIBRARY_ITEM>");
    const auto item = Get(path);
    REFERENCE_TIME duration = 0;
    ASSERT_EQ(NT(item.Get())->get_Duration(&duration), S_OK);
    EXPECT_EQ(duration, 1234);

    const auto rewrite = [&](int seconds) {
        WriteFile(m_dir / "n.notebook", "<LIBRARY_ITEM><NAME>n</NAME><ID>{6F1C2A3B-0000-4000-8000-000000000003}</ID>"
                                        "<VERSION subversion=\"1\">2.0</VERSION></LIBRARY_ITEM>");
        fs::last_write_time(m_dir / "n.notebook", fs::last_write_time(m_dir / "n.notebook") + std::chrono::seconds(seconds));
        Get(path);
    };
    rewrite(5);
    NT(item.Get())->get_Duration(&duration);
    EXPECT_EQ(duration, kTimeNotSet);
    ASSERT_EQ(item->Save(), S_OK);
    EXPECT_EQ(ReadFile(m_dir / "n.notebook").find("DURATION"), std::string::npos);

    ASSERT_EQ(NT(item.Get())->put_Duration(99), S_OK);
    rewrite(10);
    NT(item.Get())->get_Duration(&duration);
    EXPECT_EQ(duration, 99);
}
