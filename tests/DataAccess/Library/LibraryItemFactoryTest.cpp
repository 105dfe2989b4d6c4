// The factory: one live item per path, sidecars changed by other programs, media that
// goes and comes back, deletes and renames with the side files, and lookups from threads.
#include "DataAccess/Library/ClipTestSupport.h"
#include "Support/FaultInjectingFileSystem.h"
#include "Platform/Shell/Trash.h"
#include "qm/LibrarySettings.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <filesystem>
#include <map>
#include <thread>

using namespace qmtest;
namespace fs = std::filesystem;

namespace
{
class FactoryTest : public ClipTest
{
protected:
    std::string Path(const std::string& name) { return m_dir / name; }
    static std::u16string Xml(const std::string& body)
    {
        return std::u16string(body.begin(), body.end());
    }
    // The names in the folder with their contents, to compare a folder before and after.
    std::map<std::string, std::string> Folder()
    {
        std::map<std::string, std::string> files;
        for (const auto& entry : fs::directory_iterator(m_dir.Path()))
            files[entry.path().filename()] = ReadFile(entry.path());
        return files;
    }
    // Sets a sidecar's write time some seconds away, as another program's save would.
    void Touch(const std::string& name, int seconds)
    {
        fs::last_write_time(Sidecar(name), fs::last_write_time(Sidecar(name)) + std::chrono::seconds(seconds));
    }
};

constexpr HRESULT kMediaNotFound = static_cast<HRESULT>(0x80040383u);
} // namespace

