#include "DataAccess/Library/LibraryRepositoryLoader.h"

#include "DataAccess/Library/ClipTestSupport.h"
#include "Support/FaultInjectingFileSystem.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace
{
using Quillmar::Library::Native::LibraryRepositoryLoader;
namespace fs = std::filesystem;

class LibraryRepositoryLoaderTest : public qmtest::ClipTest
{
protected:
    void File(const std::string& relative, const std::string& content = "media")
    {
        fs::create_directories(fs::path(m_dir / relative).parent_path());
        qmtest::WriteFile(m_dir / relative, content);
    }

    // Scans the folders (relative to the test's folder) and gives the items' paths
    // relative to it, in order.
    HRESULT Scan(const std::vector<std::string>& folders, std::vector<std::string>& found,
                 Standard::ManualResetEvent* stop = nullptr)
    {
        std::vector<wstring> roots;
        for (const std::string& folder : folders)
            roots.push_back(m_dir.U16(folder));
        std::vector<ComPtr<ILibraryItem>> items;
        LibraryRepositoryLoader loader(m_factory.Get(), stop);
        const HRESULT hr = loader.Scan(roots, items);
        found.clear();
        const std::size_t prefix = m_dir.U16().size() + 1;
        for (const ComPtr<ILibraryItem>& item : items)
        {
            const fs::path path(item->get_MediaPath());
            found.push_back(path.string().substr(prefix));
        }
        return hr;
    }

    std::vector<std::string> ScanLines() const
    {
        std::vector<std::string> lines;
        for (const std::string& line : m_log.Lines())
            if (line.find("---------->") != std::string::npos)
                lines.push_back(line.substr(line.find("---------->")));
        return lines;
    }

    qmtest::LogCapture m_log;
};

TEST_F(LibraryRepositoryLoaderTest, WalksDepthFirstInTheCaseRulesOrderSkippingHiddenAndUnsupportedEntries)
{
    for (const char* name : {"root/B.mp4", "root/a.MP4", "root/Équipe.mov", "root/ebay.mp4", "root/notes.txt", "root/.hidden.mp4",
                             "root/.cache/in-hidden.mp4", "root/sub/x.mp4", "root/Sub2/y.M4V", "root/b.mp4"})
        File(name);
    File("root/sub/orphan.mp4.quilclip", "<LIBRARY_ITEM/>"); // a sidecar is no item
    fs::create_symlink(m_dir / "root", m_dir / "root/sub/loop");      // a loop must not hold the scan
    fs::create_symlink(m_dir / "root/sub/x.mp4", m_dir / "root/link.mp4");
    fs::create_symlink(m_dir / "root/sub", m_dir / "root/folder-link.mp4");
    fs::create_symlink(m_dir / "nowhere.mp4", m_dir / "root/dangling.mp4");

    std::vector<std::string> found;
    ASSERT_EQ(Scan({"root"}, found), S_OK);
    EXPECT_EQ(found, (std::vector<std::string>{"root/a.MP4", "root/B.mp4", "root/b.mp4", "root/ebay.mp4", "root/link.mp4",
                                               "root/sub/x.mp4", "root/Sub2/y.M4V", "root/Équipe.mov"}));
    const std::string root = (m_dir / "root");
    EXPECT_EQ(ScanLines(), (std::vector<std::string>{"----------> Scan started", "----------> Parsing folder: '" + root + "'",
                                                     "----------> Found 8 library items"}));
}

TEST_F(LibraryRepositoryLoaderTest, NestedAndRepeatedRootsAreVisitedOnceAndMissingOnesAreLogged)
{
    File("a/one.mp4");
    File("a/b/two.mp4");
    File("c/three.mp4");
    std::vector<std::string> found;
    ASSERT_EQ(Scan({"a/b", "c", "missing", "a", "a/./b/.."}, found), S_OK);
    EXPECT_EQ(found, (std::vector<std::string>{"c/three.mp4", "a/b/two.mp4", "a/one.mp4"}));
    EXPECT_EQ(ScanLines()[1], "----------> Parsing folder: '" + (m_dir / "c") + "'");
    EXPECT_EQ(ScanLines()[2], "----------> Parsing folder: '" + (m_dir / "a") + "'");
    EXPECT_EQ(ScanLines()[3], "----------> Parsing folder: '" + (m_dir / "missing") +
                                  "' -> Folder not found, consider removing it to speed-up load time.");
}

TEST_F(LibraryRepositoryLoaderTest, UnreadableFoldersVanishingFilesAndDamagedSidecarsAreNoFailure)
{
    File("root/a/kept.mp4");
    File("root/locked/hidden-by-rights.mp4");
    File("root/z/vanishing.mp4");
    File("root/z/damaged.mp4");
    File("root/z/damaged.mp4.quilclip", "<LIBRARY_ITEM><unclosed>");
    File("root/z/refused.mp4");
    File("root/z/refused.mp4.quilclip", "<LIBRARY_ITEM/>");
    qm::FaultInjectingFileSystem faults(qm::FileSystem());
    qm::ScopedFileSystem scope(faults);
    faults.Fail(qm::FaultInjectingFileSystem::Operation::ListFolder, EACCES, 1, u"locked");
    faults.Before(qm::FaultInjectingFileSystem::Operation::Exists, [&] { fs::remove(m_dir / "root/z/vanishing.mp4"); },
                  u"vanishing.mp4");
    std::vector<std::string> found;
    ASSERT_EQ(Scan({"root"}, found), S_OK);
    // A sidecar that does not parse is left for the clip's save to keep aside, and the
    // clip is listed; one the factory refuses (no version) leaves its clip out.
    EXPECT_EQ(found, (std::vector<std::string>{"root/a/kept.mp4", "root/z/damaged.mp4"}));
}

TEST_F(LibraryRepositoryLoaderTest, AStopEndsTheScanWithAbortAndLeavesTheResultAlone)
{
    File("first/one.mp4");
    File("second/two.mp4");
    File("second/three.mp4");
    Standard::ManualResetEvent stop;
    ASSERT_EQ(stop.Create(), S_OK);
    qm::FaultInjectingFileSystem faults(qm::FileSystem());
    qm::ScopedFileSystem scope(faults);
    faults.Before(qm::FaultInjectingFileSystem::Operation::ListFolder, [&] { stop.Set(); }, u"second");

    std::vector<wstring> roots{m_dir.U16("first"), m_dir.U16("second")};
    std::vector<ComPtr<ILibraryItem>> result(1);
    LibraryRepositoryLoader loader(m_factory.Get(), &stop);
    EXPECT_EQ(loader.Scan(roots, result), E_ABORT);
    ASSERT_EQ(result.size(), 1u);
    EXPECT_EQ(result[0], nullptr);
    const std::vector<std::string> lines = ScanLines();
    ASSERT_GE(lines.size(), 2u);
    EXPECT_EQ(lines[lines.size() - 2], "----------> Parsing returned an error");
    EXPECT_EQ(lines.back(), "----------> Scan aborted");
}
} // namespace
