// The file system of the library: the Linux implementation, the replace with backup and
// the exclusive write, with failures injected where Linux would need root to show them.
#include "Platform/Kernel/FileSystem.h"

#include "Platform/Com/LastError.h"
#include "Support/FaultInjectingFileSystem.h"
#include "Platform/Kernel/FileApi.h"
#include "Platform/Kernel/LinuxFileSystem.h"
#include "qm/Platform/Kernel/Time.h"
#include "Support/TempDir.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

using qm::FaultInjectingFileSystem;
using Operation = qm::FaultInjectingFileSystem::Operation;

namespace
{
void WriteFile(const std::string& path, const std::string& content)
{
    std::ofstream(path, std::ios::binary) << content;
}

std::string ReadFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::stringstream content;
    content << in.rdbuf();
    return content.str();
}

mode_t Mode(const std::string& path)
{
    struct stat info;
    return ::lstat(path.c_str(), &info) == 0 ? info.st_mode & 07777 : 0;
}

class FileSystemTest : public testing::Test
{
protected:
    std::u16string Path(const std::string& name) const { return m_folder.U16(name); }
    std::string Native(const std::string& name) const { return m_folder / name; }

    qmtest::TempDir m_folder;
    FaultInjectingFileSystem m_faults{qm::LinuxFileSystem::Instance()};
    qm::ScopedFileSystem m_scope{m_faults};
};
} // namespace

TEST_F(FileSystemTest, ReplaceKeepsOldContentInBackupAndNewInPlace)
{
    WriteFile(Native("clip.quilclip"), "old");
    WriteFile(Native("clip.quilclip.temp"), "new");
    WriteFile(Native("clip.quilclip.backup"), "stale");
    ::chmod(Native("clip.quilclip").c_str(), 0640);
    ASSERT_EQ(S_OK, qm::ReplaceFileWithBackup(Path("clip.quilclip"), Path("clip.quilclip.temp"),
                                              Path("clip.quilclip.backup")));
    EXPECT_EQ("new", ReadFile(Native("clip.quilclip")));
    EXPECT_EQ("old", ReadFile(Native("clip.quilclip.backup")));
    EXPECT_EQ(S_FALSE, qm::FileSystem().Exists(Path("clip.quilclip.temp")));
    EXPECT_EQ(0640u, Mode(Native("clip.quilclip")));

    // Where hard links are refused, the backup is a copy.
    WriteFile(Native("clip.quilclip.temp"), "newer");
    m_faults.Fail(Operation::HardLink, EPERM, -1);
    ASSERT_EQ(S_OK, qm::ReplaceFileWithBackup(Path("clip.quilclip"), Path("clip.quilclip.temp"),
                                              Path("clip.quilclip.backup")));
    EXPECT_EQ("newer", ReadFile(Native("clip.quilclip")));
    EXPECT_EQ("new", ReadFile(Native("clip.quilclip.backup")));
    EXPECT_EQ(1, m_faults.Calls(Operation::CopyFile));
}

TEST_F(FileSystemTest, ReplaceIsRefusedOrFailsWithoutLosingTheOldFile)
{
    WriteFile(Native("a"), "old");
    WriteFile(Native("a.temp"), "new");
    // Read-only by the rule: refused, also for root.
    ::chmod(Native("a").c_str(), 0444);
    EXPECT_EQ(E_ACCESSDENIED, qm::ReplaceFileWithBackup(Path("a"), Path("a.temp"), Path("a.backup")));
    EXPECT_EQ(static_cast<DWORD>(ERROR_ACCESS_DENIED), GetLastError());
    EXPECT_EQ("old", ReadFile(Native("a")));
    ::chmod(Native("a").c_str(), 0644);

    // A rename meeting a busy file gives the sharing violation the save retries on.
    m_faults.Fail(Operation::RenameReplacing, EBUSY);
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_SHARING_VIOLATION),
              qm::ReplaceFileWithBackup(Path("a"), Path("a.temp"), Path("a.backup")));
    EXPECT_EQ("old", ReadFile(Native("a")));
    EXPECT_EQ("new", ReadFile(Native("a.temp")));
    // A missing file to replace.
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND),
              qm::ReplaceFileWithBackup(Path("missing"), Path("a.temp"), Path("x.backup")));
    // Without a backup named, none is made.
    ASSERT_EQ(S_OK, qm::ReplaceFileWithBackup(Path("a"), Path("a.temp"), u""));
    EXPECT_EQ("new", ReadFile(Native("a")));
    // Only the attempt that met the busy file made a backup link.
    EXPECT_EQ(1, m_faults.Calls(Operation::HardLink));
}