TEST_F(FactoryTest, OnePathIsOneItemAndAnotherSpellingIsAnother)
{
    const auto first = Clip("Game.mp4");
    const auto again = Get(m_dir.U16("Game.mp4"));
    EXPECT_EQ(first.Get(), again.Get());
    const auto other = Clip("game.mp4");
    EXPECT_NE(first.Get(), other.Get());

    ComPtr<ILibraryItem> missing;
    LogCapture log;
    EXPECT_EQ(m_factory->GetLibraryItem(m_dir.U16("none.mp4").c_str(), missing.GetAddressOf()),
              HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(log.Count(1, "File not found '" + Path("none.mp4") + "'"), 1);
}

TEST_F(FactoryTest, ASidecarRewrittenElsewhereIsReloadedUnlessTheItemHasUnsavedChanges)
{
    const auto item = Clip("r.mp4");
    ASSERT_EQ(item->AddKeyword({u"Team", u"Home"}), S_OK);
    ASSERT_EQ(item->Save(), S_OK);

    std::string text = ReadFile(Sidecar("r.mp4"));
    text.replace(text.find("Home"), 4, "Away");
    WriteFile(Sidecar("r.mp4"), text);
    Touch("r.mp4", 5);
    {
        LogCapture log;
        EXPECT_EQ(Get(m_dir.U16("r.mp4")).Get(), item.Get());
        EXPECT_EQ(log.Count(3, "Force loading QUILCLIP for file '" + Path("r.mp4") + "'"), 1);
        EXPECT_EQ(item->GetValuesAsString(u"Team"), u"Away");
        // Unchanged since: no second reload.
        Get(m_dir.U16("r.mp4"));
        EXPECT_EQ(log.Count(3, "Force loading"), 1);
    }

    ASSERT_EQ(item->AddKeyword({u"Team", u"Mine"}), S_OK);
    WriteFile(Sidecar("r.mp4"), text);
    Touch("r.mp4", 10);
    Get(m_dir.U16("r.mp4"));
    EXPECT_EQ(item->GetValuesAsString(u"Team"), u"Away; Mine");
}

TEST_F(FactoryTest, AClipWhoseMediaWentAwayLoadsAgainWhenItIsBack)
{
    const auto item = Clip("gone.mp4");
    ASSERT_EQ(item->put_Color(u"Color3"), S_OK);
    ASSERT_EQ(item->Save(), S_OK);
    ASSERT_EQ(item->Unload(), S_OK);
    fs::rename(Path("gone.mp4"), Path("away.bin"));
    ComPtr<ILibraryItem> again;
    {
        LogCapture log;
        EXPECT_EQ(m_factory->GetLibraryItem(m_dir.U16("gone.mp4").c_str(), again.GetAddressOf()), kMediaNotFound);
        EXPECT_EQ(log.Count(1, "Media file not found: " + Path("gone.mp4")), 1);
    }
    fs::rename(Path("away.bin"), Path("gone.mp4"));
    EXPECT_EQ(m_factory->GetLibraryItem(m_dir.U16("gone.mp4").c_str(), again.GetAddressOf()), S_OK);
    EXPECT_EQ(again.Get(), item.Get());
    EXPECT_EQ(item->get_Color(), u"Color3");
}

TEST_F(FactoryTest, DeleteTakesTheSideFilesAndTheCacheEntry)
{
    const auto item = Clip("d.mp4");
    ASSERT_EQ(item->Save(), S_OK);
    WriteFile(Path("d.mp4.qmidx"), "index");
    ASSERT_EQ(m_factory->DeleteItem(item.Get(), false), S_OK);
    for (const char* file : {"d.mp4", "d.mp4.quilclip", "d.mp4.qmidx"})
        EXPECT_FALSE(fs::exists(Path(file))) << file;
    // A new file of that name is a new item.
    const auto fresh = Clip("d.mp4");
    EXPECT_NE(fresh.Get(), item.Get());
}

TEST_F(FactoryTest, AnUndoableDeleteLandsInTheTrashWhereTrashListFindsIt)
{
    const std::string data = Path("data");
    const char* oldData = std::getenv("XDG_DATA_HOME");
    const std::string saved = oldData ? oldData : "";
    setenv("XDG_DATA_HOME", data.c_str(), 1);
    const auto item = Clip("t.mp4");
    ASSERT_EQ(item->Save(), S_OK);
    EXPECT_EQ(m_factory->DeleteItem(item.Get(), true), S_OK);
    EXPECT_FALSE(fs::exists(Path("t.mp4")));
    EXPECT_TRUE(fs::exists(data + "/Trash/files/t.mp4"));
    EXPECT_TRUE(fs::exists(data + "/Trash/files/t.mp4.quilclip"));
    EXPECT_EQ(ReadFile(data + "/Trash/info/t.mp4.trashinfo").find("[Trash Info]\nPath=" + Path("t.mp4") + "\n"), 0u);

    FILE* pipe = popen(("XDG_DATA_HOME='" + data + "' trash-list 2>/dev/null").c_str(), "r");
    ASSERT_NE(pipe, nullptr);
    std::string listed;
    char buffer[512];
    while (fgets(buffer, sizeof(buffer), pipe))
        listed += buffer;
    pclose(pipe);
    if (saved.empty())
        unsetenv("XDG_DATA_HOME");
    else
        setenv("XDG_DATA_HOME", saved.c_str(), 1);
    EXPECT_NE(listed.find(Path("t.mp4") + "\n"), std::string::npos) << listed;
    EXPECT_NE(listed.find(Path("t.mp4.quilclip") + "\n"), std::string::npos) << listed;
}

TEST_F(FactoryTest, DeleteItemsLeavesReadOnlyClipsAlone)
{
    const auto kept = Clip("ro.mp4");
    const auto gone = Clip("rw.mp4");
    ASSERT_EQ(kept->put_IsReadOnly(true), S_OK);
    EXPECT_TRUE(kept->get_IsReadOnly());
    EXPECT_FALSE(fs::status(Path("ro.mp4")).permissions() == (fs::status(Path("ro.mp4")).permissions() | fs::perms::owner_write));
    std::vector<ILibraryItem*> deleted;
    EXPECT_EQ(m_factory->DeleteItems({kept.Get(), gone.Get(), gone.Get()}, false, deleted), S_OK);
    ASSERT_EQ(deleted.size(), 1u);
    EXPECT_EQ(deleted[0], gone.Get());
    deleted[0]->Release();
    EXPECT_TRUE(fs::exists(Path("ro.mp4")));
    EXPECT_FALSE(fs::exists(Path("rw.mp4")));
    EXPECT_EQ(kept->put_IsReadOnly(false), S_OK);
}

TEST_F(FactoryTest, RenameCarriesTheSideFilesAndKeepsTheCacheRight)
{
    const auto item = Clip("old.mp4");
    ASSERT_EQ(item->put_Color(u"Color5"), S_OK);
    ASSERT_EQ(item->Save(), S_OK);
    WriteFile(Path("old.mp4.qmidx"), "index");
    EXPECT_EQ(m_factory->RenameItem(item.Get(), u"OLD"), S_FALSE);
    EXPECT_EQ(m_factory->RenameItem(item.Get(), u"new"), S_OK);
    for (const char* file : {"new.mp4", "new.mp4.quilclip", "new.mp4.qmidx"})
        EXPECT_TRUE(fs::exists(Path(file))) << file;
    EXPECT_FALSE(fs::exists(Path("OLD.mp4")));
    EXPECT_EQ(item->get_MediaPath(), m_dir.U16("new.mp4"));
    EXPECT_EQ(Get(m_dir.U16("new.mp4")).Get(), item.Get());
    EXPECT_EQ(item->get_Color(), u"Color5");
    EXPECT_EQ(m_factory->RenameItem(item.Get(), u"NEW"), S_FALSE);
}

TEST_F(FactoryTest, RenameNeverReplacesAFileInTheWayAndRefusesReadOnlyClips)
{
    const auto item = Clip("a.mp4");
    WriteFile(Path("b.mp4"), "other");
    EXPECT_TRUE(FAILED(m_factory->RenameItem(item.Get(), u"b")));
    EXPECT_EQ(ReadFile(Path("b.mp4")), "other");
    EXPECT_TRUE(fs::exists(Path("a.mp4")));
    EXPECT_EQ(Get(m_dir.U16("a.mp4")).Get(), item.Get());

    ASSERT_EQ(item->put_IsReadOnly(true), S_OK);
    EXPECT_EQ(m_factory->RenameItem(item.Get(), u"c"), S_FALSE);
    EXPECT_TRUE(fs::exists(Path("a.mp4")));
    item->put_IsReadOnly(false);
}

TEST_F(FactoryTest, RenameChecksEveryNameBeforeMovingAnything)
{
    const auto item = Clip("old.mp4");
    ASSERT_EQ(item->Save(), S_OK);
    WriteFile(Path("old.mp4.qmidx"), "index");
    const auto before = Folder();
    const auto unchanged = [&] {
        EXPECT_EQ(Folder(), before);
        EXPECT_EQ(item->get_MediaPath(), m_dir.U16("old.mp4"));
    };

    for (const char16_t* name : {u"", u".", u"..", u".hidden", u"a/b"})
    {
        EXPECT_EQ(m_factory->RenameItem(item.Get(), name), E_INVALIDARG);
        unchanged();
    }
    EXPECT_EQ(m_factory->RenameItem(item.Get(), nullptr), E_INVALIDARG);

    // A stale side file under the new name, even of a kind the clip lacks, stops the
    // rename before the media moves.
    for (const char* stale : {"new.mp4.quilclip", "new.mp4.qmidx"})
    {
        WriteFile(Path(stale), "stale");
        EXPECT_EQ(m_factory->RenameItem(item.Get(), u"new"), HRESULT_FROM_WIN32(ERROR_ALREADY_EXISTS)) << stale;
        fs::remove(Path(stale));
        unchanged();
    }
    fs::remove(Path("old.mp4.qmidx"));
    WriteFile(Path("new.mp4.qmidx"), "stale");
    EXPECT_EQ(m_factory->RenameItem(item.Get(), u"new"), HRESULT_FROM_WIN32(ERROR_ALREADY_EXISTS));
    fs::remove(Path("new.mp4.qmidx"));
    WriteFile(Path("old.mp4.qmidx"), "index");

    // The media's name fits, its sidecar's would not.
    EXPECT_EQ(m_factory->RenameItem(item.Get(), std::u16string(250, u'n').c_str()),
              HRESULT_FROM_WIN32(ERROR_FILENAME_EXCED_RANGE));
    unchanged();
}

TEST_F(FactoryTest, ARenameThatFailsPartWayPutsEveryFileBack)
{
    using Op = qm::FaultInjectingFileSystem::Operation;
    const auto item = Clip("old.mp4");
    ASSERT_EQ(item->put_Color(u"Color5"), S_OK);
    ASSERT_EQ(item->Save(), S_OK);
    WriteFile(Path("old.mp4.qmidx"), "index");
    const auto before = Folder();
    // Each step fails in turn: the media, the sidecar, the index file.
    for (const char16_t* failing : {u"", u".quilclip", u".qmidx"})
    {
        qm::FaultInjectingFileSystem faults(qm::FileSystem());
        qm::ScopedFileSystem scoped(faults);
        faults.Fail(Op::Rename, EIO, 1, failing);
        EXPECT_TRUE(FAILED(m_factory->RenameItem(item.Get(), u"new")));
        EXPECT_EQ(Folder(), before);
        EXPECT_EQ(item->get_MediaPath(), m_dir.U16("old.mp4"));
        EXPECT_EQ(Get(m_dir.U16("old.mp4")).Get(), item.Get());
        EXPECT_EQ(item->get_Color(), u"Color5");
    }
    EXPECT_EQ(m_factory->RenameItem(item.Get(), u"new"), S_OK);
    EXPECT_EQ(item->get_MediaPath(), m_dir.U16("new.mp4"));
}

TEST_F(FactoryTest, ShellItemsAreFilteredByKind)
{
    Media("s.mp4");
    Media("s.notebook");
    ComPtr<IShellItem> video, notebook;
    ASSERT_EQ(SHCreateItemFromParsingName(m_dir.U16("s.mp4").c_str(), nullptr, IID_IShellItem,
                                          reinterpret_cast<void**>(video.GetAddressOf())), S_OK);
    ASSERT_EQ(SHCreateItemFromParsingName(m_dir.U16("s.notebook").c_str(), nullptr, IID_IShellItem,
                                          reinterpret_cast<void**>(notebook.GetAddressOf())), S_OK);
    ComPtr<ILibraryItem> item;
    EXPECT_EQ(m_factory->GetLibraryItemFromShellItem(video.Get(), item.GetAddressOf(), ItemKindNotebook), S_FALSE);
    EXPECT_FALSE(item);
    EXPECT_EQ(m_factory->GetLibraryItemFromShellItem(video.Get(), item.GetAddressOf(), ItemKindVideo), S_OK);
    EXPECT_EQ(item->get_SidecarPath(), m_dir.U16("s.mp4.quilclip"));

    IShellItem* both[] = {video.Get(), notebook.Get()};
    ComPtr<IShellItemArray> array;
    ASSERT_EQ(SHCreateShellItemArrayFromShellItems(both, 2, array.GetAddressOf()), S_OK);
    ComPtr<ILibraryItemCollection> collection;
    ASSERT_EQ(m_factory->GetItemsFromShellItems(array.Get(), collection.GetAddressOf(), ItemKindNotebook), S_OK);
    std::int32_t count = 0;
    collection->get_Count(&count);
    ASSERT_EQ(count, 1);
    ComPtr<ILibraryItem> notebookItem;
    collection->get_Item(0, notebookItem.GetAddressOf());
    EXPECT_EQ(notebookItem->get_SidecarPath(), m_dir.U16("s.notebook"));
    EXPECT_EQ(m_factory->GetItemsFromShellItems(nullptr, collection.ReleaseAndGetAddressOf(), -1), S_OK);
}

TEST_F(FactoryTest, KindsComeFromTheExtensionIgnoringCase)
{
    EXPECT_EQ(m_factory->GetItemKindOfPath(u"/v/a.MTS"), ItemKindVideo);
    EXPECT_EQ(m_factory->GetItemKindOfPath(u"/v/a.Storyboard"), ItemKindStoryboard);
    EXPECT_EQ(m_factory->GetItemKindOfPath(u"/v/a.avi"), ItemKindUnknown);
    EXPECT_EQ(m_factory->GetItemKindOfExtension(u".qpa"), ItemKindFlash);
    EXPECT_EQ(m_factory->GetItemKindOfExtension(u"qpa"), ItemKindUnknown);
}

TEST_F(FactoryTest, ThreadsLookingUpOverlappingPathsShareOneItemPerPath)
{
    std::vector<std::u16string> paths;
    for (int i = 0; i < 6; ++i)
        paths.push_back(Media("p" + std::to_string(i) + ".mp4"));
    // One slot per lookup; a failed lookup leaves null there, which matches no item.
    std::vector<std::vector<ILibraryItem*>> seen(8, std::vector<ILibraryItem*>(20, nullptr));
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t)
        threads.emplace_back([&, t] {
            for (int round = 0; round < 20; ++round)
            {
                const auto& path = paths[(t + round) % paths.size()];
                ComPtr<ILibraryItem> item;
                if (m_factory->GetLibraryItemEx(path.c_str(), round % 2 == 0, item.GetAddressOf()) == S_OK)
                    seen[t][round] = item.Get();
            }
        });
    for (auto& thread : threads)
        thread.join();
    for (size_t p = 0; p < paths.size(); ++p)
    {
        const auto item = Get(paths[p]);
        for (int t = 0; t < 8; ++t)
            for (int round = 0; round < 20; ++round)
            {
                if ((t + round) % paths.size() == p)
                {
                    EXPECT_EQ(seen[t][round], item.Get()) << "thread " << t << ", round " << round;
                }
            }
    }
}

