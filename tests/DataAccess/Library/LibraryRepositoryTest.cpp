#include "DataAccess/Library/ClipTestSupport.h"
#include "Support/FaultInjectingFileSystem.h"

#include "qm/Library/Repository.h"
#include "qm/PersistXML.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <thread>

namespace
{
using Quillmar::Library::Native::ILibraryRepositoryRaw;
using Paths = std::vector<std::u16string>;
namespace fs = std::filesystem;

// The host's callback: takes the result over with EndUpdate on the queue's thread and
// tells the test of the status. The queue's thread may let its last reference go after
// the test has stopped waiting, so it lives on the heap, as a host's does.
class HostCallback final : public Standard::IAsyncCallback
{
public:
    static ComPtr<HostCallback> Make(ILibraryRepositoryRaw* repository)
    {
        ComPtr<HostCallback> callback;
        callback.Attach(new HostCallback(repository));
        return callback;
    }
    HRESULT QueryInterface(REFIID riid, void** ppv) override
    {
        *ppv = riid == IID_IUnknown || riid == Standard::IID_IAsyncCallback ? this : nullptr;
        return *ppv ? (AddRef(), S_OK) : E_NOINTERFACE;
    }
    ULONG AddRef() override { return ++m_count; }
    ULONG Release() override
    {
        const ULONG count = --m_count;
        if (count == 0)
            delete this;
        return count;
    }
    HRESULT Invoke(Standard::IAsyncResult* result) override
    {
        EXPECT_EQ(m_repository->EndUpdate(result), S_OK);
        m_status.set_value(result->get_Status());
        return S_OK;
    }
    HRESULT Wait() { return m_status.get_future().get(); }

private:
    explicit HostCallback(ILibraryRepositoryRaw* repository) : m_repository(repository) {}

    std::atomic<ULONG> m_count{1};
    ILibraryRepositoryRaw* m_repository;
    std::promise<HRESULT> m_status;
};

class LibraryRepositoryTest : public qmtest::ClipTest
{
protected:
    void SetUp() override
    {
        ClipTest::SetUp();
        ASSERT_EQ(m_factory->CreateRepository(m_repository.GetAddressOf()), S_OK);
        ASSERT_EQ(m_repository.As(&m_raw), S_OK);
        ASSERT_EQ(m_repository.As(&m_folders), S_OK);
        m_folders->get_DirectoriesChanged().Subscribe(&m_onChange, false);
    }
    void TearDown() override
    {
        m_folders->get_DirectoriesChanged().Unsubscribe(&m_onChange);
        ClipTest::TearDown();
    }

    void Set(Paths paths) { m_folders->SetDirectories(std::move(paths)); }

    ComPtr<ILibraryItemCollection> Items(ILibraryItemQuery* query = nullptr)
    {
        ComPtr<ILibraryItemCollection> items;
        EXPECT_EQ(m_repository->QueryLibraryItems(query, items.GetAddressOf()), S_OK);
        return items;
    }
    std::vector<std::u16string> ItemPaths(ILibraryItemQuery* query = nullptr)
    {
        std::vector<std::u16string> paths;
        const ComPtr<ILibraryItemCollection> items = Items(query);
        for (ILibraryItem* item : items->get_Items())
            paths.push_back(item->get_MediaPath());
        return paths;
    }

    HRESULT Update()
    {
        const ComPtr<HostCallback> callback = HostCallback::Make(m_raw.Get());
        EXPECT_EQ(m_raw->BeginUpdate(callback.Get(), nullptr), S_OK);
        return callback->Wait();
    }

    // A tree of count clips in folders of a hundred.
    void MakeTree(const std::string& root, int count)
    {
        for (int i = 0; i < count; ++i)
        {
            const fs::path folder = fs::path(m_dir / root) / ("f" + std::to_string(i / 100));
            fs::create_directories(folder);
            qmtest::WriteFile((folder / ("c" + std::to_string(i) + ".mp4")).string(), "m");
        }
    }