TEST_F(FileSystemTest, InjectedFailuresMapToTheirResults)
{
    struct Case
    {
        int error;
        HRESULT expected;
    } cases[] = {{ENOENT, HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND)}, {EACCES, E_ACCESSDENIED},
                 {EPERM, E_ACCESSDENIED},
                 {EBUSY, HRESULT_FROM_WIN32(ERROR_SHARING_VIOLATION)},
                 {ENOSPC, HRESULT_FROM_WIN32(ERROR_DISK_FULL)},
                 {EROFS, HRESULT_FROM_WIN32(ERROR_WRITE_PROTECT)},
                 {EEXIST, HRESULT_FROM_WIN32(ERROR_ALREADY_EXISTS)},
                 {ENOTDIR, HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND)},
                 {ENOMEM, HRESULT_FROM_WIN32(ERROR_NOT_ENOUGH_MEMORY)}};
    WriteFile(Native("f"), "x");
    for (const Case& c : cases)
    {
        m_faults.Fail(Operation::DeleteFile, c.error, 1, u"/f");
        SetLastError(0);
        EXPECT_EQ(c.expected, qm::FileSystem().DeleteFile(Path("f"))) << c.error;
        EXPECT_EQ(static_cast<DWORD>(HRESULT_CODE(c.expected)), GetLastError());
        EXPECT_EQ("x", ReadFile(Native("f")));
    }
    // The Windows-named wrappers give FALSE and the same last error.
    m_faults.Fail(Operation::DeleteFile, ENOENT);
    EXPECT_FALSE(DeleteFileW(Path("f").c_str()));
    EXPECT_EQ(static_cast<DWORD>(ERROR_FILE_NOT_FOUND), GetLastError());
    EXPECT_TRUE(DeleteFileW(Path("f").c_str()));
    EXPECT_FALSE(DeleteFileW(Path("f").c_str()));
    EXPECT_EQ(static_cast<DWORD>(ERROR_FILE_NOT_FOUND), GetLastError());

    // Failures limited to a path and a count.
    WriteFile(Native("g"), "x");
    m_faults.Fail(Operation::Exists, EIO, 2, u"/g");
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_IO_DEVICE), qm::FileSystem().Exists(Path("g")));
    EXPECT_EQ(S_FALSE, qm::FileSystem().Exists(Path("other")));
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_IO_DEVICE), qm::FileSystem().Exists(Path("g")));
    EXPECT_EQ(S_OK, qm::FileSystem().Exists(Path("g")));
}

TEST_F(FileSystemTest, ExclusiveWriteRefusesSecondWriterWithoutTruncating)
{
    qm::IFileSystem& fileSystem = qm::FileSystem();
    qm::FileHandle first;
    ASSERT_EQ(S_OK, fileSystem.OpenExclusiveWrite(Path("s"), first));
    ASSERT_EQ(S_OK, fileSystem.Write(first, "content", 7));
    qm::FileHandle second;
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_SHARING_VIOLATION), fileSystem.OpenExclusiveWrite(Path("s"), second));
    EXPECT_FALSE(second.IsOpen());
    EXPECT_EQ("content", ReadFile(Native("s")));
    ASSERT_EQ(S_OK, fileSystem.Fsync(first));
    ASSERT_EQ(S_OK, fileSystem.Close(first));
    // Released: a new writer truncates.
    ASSERT_EQ(S_OK, fileSystem.OpenExclusiveWrite(Path("s"), second));
    EXPECT_EQ("", ReadFile(Native("s")));
    fileSystem.Close(second);

    // Never through a symbolic link; never into a read-only file.
    WriteFile(Native("target"), "keep");
    ASSERT_EQ(0, ::symlink(Native("target").c_str(), Native("link").c_str()));
    EXPECT_TRUE(FAILED(fileSystem.OpenExclusiveWrite(Path("link"), second)));
    EXPECT_EQ("keep", ReadFile(Native("target")));
    ::chmod(Native("target").c_str(), 0444);
    EXPECT_EQ(E_ACCESSDENIED, fileSystem.OpenExclusiveWrite(Path("target"), second));
    EXPECT_EQ("keep", ReadFile(Native("target")));

    // A full disk.
    ASSERT_EQ(S_OK, fileSystem.OpenExclusiveWrite(Path("full"), first));
    m_faults.Fail(Operation::Write, ENOSPC);
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_DISK_FULL), fileSystem.Write(first, "x", 1));
}

