// Deletes that can be undone: into the home trash or the trash at the top of the mount,
// in the form desktop tools read.
#include "Platform/Shell/Trash.h"

#include "Support/FaultInjectingFileSystem.h"
#include "Platform/Kernel/LinuxFileSystem.h"
#include "Support/TempDir.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace
{
std::string Read(const fs::path& path)
{
    std::stringstream content;
    content << std::ifstream(path).rdbuf();
    return content.str();
}

// Points the home trash into the test's folder for the life of the test.
class TrashTest : public testing::Test
{
protected:
    TrashTest()
    {
        if (const char* old = std::getenv("XDG_DATA_HOME"))
            m_old = old;
        setenv("XDG_DATA_HOME", (m_folder / "data").c_str(), 1);
        fs::create_directories(m_folder.Path() / "media");
    }
    ~TrashTest() override
    {
        if (m_old.empty())
            unsetenv("XDG_DATA_HOME");
        else
            setenv("XDG_DATA_HOME", m_old.c_str(), 1);
    }

    std::u16string MediaFile(const std::string& name, const std::string& content)
    {
        std::ofstream(m_folder.Path() / "media" / name) << content;
        return m_folder.U16("media/" + name);
    }

    qmtest::TempDir m_folder;
    std::string m_old;
};
} // namespace

TEST_F(TrashTest, HomeTrashHoldsTheFileAndItsInfo)
{
    std::u16string trashed;
    ASSERT_EQ(S_OK, qm::Trash::MoveToTrash(MediaFile("Game 1.mp4", "first"), &trashed));
    ASSERT_EQ(S_OK, qm::Trash::MoveToTrash(MediaFile("Game 1.mp4", "second")));
    const fs::path trash = m_folder.Path() / "data" / "Trash";
    EXPECT_FALSE(fs::exists(m_folder.Path() / "media" / "Game 1.mp4"));
    EXPECT_EQ("first", Read(trash / "files" / "Game 1.mp4"));
    EXPECT_EQ("second", Read(trash / "files" / "Game 1.mp4.2"));
    EXPECT_EQ((trash / "files" / "Game 1.mp4").u16string(), trashed);
    const std::string info = Read(trash / "info" / "Game 1.mp4.trashinfo");
    EXPECT_EQ(0u, info.find("[Trash Info]\nPath=" + (m_folder / "media") + "/Game%201.mp4\nDeletionDate=20"));

    // The desktop's own tool finds both and names where they came from.
    const std::string command = "XDG_DATA_HOME='" + (m_folder / "data") + "' trash-list 2>/dev/null";
    FILE* pipe = popen(command.c_str(), "r");
    ASSERT_NE(nullptr, pipe);
    std::string listed;
    char buffer[512];
    while (fgets(buffer, sizeof(buffer), pipe))
        listed += buffer;
    ASSERT_EQ(0, pclose(pipe));
    EXPECT_NE(std::string::npos, listed.find((m_folder / "media") + "/Game 1.mp4\n")) << listed;
    EXPECT_EQ(2, std::count(listed.begin(), listed.end(), '\n')) << listed;
}

TEST_F(TrashTest, OtherDevicesUseTheTrashAtTheTopOfTheirMount)
{
    qm::FaultInjectingFileSystem faults(qm::LinuxFileSystem::Instance());
    qm::ScopedFileSystem scope(faults);
    // The media folder is another mount, whose top is the media folder itself.
    faults.SetDevice(m_folder.U16("media"), 7);
    faults.SetMountTop(m_folder.U16("media"), m_folder.U16("media"));
    const std::string uid = std::to_string(::getuid());

    ASSERT_EQ(S_OK, qm::Trash::MoveToTrash(MediaFile("a.mp4", "a")));
    EXPECT_EQ("a", Read(m_folder.Path() / "media" / (".Trash-" + uid) / "files" / "a.mp4"));

    // A shared .Trash with the sticky bit is used before the private one.
    fs::create_directory(m_folder.Path() / "media" / ".Trash");
    ::chmod((m_folder / "media/.Trash").c_str(), 01777);
    ASSERT_EQ(S_OK, qm::Trash::MoveToTrash(MediaFile("b.mp4", "b")));
    EXPECT_EQ("b", Read(m_folder.Path() / "media" / ".Trash" / uid / "files" / "b.mp4"));

    // Nothing is copied across devices: a rename that cannot be done fails the delete
    // and leaves no info file behind.
    faults.Fail(qm::FaultInjectingFileSystem::Operation::Rename, EXDEV);
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_NOT_SAME_DEVICE), qm::Trash::MoveToTrash(MediaFile("c.mp4", "c")));
    EXPECT_TRUE(fs::exists(m_folder.Path() / "media" / "c.mp4"));
    EXPECT_FALSE(fs::exists(m_folder.Path() / "media" / ".Trash" / uid / "info" / "c.mp4.trashinfo"));
    EXPECT_EQ(E_INVALIDARG, qm::Trash::MoveToTrash(u"relative.mp4"));
}

