// The two save routes, their failures, and what each leaves on disk.
#include "DataAccess/Library/ClipTestSupport.h"
#include "Support/ManualClock.h"
#include "Support/FaultInjectingFileSystem.h"
#include "qm/LibrarySettings.h"

#include <cerrno>
#include <filesystem>

using namespace qmtest;
using qm::FaultInjectingFileSystem;
using Op = FaultInjectingFileSystem::Operation;
using Quillmar::Library::Native::LibrarySettings;

namespace
{
class SaveTest : public ClipTest
{
protected:
    void SetUp() override
    {
        ClipTest::SetUp();
        m_item = Clip("a.mp4");
        ASSERT_EQ(m_item->put_Color(u"Color1"), S_OK);
        ASSERT_EQ(m_item->Save(), S_OK);
        m_saved = ReadFile(Sidecar("a.mp4"));
        ASSERT_EQ(m_item->put_Color(u"Color2"), S_OK);
    }
    void TearDown() override
    {
        LibrarySettings::KeepBackupFile(false);
        LibrarySettings::DisableSafeWrite(false);
        ClipTest::TearDown();
    }
    bool Exists(const std::string& suffix) { return std::filesystem::exists(Sidecar("a.mp4") + suffix); }
    std::string Content(const std::string& suffix = {}) { return ReadFile(Sidecar("a.mp4") + suffix); }

    ComPtr<ILibraryItem> m_item;
    std::string m_saved;
    FaultInjectingFileSystem m_faults{qm::FileSystem()};
};

constexpr HRESULT kSharingViolation = static_cast<HRESULT>(0x80070020u);
} // namespace

TEST_F(SaveTest, TheSafeRouteReplacesTheSidecarAndLeavesNoSideFiles)
{
    EXPECT_NE(m_saved.find("Color=\"Color1\""), std::string::npos);
    EXPECT_EQ(m_saved.find("FILE_NAME"), std::string::npos);
    EXPECT_NE(m_saved.find("<TYPE>1</TYPE>"), std::string::npos);
    EXPECT_NE(NodeXml(m_item.Get()).find(u"FILE_NAME"), std::u16string::npos);

    ASSERT_EQ(m_item->Save(), S_OK);
    EXPECT_NE(Content().find("Color=\"Color2\""), std::string::npos);
    EXPECT_FALSE(Exists(".temp"));
    EXPECT_FALSE(Exists(".backup"));
}

TEST_F(SaveTest, KeepBackupFileKeepsTheOldContentAlsoOverAnOldBackup)
{
    LibrarySettings::KeepBackupFile(true);
    WriteFile(Sidecar("a.mp4") + ".backup", "stale");
    ASSERT_EQ(m_item->Save(), S_OK);
    EXPECT_EQ(Content(".backup"), m_saved);
    EXPECT_NE(Content().find("Color2"), std::string::npos);
}

TEST_F(SaveTest, SharingViolationsAreRetriedThreeTimesTwoHundredMillisecondsApart)
{
    qm::ManualClock clock;
    qm::ScopedClock scopedClock(clock);
    qm::ScopedFileSystem scoped(m_faults);
    m_faults.Fail(Op::RenameReplacing, EBUSY, 3);
    EXPECT_EQ(m_item->Save(), S_OK);
    EXPECT_EQ(clock.Sleeps(), (std::vector<std::uint32_t>{200, 200, 200}));
    EXPECT_NE(Content().find("Color2"), std::string::npos);

    m_faults.Fail(Op::RenameReplacing, EBUSY, 4);
    ASSERT_EQ(m_item->put_Color(u"Color3"), S_OK);
    EXPECT_EQ(m_item->Save(), kSharingViolation);
    EXPECT_NE(Content().find("Color2"), std::string::npos);
    EXPECT_TRUE(Exists(".temp"));
}

TEST_F(SaveTest, OtherReplaceFailuresAreNotRetried)
{
    qm::ManualClock clock;
    qm::ScopedClock scopedClock(clock);
    qm::ScopedFileSystem scoped(m_faults);
    m_faults.Fail(Op::RenameReplacing, EIO, 1);
    EXPECT_EQ(m_item->Save(), HRESULT_FROM_WIN32(ERROR_IO_DEVICE));
    EXPECT_TRUE(clock.Sleeps().empty());
    EXPECT_EQ(Content(), m_saved);
}