TEST_F(FactoryTest, CreateNewItemFileReplacesWhatTheProcessKnew)
{
    const auto old = Clip("n.mp4");
    ASSERT_EQ(old->put_Color(u"Color7"), S_OK);
    ASSERT_EQ(old->Save(), S_OK);
    fs::remove(Sidecar("n.mp4"));
    ComPtr<ILibraryItem> fresh;
    ASSERT_EQ(m_factory->CreateNewItemFile(m_dir.U16("n.mp4"), fresh.GetAddressOf()), S_OK);
    EXPECT_NE(fresh.Get(), old.Get());
    EXPECT_EQ(fresh->get_Color(), u"");
    EXPECT_TRUE(fs::exists(Sidecar("n.mp4")));
}

TEST_F(FactoryTest, LinkedItemsComeThroughTheCache)
{
    const auto clip = Clip("main.mp4");
    const auto other = Clip("other.mp4");
    ComPtr<IMDLibraryItemLink> link;
    ASSERT_EQ(clip->GetOrCreateExtension(MDTYPE_LibraryItemLink, IID_IMDLibraryItemLink,
                                         reinterpret_cast<void**>(link.GetAddressOf())),
              S_OK);
    ASSERT_EQ(link->AddLinkedItem(u"NOTEBOOK", other.Get(), 1), S_OK);
    ASSERT_EQ(clip->Save(), S_OK);
    EXPECT_NE(ReadFile(Sidecar("main.mp4")).find("LastKnownLocation=\"./other.mp4\""), std::string::npos);
    const auto linked = link->get_LinkedItems(m_factory.Get(), u"NOTEBOOK", false);
    ASSERT_EQ(linked.size(), 2u);
    EXPECT_FALSE(linked[0]);
    EXPECT_EQ(linked[1].Get(), other.Get());

    // An index far beyond any list, as a damaged file may hold, opens no gap.
    ASSERT_EQ(link->AddLinkedItem(u"FAR", other.Get(), 2000000000), S_OK);
    EXPECT_EQ(link->get_LinkedItems(m_factory.Get(), u"FAR", false).size(), 1u);
}