TEST_F(FileSystemTest, AttributesReadOnlyRuleAndFolders)
{
    WriteFile(Native("file.mp4"), "12345");
    qm::FileAttributes attributes;
    ASSERT_EQ(S_OK, qm::FileSystem().GetAttributes(Path("file.mp4"), attributes, false));
    EXPECT_EQ(5u, attributes.size);
    EXPECT_FALSE(attributes.readOnly);
    EXPECT_FALSE(attributes.isDirectory);
    EXPECT_NE(0, qm::FileTimeToInt64(attributes.lastWriteTime));
    ASSERT_TRUE(SetFileAttributesW(Path("file.mp4").c_str(), FILE_ATTRIBUTE_READONLY));
    EXPECT_EQ(0444u & Mode(Native("file.mp4")), Mode(Native("file.mp4")));
    EXPECT_TRUE(GetFileAttributesW(Path("file.mp4").c_str()) & FILE_ATTRIBUTE_READONLY);
    ASSERT_TRUE(SetFileAttributesW(Path("file.mp4").c_str(), FILE_ATTRIBUTE_NORMAL));
    EXPECT_TRUE(Mode(Native("file.mp4")) & S_IWUSR);
    EXPECT_EQ(FILE_ATTRIBUTE_NORMAL, GetFileAttributesW(Path("file.mp4").c_str()));
    WriteFile(Native(".hidden"), "");
    EXPECT_TRUE(GetFileAttributesW(Path(".hidden").c_str()) & FILE_ATTRIBUTE_HIDDEN);

    ASSERT_TRUE(CreateDirectoryW(Path("a/b/c").c_str(), nullptr));
    EXPECT_FALSE(CreateDirectoryW(Path("a/b/c").c_str(), nullptr));
    EXPECT_EQ(static_cast<DWORD>(ERROR_ALREADY_EXISTS), GetLastError());
    WriteFile(Native("a/b/c/x"), "");
    EXPECT_FALSE(RemoveDirectoryW(Path("a/b/c").c_str()));
    EXPECT_EQ(static_cast<DWORD>(ERROR_DIR_NOT_EMPTY), GetLastError());
    std::vector<qm::FolderEntry> entries;
    ASSERT_EQ(S_OK, qm::FileSystem().ListFolder(Path("a/b"), entries));
    ASSERT_EQ(1u, entries.size());
    EXPECT_EQ(u"c", entries[0].name);
    EXPECT_TRUE(entries[0].isDirectory);

    // A rename never replaces.
    WriteFile(Native("one"), "1");
    WriteFile(Native("two"), "2");
    EXPECT_FALSE(MoveFileW(Path("one").c_str(), Path("two").c_str()));
    EXPECT_EQ(static_cast<DWORD>(ERROR_ALREADY_EXISTS), GetLastError());
    EXPECT_EQ("2", ReadFile(Native("two")));
    EXPECT_TRUE(MoveFileW(Path("one").c_str(), Path("three").c_str()));

    std::u16string top;
    ASSERT_EQ(S_OK, qm::FileSystem().MountTop(Path("a/b"), top));
    EXPECT_EQ(0u, Path("a/b").find(top == u"/" ? u"/" : top));
    std::uint64_t device = 0, nested = 0;
    ASSERT_EQ(S_OK, qm::FileSystem().Device(Path("a/missing/deeper"), nested));
    ASSERT_EQ(S_OK, qm::FileSystem().Device(Path("a"), device));
    EXPECT_EQ(device, nested);
    // Invalid UTF-16 never reaches the disk.
    EXPECT_EQ(E_INVALIDARG, qm::FileSystem().Exists(std::u16string(1, char16_t(0xD800))));
}

