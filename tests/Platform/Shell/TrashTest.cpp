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