TEST_F(FactoryTest, SmallObjectsAndValuesOfTheFactory)
{
    ComPtr<IMDDataBlob> blob;
    EXPECT_EQ(m_factory->CreateExtensionObject(MDTYPE_DataBlob, IID_IMDDataBlob, reinterpret_cast<void**>(blob.GetAddressOf())),
              S_OK);
    void* none = nullptr;
    EXPECT_EQ(m_factory->CreateExtensionObject(IID_IUnknown, IID_IUnknown, &none), E_FAIL);

    ComPtr<IDeviceTrack> track;
    ASSERT_EQ(m_factory->CreateDeviceTrack(track.GetAddressOf()), S_OK);
    track->put_Name(u"GPS");
    EXPECT_EQ(track->get_Name(), u"GPS");

    EXPECT_EQ(m_factory->ParseValueList(u"a; \"b;c\";; d\"\"e"), (std::vector<std::u16string>{u"a", u"b;c", u"d\"e"}));

    WCHAR buffer[64];
    EXPECT_EQ(m_factory->GetIndexFilePath(u"/v/a.mpg", buffer, 64), E_UNEXPECTED);
    Quillmar::Library::Native::LibrarySettings::SaveMPEGIndexAsSideCarFile(true);
    EXPECT_EQ(m_factory->GetIndexFilePath(u"/v/a.mpg", buffer, 64), S_OK);
    EXPECT_EQ(std::u16string(buffer), u"/v/a.mpg.qmidx");
    EXPECT_TRUE(FAILED(m_factory->GetIndexFilePath(u"/v/a.mpg", buffer, 8)));
    Quillmar::Library::Native::LibrarySettings::SaveMPEGIndexAsSideCarFile(false);

    EXPECT_EQ(m_factory->CreateRepository(nullptr), E_POINTER);
    EXPECT_EQ(m_factory->CreateQuery(nullptr), E_POINTER);
    EXPECT_EQ(m_factory->StopIndexing(), S_OK);
    EXPECT_EQ(m_factory->ReleaseIndexes(), S_OK);
}