TEST_F(FileSystemTest, LinksCopiesAndNamesThatAreNotText)
{
    qm::IFileSystem& fileSystem = qm::FileSystem();
    // A dangling link exists as a name, and its own attributes can be read.
    ASSERT_EQ(0, ::symlink(Native("nowhere").c_str(), Native("dangling").c_str()));
    EXPECT_EQ(S_OK, fileSystem.Exists(Path("dangling")));
    qm::FileAttributes attributes;
    ASSERT_EQ(S_OK, fileSystem.GetAttributes(Path("dangling"), attributes, true));
    EXPECT_TRUE(attributes.isSymlink);
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND), fileSystem.GetAttributes(Path("dangling"), attributes, false));

    // A copy carries content and permission bits, and never replaces a file.
    WriteFile(Native("source"), "content");
    ::chmod(Native("source").c_str(), 0640);
    ASSERT_EQ(S_OK, fileSystem.CopyFile(Path("source"), Path("copy")));
    EXPECT_EQ("content", ReadFile(Native("copy")));
    EXPECT_EQ(0640u, Mode(Native("copy")));
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_ALREADY_EXISTS), fileSystem.CopyFile(Path("source"), Path("copy")));
    EXPECT_EQ(S_OK, fileSystem.IsFolderWritable(m_folder.U16()));
    EXPECT_EQ(S_FALSE, fileSystem.IsReadOnlyVolume(m_folder.U16()));

    // A name that is not UTF-8 cannot be handed out as text, nor opened again from it.
    WriteFile(Native("plain.mp4"), "");
    WriteFile(Native("bad\xFF.mp4"), "");
    std::vector<qm::FolderEntry> entries;
    ASSERT_EQ(S_OK, fileSystem.ListFolder(m_folder.U16(), entries));
    std::vector<std::u16string> names;
    for (const auto& entry : entries)
        names.push_back(entry.name);
    std::sort(names.begin(), names.end());
    EXPECT_EQ((std::vector<std::u16string>{u"copy", u"dangling", u"plain.mp4", u"source"}), names);
}

TEST_F(FileSystemTest, BackslashBelongsToTheNameAndNulIsRefused)
{
    qm::IFileSystem& fileSystem = qm::FileSystem();
    ASSERT_EQ(0, ::mkdir(Native("a").c_str(), 0755));
    WriteFile(Native("a/b.mp4"), "other");
    WriteFile(Native("a\\b.mp4"), "this");
    ASSERT_EQ(S_OK, fileSystem.DeleteFile(Path("a\\b.mp4")));
    EXPECT_EQ(S_FALSE, fileSystem.Exists(Path("a\\b.mp4")));
    EXPECT_EQ("other", ReadFile(Native("a/b.mp4")));

    // The system call would stop at the NUL and act on clip.mp4.
    WriteFile(Native("clip.mp4"), "media");
    const std::u16string withNul = Path("clip.mp4") + std::u16string(1, u'\0') + u".xml";
    SetLastError(0);
    EXPECT_EQ(E_INVALIDARG, fileSystem.DeleteFile(withNul));
    EXPECT_EQ(static_cast<DWORD>(ERROR_INVALID_NAME), GetLastError());
    EXPECT_EQ(E_INVALIDARG, fileSystem.Rename(withNul, Path("moved.mp4")));
    EXPECT_EQ("media", ReadFile(Native("clip.mp4")));
    std::string native;
    EXPECT_EQ(E_INVALIDARG, qm::ToNativePath(withNul, native));
}

TEST_F(FileSystemTest, FilesThatAreNotRegularAreRefusedWithoutBlocking)
{
    qm::IFileSystem& fileSystem = qm::FileSystem();
    ASSERT_EQ(0, ::mkfifo(Native("fifo").c_str(), 0644));
    qm::FileHandle file;
    // Neither open waits for the other end of the pipe.
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_BAD_FILE_TYPE), fileSystem.OpenRead(Path("fifo"), file));
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_BAD_FILE_TYPE), fileSystem.OpenExclusiveWrite(Path("fifo"), file));
    EXPECT_FALSE(file.IsOpen());
    // A device, also behind a link: never read as a file that does not end.
    ASSERT_EQ(0, ::symlink("/dev/zero", Native("zero").c_str()));
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_BAD_FILE_TYPE), fileSystem.OpenRead(Path("zero"), file));
    std::vector<std::uint8_t> bytes;
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_BAD_FILE_TYPE), fileSystem.ReadWholeFile(Path("zero"), bytes));
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_DIRECTORY), fileSystem.OpenRead(m_folder.U16(), file));

    // A regular file reads as before.
    WriteFile(Native("plain"), "text");
    ASSERT_EQ(S_OK, fileSystem.ReadWholeFile(Path("plain"), bytes));
    EXPECT_EQ("text", std::string(bytes.begin(), bytes.end()));
}