TEST_F(TrashTest, NamesAreTakenAsTheyStandAndKeptUnique)
{
    const fs::path trash = m_folder.Path() / "data" / "Trash";
    // A backslash belongs to the name: a/b.mp4 is another file and stays.
    fs::create_directories(m_folder.Path() / "media" / "a");
    MediaFile("a/b.mp4", "other");
    std::u16string trashed;
    ASSERT_EQ(S_OK, qm::Trash::MoveToTrash(MediaFile("a\\b.mp4", "this"), &trashed));
    EXPECT_EQ("this", Read(trash / "files" / "a\\b.mp4"));
    EXPECT_EQ("other", Read(m_folder.Path() / "media" / "a" / "b.mp4"));
    // A NUL would end the name at clip.mp4.
    const std::u16string clip = MediaFile("clip.mp4", "media");
    EXPECT_EQ(E_INVALIDARG, qm::Trash::MoveToTrash(clip + std::u16string(1, u'\0') + u".xml"));
    EXPECT_TRUE(fs::exists(m_folder.Path() / "media" / "clip.mp4"));

    // A name that files/ holds without an info file does not block it: the next one is used.
    std::ofstream(trash / "files" / "x.mp4") << "stray";
    ASSERT_EQ(S_OK, qm::Trash::MoveToTrash(MediaFile("x.mp4", "x"), &trashed));
    EXPECT_EQ((trash / "files" / "x.mp4.2").u16string(), trashed);
    EXPECT_EQ("stray", Read(trash / "files" / "x.mp4"));
    EXPECT_FALSE(fs::exists(trash / "info" / "x.mp4.trashinfo"));
    EXPECT_TRUE(fs::exists(trash / "info" / "x.mp4.2.trashinfo"));

    // A name too long for its info file is shortened, keeps its extension and stays unique.
    const std::string longName =
        std::string(120, 'n') + std::string(60, 'e') + "\xC3\xA9" + std::string(60, 'e') + ".mp4";
    ASSERT_EQ(S_OK, qm::Trash::MoveToTrash(MediaFile(longName, "1"), &trashed));
    std::u16string second;
    ASSERT_EQ(S_OK, qm::Trash::MoveToTrash(MediaFile(longName, "2"), &second));
    EXPECT_NE(trashed, second);
    for (const std::u16string& path : {trashed, second})
    {
        const fs::path file(path);
        EXPECT_NE(std::string::npos, file.filename().string().find("e.mp4"));
        EXPECT_LE(file.filename().string().size() + 10, 255u);
        EXPECT_TRUE(fs::exists(trash / "info" / (file.filename().string() + ".trashinfo")));
    }
    EXPECT_EQ("1", Read(trashed));
    EXPECT_EQ("2", Read(second));
}