TEST_F(FactoryTest, AChangeWithinTheSecondOfTheLastReadIsSeen)
{
    const auto item = Clip("ns.mp4");
    ASSERT_EQ(item->AddKeyword({u"Team", u"Home"}), S_OK);
    ASSERT_EQ(item->Save(), S_OK);
    struct stat saved{};
    ASSERT_EQ(::stat(Sidecar("ns.mp4").c_str(), &saved), 0);

    // Same size, same file, and a time one nanosecond away: only the full time tells.
    std::string text = ReadFile(Sidecar("ns.mp4"));
    text.replace(text.find("Home"), 4, "Away");
    WriteFile(Sidecar("ns.mp4"), text);
    timespec times[2] = {saved.st_atim, saved.st_mtim};
    times[1].tv_nsec += times[1].tv_nsec < 999999999 ? 1 : -1;
    ASSERT_EQ(::utimensat(AT_FDCWD, Sidecar("ns.mp4").c_str(), times, 0), 0);

    EXPECT_EQ(Get(m_dir.U16("ns.mp4")).Get(), item.Get());
    EXPECT_EQ(item->GetValuesAsString(u"Team"), u"Away");
    ASSERT_EQ(item->put_Color(u"Color1"), S_OK);
    ASSERT_EQ(item->Save(), S_OK);
    EXPECT_NE(ReadFile(Sidecar("ns.mp4")).find("Away"), std::string::npos);
}

TEST_F(FactoryTest, AMarkersNodeAnswersForItsClip)
{
    const auto item = Clip("clip.mp4");
    ComPtr<ILibraryItemMarker> marker;
    ASSERT_EQ(Marker(item.Get())->CreateMarker(0, marker.GetAddressOf()), S_OK);
    ComPtr<IXMLDOMNode> markerNode, clipNode;
    ASSERT_EQ(Quillmar::Library::Native::CLibraryItem::From(marker.Get())->get_NodePrivate(markerNode.GetAddressOf()), S_OK);
    ASSERT_EQ(Quillmar::Library::Native::CLibraryItem::From(item.Get())->get_NodePrivate(clipNode.GetAddressOf()), S_OK);
    for (IXMLDOMNode* node : {markerNode.Get(), clipNode.Get()})
    {
        ComPtr<ILibraryItem> found;
        EXPECT_EQ(m_factory->GetLibraryItemFromNode(node, found.GetAddressOf()), S_OK);
        EXPECT_EQ(found.Get(), item.Get());
    }
}
