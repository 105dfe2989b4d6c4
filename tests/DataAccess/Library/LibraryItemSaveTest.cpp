// The two save routes, their failures, and what each leaves on disk.
#include "DataAccess/Library/ClipTestSupport.h"
#include "Support/ManualClock.h"
#include "Support/FaultInjectingFileSystem.h"
#include "qm/LibrarySettings.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

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

// Runs call; if it is still blocked on the FIFO after a few seconds, opening the FIFO's
// other end again and again lets it go, and it counts as blocked.
template <class Call>
bool ReturnsWithoutBlocking(const std::string& fifo, int otherEnd, Call call)
{
    std::atomic<bool> done{false};
    std::thread watchdog([&] {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
        while (!done && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        while (!done)
        {
            const int fd = ::open(fifo.c_str(), otherEnd | O_NONBLOCK);
            if (fd >= 0)
                ::close(fd);
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    });
    const auto start = std::chrono::steady_clock::now();
    call();
    done = true;
    watchdog.join();
    return std::chrono::steady_clock::now() - start < std::chrono::seconds(5);
}
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

    // A sidecar that is a link is read through it, but never replaced or written through.
    std::filesystem::rename(Sidecar("a.mp4"), elsewhere);
    std::filesystem::create_symlink(elsewhere, Sidecar("a.mp4"));
    const std::string before = ReadFile(elsewhere);
    EXPECT_EQ(m_item->Save(), HRESULT_FROM_WIN32(ERROR_CANT_RESOLVE_FILENAME));
    EXPECT_EQ(ReadFile(elsewhere), before);
    EXPECT_TRUE(std::filesystem::is_symlink(Sidecar("a.mp4")));
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

TEST_F(SaveTest, AnUnreadableSidecarIsKeptBesideItBeforeASaveReplacesIt)
{
    const std::string sidecar = Sidecar("b.mp4");
    const std::string cut = "<LIBRARY_ITEM><NAME>b</NAME><VERSION subvers";
    WriteFile(sidecar, cut);
    ComPtr<ILibraryItem> item = Clip("b.mp4");
    EXPECT_EQ(item->get_Color(), u""); // comes up empty
    ASSERT_EQ(item->put_Color(u"Color4"), S_OK);
    ASSERT_EQ(item->Save(), S_OK);
    EXPECT_EQ(ReadFile(sidecar + ".damaged"), cut);
    EXPECT_NE(ReadFile(sidecar).find("Color4"), std::string::npos);

    // A second damaged file never replaces the first kept one, and a file that parses
    // but holds no clip counts as damaged too.
    WriteFile(sidecar, "<OTHER/>");
    ComPtr<ILibraryItemFactory> factory;
    ASSERT_EQ(CreateLibraryItemFactory(factory.GetAddressOf()), S_OK);
    ComPtr<ILibraryItem> again;
    ASSERT_EQ(factory->GetLibraryItem(m_dir.U16("b.mp4").c_str(), again.GetAddressOf()), S_OK);
    EXPECT_EQ(again->get_Color(), u"");
    ASSERT_EQ(again->Save(), S_OK);
    EXPECT_EQ(ReadFile(sidecar + ".damaged"), cut);
    EXPECT_EQ(ReadFile(sidecar + ".damaged.1"), "<OTHER/>");
    // A sidecar that was read is replaced as always.
    ASSERT_EQ(again->Save(), S_OK);
    EXPECT_FALSE(std::filesystem::exists(sidecar + ".damaged.2"));
    ComPtr<Quillmar::Library::Native::ILibraryItemFactoryEx> ex;
    factory.As(&ex);
    ex->Terminate();
}

TEST_F(SaveTest, SidecarsThatAreNoFilesLoadWithoutBlockingAndAreKept)
{
    // A FIFO as the sidecar: the clip comes up empty at once, and its save sets the FIFO aside.
    const std::string fifo = Sidecar("f.mp4");
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0644), 0);
    ComPtr<ILibraryItem> item;
    EXPECT_TRUE(ReturnsWithoutBlocking(fifo, O_WRONLY, [&] { item = Clip("f.mp4"); }));
    ASSERT_TRUE(item);
    ASSERT_EQ(item->put_Color(u"Color5"), S_OK);
    ASSERT_EQ(item->Save(), S_OK);
    EXPECT_TRUE(std::filesystem::is_fifo(fifo + ".damaged"));
    EXPECT_NE(ReadFile(fifo).find("Color5"), std::string::npos);

    // A link to a device that never ends.
    ASSERT_EQ(::symlink("/dev/zero", Sidecar("z.mp4").c_str()), 0);
    ComPtr<ILibraryItem> zero = Clip("z.mp4");
    ASSERT_TRUE(zero);
    EXPECT_EQ(zero->get_Color(), u"");

    // A FIFO as the temporary file: the save fails at once and the sidecar stays.
    const std::string temp = Sidecar("a.mp4") + ".temp";
    ASSERT_EQ(::mkfifo(temp.c_str(), 0644), 0);
    const auto previous = std::signal(SIGPIPE, SIG_IGN);
    HRESULT hr = S_OK;
    EXPECT_TRUE(ReturnsWithoutBlocking(temp, O_RDONLY, [&] { hr = m_item->Save(); }));
    std::signal(SIGPIPE, previous);
    EXPECT_EQ(hr, HRESULT_FROM_WIN32(ERROR_BAD_FILE_TYPE));
    EXPECT_EQ(Content(), m_saved);
}

TEST_F(SaveTest, AStaleTemporaryFileWithASecondNameIsNeverWrittenInto)
{
    const std::string other = m_dir / "other.txt";
    WriteFile(other, "keep");
    ASSERT_EQ(::link(other.c_str(), (Sidecar("a.mp4") + ".temp").c_str()), 0);
    EXPECT_EQ(m_item->Save(), E_ACCESSDENIED);
    EXPECT_EQ(ReadFile(other), "keep");
    EXPECT_EQ(Content(), m_saved);
}

TEST_F(SaveTest, MediaNamesNearTheLengthLimitSaveAgainAndAgain)
{
    // 246 bytes: the sidecar's name is 255 bytes, the longest there can be.
    const std::string name = std::string(242, 'n') + ".mp4";
    ComPtr<ILibraryItem> item = Clip(name);
    for (const char16_t* color : {u"Color1", u"Color2", u"Color3"})
    {
        ASSERT_EQ(item->put_Color(color), S_OK);
        ASSERT_EQ(item->Save(), S_OK) << std::string(color, color + 6).c_str();
    }
    EXPECT_NE(ReadFile(Sidecar(name)).find("Color3"), std::string::npos);
    // Only the media and its sidecar, no side file left behind.
    int files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(m_dir.Path()))
        files += entry.path().filename().string().starts_with("nnnn");
    EXPECT_EQ(files, 2);
}