TEST_F(SaveTest, EveryFailingStepOfTheSafeRouteLeavesTheSidecarWhole)
{
    // Opening, writing, syncing the temporary file, linking the backup, replacing.
    const std::pair<Op, int> steps[] = {{Op::OpenExclusiveWrite, EACCES}, {Op::Write, ENOSPC}, {Op::Fsync, EIO},
                                        {Op::HardLink, EIO}, {Op::RenameReplacing, EIO}};
    for (const auto& [operation, error] : steps)
    {
        FaultInjectingFileSystem faults(qm::FileSystem());
        qm::ScopedFileSystem scoped(faults);
        faults.Fail(operation, error, -1);
        const HRESULT hr = m_item->Save();
        EXPECT_GT(faults.Calls(operation), 0) << static_cast<int>(operation);
        if (operation == Op::HardLink && SUCCEEDED(hr))
            continue; // the backup falls back on a copy
        EXPECT_TRUE(FAILED(hr)) << static_cast<int>(operation);
        EXPECT_EQ(Content(), m_saved) << static_cast<int>(operation);
    }
    EXPECT_EQ(m_item->Save(), S_OK);
    EXPECT_NE(Content().find("Color2"), std::string::npos);
}

TEST_F(SaveTest, TheDirectRouteWritesInPlaceAndAFailureMayCutItShort)
{
    LibrarySettings::DisableSafeWrite(true);
    ASSERT_EQ(m_item->Save(), S_OK);
    EXPECT_NE(Content().find("Color2"), std::string::npos);
    EXPECT_FALSE(Exists(".temp"));

    qm::ScopedFileSystem scoped(m_faults);
    m_faults.Fail(Op::OpenExclusiveWrite, EACCES, 1);
    EXPECT_EQ(m_item->Save(), E_ACCESSDENIED);
}

TEST_F(SaveTest, AReadOnlySidecarFailsTheSaveOnBothRoutesAndStaysAsItWas)
{
    std::filesystem::permissions(Sidecar("a.mp4"), std::filesystem::perms::owner_read);
    EXPECT_TRUE(FAILED(m_item->Save()));
    EXPECT_EQ(Content(), m_saved);
    LibrarySettings::DisableSafeWrite(true);
    EXPECT_TRUE(FAILED(m_item->Save()));
    EXPECT_EQ(Content(), m_saved);
}

TEST_F(SaveTest, SideFilesThatAreLinksElsewhereAreNotWrittenThrough)
{
    const std::string elsewhere = m_dir / "elsewhere.txt";
    WriteFile(elsewhere, "keep");
    std::filesystem::create_symlink(elsewhere, Sidecar("a.mp4") + ".temp");
    m_item->Save();
    EXPECT_EQ(ReadFile(elsewhere), "keep");

    std::filesystem::remove(Sidecar("a.mp4") + ".temp");
    std::filesystem::create_symlink(elsewhere, Sidecar("a.mp4") + ".backup");
    LibrarySettings::KeepBackupFile(true);
    EXPECT_EQ(m_item->Save(), S_OK);
    EXPECT_EQ(ReadFile(elsewhere), "keep");
    EXPECT_FALSE(std::filesystem::is_symlink(Sidecar("a.mp4") + ".backup"));
}

TEST_F(SaveTest, DetachedItemsAndMarkersFlushButDoNotWrite)
{
    ComPtr<ILibraryItem> detached;
    ASSERT_EQ(m_factory->CreateLibraryItem(detached.GetAddressOf()), S_OK);
    EXPECT_EQ(detached->Save(), S_FALSE);

    ComPtr<ILibraryItemMarker> marker;
    ASSERT_EQ(Marker(m_item.Get())->CreateMarker(MarkerTypeMarker, marker.GetAddressOf()), S_OK);
    ComPtr<ILibraryItem> markerItem;
    marker->QueryInterface(IID_ILibraryItem, reinterpret_cast<void**>(markerItem.GetAddressOf()));
    EXPECT_EQ(markerItem->Save(), S_FALSE);
}

TEST_F(SaveTest, ADirtyExtensionKeepsTheClipLoadedThroughUnload)
{
    ComPtr<IMDDataBlob> blob;
    ASSERT_EQ(m_item->GetOrCreateExtension(MDTYPE_DataBlob, IID_IMDDataBlob, reinterpret_cast<void**>(blob.GetAddressOf())),
              S_OK);
    ASSERT_EQ(blob->SetData(u"k", u"v"), S_OK);
    EXPECT_EQ(m_item->Unload(), S_OK);
    EXPECT_NE(NodeXml(m_item.Get()).find(u"Color2"), std::u16string::npos);

    ASSERT_EQ(m_item->Save(), S_OK);
    EXPECT_EQ(m_item->Unload(), S_OK);
    // Unloaded: the unsaved colour change went with the node, the file's content came back.
    EXPECT_EQ(m_item->get_Color(), u"");
    EXPECT_EQ(Marker(m_item.Get())->get_ID().size(), 38u);
}