    ComPtr<ILibraryRepository> m_repository;
    ComPtr<ILibraryRepositoryRaw> m_raw;
    ComPtr<ILibraryRepositoryCollection> m_folders;
    qmtest::LogCapture m_log;
    int m_changes = 0;
    MVVM::Event::Handler m_onChange = [this](Object*) { ++m_changes; };
};

TEST_F(LibraryRepositoryTest, RootFoldersStayAbsoluteDisjointAndSortedAndTellOfChanges)
{
    Set({u"/c", u"/a/b", u"/a", u"/a/bc"});
    EXPECT_EQ(m_folders->GetDirectories(), (Paths{u"/a", u"/c"}));
    EXPECT_EQ(m_changes, 1);
    Set({u"/c", u"/a"}); // the same list in another order
    EXPECT_EQ(m_changes, 1);
    EXPECT_EQ(m_folders->AddDirectory(u"/a/deep"), S_OK);
    EXPECT_EQ(m_folders->AddDirectory(u"relative"), E_INVALIDARG);
    EXPECT_EQ(m_changes, 1);
    EXPECT_EQ(m_folders->AddDirectory(u"/"), S_OK); // a parent swallows its children
    EXPECT_EQ(m_folders->GetDirectories(), (Paths{u"/"}));
    EXPECT_EQ(m_changes, 2);
    Set({u"relative"});
    EXPECT_EQ(m_folders->GetDirectories(), Paths{});
    EXPECT_EQ(m_changes, 3);
    // Spelled otherwise, a folder under another is still found under it (a fuzzer's find).
    Set({u"/a/./b.k/.~", u"/a/./b.k/./", u"/x//y/"});
    EXPECT_EQ(m_folders->GetDirectories(), (Paths{u"/a/b.k", u"/x/y"}));

    Set({u"/lib/a", u"/lib/B"});
    const std::vector<std::pair<std::u16string, bool>> contained = {
        {u"/lib/a", true}, {u"/lib/a/x.mp4", true}, {u"/lib/a/./x/../y.mp4", true}, {u"/lib//a/y", true},
        {u"/lib/ab/x.mp4", false}, {u"/lib/A/x.mp4", false}, {u"/lib/a/../c.mp4", false}, {u"/lib", false}};
    for (const auto& [path, expected] : contained)
        EXPECT_EQ(m_folders->ContainsPath(path), expected) << std::string(path.begin(), path.end());
    EXPECT_TRUE(m_raw->IsSupportedFile(u"/x/CLIP.MP4"));
    EXPECT_FALSE(m_raw->IsSupportedFile(u"/x/clip.mp4.quilclip"));
}

TEST_F(LibraryRepositoryTest, TheFoldersTravelAsTextAndOnlyARepositoryOfVersionOneLoads)
{
    Set({u"/gone/folder", u"/a & b"});
    ComPtr<IQMPersistXML> persist;
    ASSERT_EQ(m_repository.As(&persist), S_OK);
    CComBSTR text;
    ASSERT_EQ(persist->Save(0, text.GetAddressOf()), S_OK);

    ComPtr<ILibraryRepository> other;
    ASSERT_EQ(m_factory->CreateRepository(other.GetAddressOf()), S_OK);
    ComPtr<IQMPersistXML> otherPersist;
    other.As(&otherPersist);
    ASSERT_EQ(otherPersist->Load(0, text), S_OK);
    ComPtr<ILibraryRepositoryCollection> otherFolders;
    other.As(&otherFolders);
    EXPECT_EQ(otherFolders->GetDirectories(), (Paths{u"/a & b", u"/gone/folder"})); // a missing folder is kept

    const std::vector<std::pair<const char16_t*, HRESULT>> texts = {
        {u"<LibraryRepository Version=\"1.05\"><Directory Path=\"/x\"/><Directory/></LibraryRepository>", S_OK},
        {u"<LibraryRepository Version=\"2.0\"/>", E_FAIL},
        {u"<LibraryRepository/>", E_FAIL},
        {u"<Other Version=\"1.0\"><Directory Path=\"/x\"/></Other>", E_FAIL},
        {u"<LibraryRepository Version=\"1.0\">", E_FAIL},
        {u"", E_FAIL},
    };
    for (const auto& [xml, expected] : texts)
        EXPECT_EQ(otherPersist->Load(0, CComBSTR(xml)), expected) << std::string(xml, xml + std::char_traits<char16_t>::length(xml));
    EXPECT_EQ(otherFolders->GetDirectories(), (Paths{u"/x"}));
}

TEST_F(LibraryRepositoryTest, ItemsOutsideTheRootsAreRefusedAndAPathHasOneEntry)
{
    Set({m_dir.U16("in")});
    fs::create_directories(m_dir / "in");
    const ComPtr<ILibraryItem> outside = Clip("out.mp4");
    ILibraryItem* untouched = reinterpret_cast<ILibraryItem*>(0x1);
    EXPECT_EQ(m_repository->AddLibraryItem(outside.Get(), &untouched), S_FALSE);
    EXPECT_EQ(untouched, reinterpret_cast<ILibraryItem*>(0x1));

    const ComPtr<ILibraryItem> first = Clip("in/a.mp4");
    const ComPtr<ILibraryItem> second = Clip("in/b.mp4");
    ComPtr<ILibraryItem> added;
    EXPECT_EQ(m_repository->AddLibraryItem(first.Get(), added.GetAddressOf()), S_OK);
    EXPECT_EQ(m_repository->AddLibraryItem(second.Get(), added.ReleaseAndGetAddressOf()), S_OK);
    ComPtr<ILibraryItem> again;
    ASSERT_EQ(m_factory->CreateLibraryItem(again.GetAddressOf()), S_OK);
    again->put_MediaPath(first->get_MediaPath(), false);
    EXPECT_EQ(m_repository->AddLibraryItem(again.Get(), added.ReleaseAndGetAddressOf()), S_OK);
    EXPECT_EQ(added, again);
    EXPECT_EQ(Items()->get_Items(), (std::vector<ILibraryItem*>{second.Get(), again.Get()}));

    ComPtr<ILibraryItemQuery> query;
    m_factory->CreateQuery(query.GetAddressOf());
    query->put_SearchText(u"B");
    EXPECT_EQ(ItemPaths(query.Get()), Paths{second->get_MediaPath()});
    EXPECT_EQ(m_repository->RemoveLibraryItem(first.Get()), S_OK);
    EXPECT_EQ(m_repository->RemoveLibraryItem(first.Get()), S_OK);
    EXPECT_EQ(Items()->get_Items(), std::vector<ILibraryItem*>{second.Get()});
    EXPECT_EQ(m_repository->AddLibraryItem(nullptr, &untouched), E_INVALIDARG);
    EXPECT_EQ(m_repository->AddLibraryItem(first.Get(), nullptr), E_POINTER);
    EXPECT_EQ(m_repository->RemoveLibraryItem(nullptr), E_INVALIDARG);
}

TEST_F(LibraryRepositoryTest, AScanFindsTheClipsAndEndUpdateInstallsThem)
{
    qmtest::WriteFile(m_dir / "b.mp4", "m");
    fs::create_directories(m_dir / "sub");
    qmtest::WriteFile(m_dir / "sub/a.MOV", "m");
    Set({m_dir.U16(), m_dir.U16("missing")});
    EXPECT_EQ(Update(), S_OK);
    EXPECT_FALSE(m_raw->get_IsUpdating());
    EXPECT_EQ(ItemPaths(), (Paths{m_dir.U16("b.mp4"), m_dir.U16("sub/a.MOV")}));
    EXPECT_EQ(m_log.Count(3, "----------> The library scan completed in "), 1);
    EXPECT_EQ(m_log.Count(3, "----------> The library repository is updating its content."), 1);
    EXPECT_EQ(m_raw->EndUpdate(nullptr), E_INVALIDARG);
}

TEST_F(LibraryRepositoryTest, AStopEndsALargeScanPromptlyWithAbortAndNoItems)
{
    MakeTree("big", 3000);
    Set({m_dir.U16("big")});
    const ComPtr<HostCallback> callback = HostCallback::Make(m_raw.Get());
    std::atomic<int> looked{0};
    // The host's threads go on using the factory while the scan runs.
    std::vector<std::thread> hosts;
    for (int t = 0; t < 2; ++t)
        hosts.emplace_back([&, t] {
            for (int i = t; i < 400; i += 2)
            {
                ComPtr<ILibraryItem> item;
                const std::u16string path = m_dir.U16("big/f" + std::to_string(i / 100) + "/c" + std::to_string(i) + ".mp4");
                looked += SUCCEEDED(m_factory->GetLibraryItemEx(path.c_str(), false, item.GetAddressOf()));
            }
        });
    // The stop comes when the scan is surely half-way.
    qm::FaultInjectingFileSystem faults(qm::FileSystem());
    qm::ScopedFileSystem scope(faults);
    std::promise<void> halfway;
    faults.Before(qm::FaultInjectingFileSystem::Operation::ListFolder, [&] { halfway.set_value(); }, u"/f15");
    ASSERT_EQ(m_raw->BeginUpdate(callback.Get(), nullptr), S_OK);
    EXPECT_TRUE(m_raw->get_IsUpdating());
    EXPECT_EQ(m_raw->BeginUpdate(callback.Get(), nullptr), S_FALSE);
    for (std::thread& host : hosts)
        host.join();
    halfway.get_future().wait();
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(m_raw->StopUpdate(), S_OK);
    const HRESULT status = callback->Wait();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
    EXPECT_EQ(looked, 400);
    EXPECT_EQ(status, E_ABORT);
    EXPECT_EQ(Items()->get_Items().size(), 0u);
    EXPECT_FALSE(m_raw->get_IsUpdating());
    EXPECT_EQ(m_raw->StopUpdate(), S_OK);
}

TEST_F(LibraryRepositoryTest, ARepositoryReleasedDuringAScanStopsIt)
{
    MakeTree("big", 1000);
    Set({m_dir.U16("big")});
    const ComPtr<HostCallback> callback = HostCallback::Make(m_raw.Get());
    ASSERT_EQ(m_raw->BeginUpdate(callback.Get(), nullptr), S_OK);
    m_folders->get_DirectoriesChanged().Unsubscribe(&m_onChange);
    m_folders.Reset();
    m_raw.Reset();
    m_repository.Reset();
    ASSERT_EQ(m_factory->CreateRepository(m_repository.GetAddressOf()), S_OK);
    m_repository.As(&m_raw);
    m_repository.As(&m_folders);
    m_folders->get_DirectoriesChanged().Subscribe(&m_onChange, false);
}

TEST_F(LibraryRepositoryTest, ResetUsesTheUsersVideosAndNotebooksFolders)
{
    const std::string home = m_dir / "home";
    fs::create_directories(home + "/.config");
    qmtest::WriteFile(home + "/.config/user-dirs.dirs",
                      "# written by xdg-user-dirs-update\nXDG_VIDEOS_DIR=\"$HOME/Films\"\nXDG_DOCUMENTS_DIR=\"/nowhere-" +
                          std::to_string(::getpid()) + "\"\n");
    const char* oldHome = std::getenv("HOME");
    const std::string saved = oldHome ? oldHome : "";
    ::setenv("HOME", home.c_str(), 1);
    ::unsetenv("XDG_CONFIG_HOME");
    Set({u"/before"});
    const int changes = m_changes;
    EXPECT_EQ(m_repository->ResetDirectories(), S_OK);
    // The documents folder cannot be made under "/", so the notebooks folder is left out.
    const bool rootMayWrite = ::access("/", W_OK) == 0;
    if (!rootMayWrite)
        EXPECT_EQ(m_folders->GetDirectories(), Paths{m_dir.U16("home/Films")});
    fs::remove_all("/nowhere-" + std::to_string(::getpid()));

    fs::remove(home + "/.config/user-dirs.dirs");
    EXPECT_EQ(m_repository->ResetDirectories(), S_OK);
    EXPECT_EQ(m_folders->GetDirectories(), (Paths{m_dir.U16("home/Videos"), m_dir.U16("home/Documents/Quillmar/Notebooks")}));
    EXPECT_TRUE(fs::is_directory(home + "/Documents/Quillmar/Notebooks"));
    EXPECT_EQ(m_changes, changes);
    ::setenv("HOME", saved.c_str(), 1);
}
} // namespace