TEST_F(FileSystemTest, ExclusiveWriteNeverTruncatesAFileWithASecondName)
{
    qm::IFileSystem& fileSystem = qm::FileSystem();
    WriteFile(Native("other"), "keep");
    ASSERT_EQ(0, ::link(Native("other").c_str(), Native("stale.temp").c_str()));
    qm::FileHandle file;
    EXPECT_EQ(E_ACCESSDENIED, fileSystem.OpenExclusiveWrite(Path("stale.temp"), file));
    EXPECT_FALSE(file.IsOpen());
    EXPECT_EQ("keep", ReadFile(Native("other")));
    // Once it is the only name, the file is the writer's.
    ASSERT_EQ(0, ::unlink(Native("other").c_str()));
    ASSERT_EQ(S_OK, fileSystem.OpenExclusiveWrite(Path("stale.temp"), file));
    EXPECT_EQ("", ReadFile(Native("stale.temp")));
}

TEST_F(FileSystemTest, ReplaceNeverDeletesTheFileAsItsOwnBackupNorWritesThroughALink)
{
    WriteFile(Native("a"), "old");
    WriteFile(Native("a.temp"), "new");
    // The same name, spelt alike or not.
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_INVALID_PARAMETER), qm::ReplaceFileWithBackup(Path("a"), Path("a.temp"), Path("a")));
    EXPECT_EQ(static_cast<DWORD>(ERROR_INVALID_PARAMETER), GetLastError());
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_INVALID_PARAMETER),
              qm::ReplaceFileWithBackup(Path("a"), Path("a.temp"), Path("./a")));
    EXPECT_EQ("old", ReadFile(Native("a")));
    EXPECT_EQ("new", ReadFile(Native("a.temp")));

    // A replaced file that is a link: refused, the link and its target stay as they were.
    WriteFile(Native("target"), "target");
    ASSERT_EQ(0, ::symlink(Native("target").c_str(), Native("link").c_str()));
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_CANT_RESOLVE_FILENAME),
              qm::ReplaceFileWithBackup(Path("link"), Path("a.temp"), Path("link.backup")));
    EXPECT_EQ("target", ReadFile(Native("target")));
    struct stat info;
    ASSERT_EQ(0, ::lstat(Native("link").c_str(), &info));
    EXPECT_TRUE(S_ISLNK(info.st_mode));
    EXPECT_EQ("new", ReadFile(Native("a.temp")));
}

TEST_F(FileSystemTest, ReplaceMeetingAnotherReplaceOfTheSameFileIsASharingViolation)
{
    WriteFile(Native("a"), "old");
    WriteFile(Native("a.temp"), "new");
    const HRESULT sharing = HRESULT_FROM_WIN32(ERROR_SHARING_VIOLATION);
    // Another writer linked its backup between the delete and the link, or moved a file
    // of the replace away.
    const std::pair<Operation, int> races[] = {
        {Operation::HardLink, EEXIST}, {Operation::RenameReplacing, ENOENT}, {Operation::SetPermissions, ENOENT}};
    for (const auto& [operation, error] : races)
    {
        m_faults.Fail(operation, error);
        SetLastError(0);
        EXPECT_EQ(sharing, qm::ReplaceFileWithBackup(Path("a"), Path("a.temp"), Path("a.backup")))
            << static_cast<int>(operation);
        EXPECT_EQ(static_cast<DWORD>(ERROR_SHARING_VIOLATION), GetLastError());
        EXPECT_EQ("old", ReadFile(Native("a")));
    }
    // Other failures keep their codes.
    m_faults.Fail(Operation::RenameReplacing, EIO);
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_IO_DEVICE), qm::ReplaceFileWithBackup(Path("a"), Path("a.temp"), Path("a.backup")));
    ASSERT_EQ(S_OK, qm::ReplaceFileWithBackup(Path("a"), Path("a.temp"), Path("a.backup")));
    EXPECT_EQ("new", ReadFile(Native("a")));
}