TEST_F(TrashTest, SymbolicLinkGoesItselfByTheDeviceOfItsFolder)
{
    qm::FaultInjectingFileSystem faults(qm::LinuxFileSystem::Instance());
    qm::ScopedFileSystem scope(faults);
    // The link's target lies on another device (which a device asked through the link
    // reports), whose trash is never asked for.
    fs::create_directories(m_folder.Path() / "other");
    std::ofstream(m_folder.Path() / "other" / "real.mp4") << "real";
    faults.SetDevice(m_folder.U16("other"), 7);
    faults.SetDevice(m_folder.U16("media/link.mp4"), 7);
    faults.Fail(qm::FaultInjectingFileSystem::Operation::MountTop, EIO, -1);
    fs::create_symlink(m_folder.Path() / "other" / "real.mp4", m_folder.Path() / "media" / "link.mp4");
    fs::create_symlink(m_folder.Path() / "nowhere", m_folder.Path() / "media" / "dangling.mp4");

    ASSERT_EQ(S_OK, qm::Trash::MoveToTrash(m_folder.U16("media/link.mp4")));
    ASSERT_EQ(S_OK, qm::Trash::MoveToTrash(m_folder.U16("media/dangling.mp4")));
    const fs::path files = m_folder.Path() / "data" / "Trash" / "files";
    EXPECT_TRUE(fs::is_symlink(files / "link.mp4"));
    EXPECT_TRUE(fs::is_symlink(files / "dangling.mp4"));
    EXPECT_EQ("real", Read(m_folder.Path() / "other" / "real.mp4"));
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND), qm::Trash::MoveToTrash(m_folder.U16("media/gone.mp4")));
}

TEST_F(TrashTest, TrashAtTheTopOfAMountIsTheUsersOwn)
{
    qm::FaultInjectingFileSystem faults(qm::LinuxFileSystem::Instance());
    qm::ScopedFileSystem scope(faults);
    faults.SetDevice(m_folder.U16("media"), 7);
    faults.SetMountTop(m_folder.U16("media"), m_folder.U16("media"));
    const std::string uid = std::to_string(::getuid());
    const fs::path media = m_folder.Path() / "media";
    auto mode = [](const fs::path& path) {
        struct stat info;
        return ::lstat(path.c_str(), &info) == 0 ? info.st_mode & 07777 : 0u;
    };

    // A shared .Trash that is a link is not used, even to a sticky folder; the private
    // trash is made for the user alone.
    fs::create_directory(m_folder.Path() / "sticky");
    ::chmod((m_folder / "sticky").c_str(), 01777);
    fs::create_directory_symlink(m_folder.Path() / "sticky", media / ".Trash");
    ASSERT_EQ(S_OK, qm::Trash::MoveToTrash(MediaFile("a.mp4", "a")));
    EXPECT_EQ("a", Read(media / (".Trash-" + uid) / "files" / "a.mp4"));
    EXPECT_EQ(0700u, mode(media / (".Trash-" + uid)));
    EXPECT_FALSE(fs::exists(m_folder.Path() / "sticky" / uid));

    // A private trash that is a link is refused, and the file stays.
    fs::remove_all(media / (".Trash-" + uid));
    fs::create_directory(m_folder.Path() / "elsewhere");
    fs::create_directory_symlink(m_folder.Path() / "elsewhere", media / (".Trash-" + uid));
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED), qm::Trash::MoveToTrash(MediaFile("b.mp4", "b")));
    EXPECT_TRUE(fs::exists(media / "b.mp4"));
    EXPECT_TRUE(fs::is_empty(m_folder.Path() / "elsewhere"));

    if (::getuid() != 0)
        return;
    // Folders of another user: the shared trash's user folder is passed over, the private
    // one refused.
    fs::remove(media / ".Trash");
    fs::remove(media / (".Trash-" + uid));
    fs::create_directories(media / ".Trash" / uid);
    ::chmod((m_folder / "media/.Trash").c_str(), 01777);
    ASSERT_EQ(0, ::chown((m_folder / ("media/.Trash/" + uid)).c_str(), 4242, 4242));
    ASSERT_EQ(S_OK, qm::Trash::MoveToTrash(media.u16string() + u"/b.mp4"));
    EXPECT_EQ("b", Read(media / (".Trash-" + uid) / "files" / "b.mp4"));
    EXPECT_TRUE(fs::is_empty(media / ".Trash" / uid));
    ASSERT_EQ(0, ::chown((m_folder / ("media/.Trash-" + uid)).c_str(), 4242, 4242));
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED), qm::Trash::MoveToTrash(MediaFile("c.mp4", "c")));
    EXPECT_TRUE(fs::exists(media / "c.mp4"));
}
