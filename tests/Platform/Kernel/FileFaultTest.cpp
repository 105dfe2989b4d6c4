// Each file-system call of the kernel wrappers, failed where they make it: the caller gets
// the error, and nothing on disk has changed.
#include "Platform/Com/LastError.h"
#include "Platform/Kernel/FileApi.h"
#include "Platform/Kernel/FileSystem.h"
#include "Platform/Kernel/LinuxFileSystem.h"
#include "Platform/Kernel/Path.h"
#include "Support/FaultInjectingFileSystem.h"
#include "Support/TempDir.h"
#include "qm/Platform/Com/ComPtr.h"
#include "qm/Platform/Com/Stream.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/stat.h>

using Operation = qm::FaultInjectingFileSystem::Operation;
namespace fs = std::filesystem;

namespace
{
constexpr HRESULT kIoError = HRESULT_FROM_WIN32(ERROR_IO_DEVICE);

class FileFaultTest : public testing::Test
{
protected:
    std::u16string Path(const std::string& name) const { return m_folder.U16(name); }
    std::string Native(const std::string& name) const { return m_folder / name; }
    void Write(const std::string& name, const std::string& content)
    {
        std::ofstream(Native(name), std::ios::binary) << content;
    }
    std::string Read(const std::string& name) const
    {
        std::stringstream content;
        content << std::ifstream(Native(name), std::ios::binary).rdbuf();
        return content.str();
    }
    // The names in the folder with their contents and permission bits.
    std::string Snapshot() const
    {
        std::string text;
        for (const auto& entry : fs::directory_iterator(m_folder.Path()))
        {
            struct stat info;
            ::lstat(entry.path().c_str(), &info);
            text += entry.path().filename().string() + " " + std::to_string(info.st_mode & 07777) + " " +
                    (entry.is_regular_file() ? Read(entry.path().filename().string()) : "<folder>") + "\n";
        }
        return text;
    }

    qmtest::TempDir m_folder;
    qm::FaultInjectingFileSystem m_faults{qm::LinuxFileSystem::Instance()};
    qm::ScopedFileSystem m_scope{m_faults};
};
} // namespace

TEST_F(FileFaultTest, EachStepOfAReplaceBeforeTheRenameFailsItAndChangesNothing)
{
    Write("clip.quilclip", "old");
    Write("clip.quilclip.temp", "new");
    const std::string before = Snapshot();
    // The attributes of the replaced file, the permission bits given to the new one, and
    // the copy that stands in for a link the file system refuses.
    m_faults.Fail(Operation::GetAttributes, EIO);
    EXPECT_EQ(kIoError, qm::ReplaceFileWithBackup(Path("clip.quilclip"), Path("clip.quilclip.temp"), Path("b")));
    EXPECT_EQ(before, Snapshot());
    m_faults.Fail(Operation::SetPermissions, EIO);
    EXPECT_EQ(kIoError, qm::ReplaceFileWithBackup(Path("clip.quilclip"), Path("clip.quilclip.temp"), Path("b")));
    EXPECT_EQ(before, Snapshot());
    m_faults.Fail(Operation::HardLink, EPERM);
    m_faults.Fail(Operation::CopyFile, ENOSPC);
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_DISK_FULL),
              qm::ReplaceFileWithBackup(Path("clip.quilclip"), Path("clip.quilclip.temp"), Path("b")));
    EXPECT_EQ(1, m_faults.Calls(Operation::CopyFile));
    EXPECT_EQ(before, Snapshot());
}

TEST_F(FileFaultTest, AttributeAndFolderCallsReportTheErrorAndLeaveTheDiskAsItWas)
{
    Write("f", "content");
    fs::create_directory(Native("empty"));
    const std::string before = Snapshot();

    m_faults.Fail(Operation::SetReadOnly, EIO);
    EXPECT_FALSE(SetFileAttributesW(Path("f").c_str(), FILE_ATTRIBUTE_READONLY));
    EXPECT_EQ(static_cast<DWORD>(ERROR_IO_DEVICE), GetLastError());
    m_faults.Fail(Operation::GetAttributes, EACCES);
    WIN32_FILE_ATTRIBUTE_DATA data{};
    EXPECT_FALSE(GetFileAttributesExW(Path("f").c_str(), GetFileExInfoStandard, &data));
    EXPECT_EQ(static_cast<DWORD>(ERROR_ACCESS_DENIED), GetLastError());
    m_faults.Fail(Operation::CreateFolders, EACCES);
    EXPECT_FALSE(CreateDirectoryW(Path("new").c_str(), nullptr));
    EXPECT_EQ(static_cast<DWORD>(ERROR_ACCESS_DENIED), GetLastError());
    m_faults.Fail(Operation::RemoveEmptyFolder, EBUSY);
    EXPECT_FALSE(RemoveDirectoryW(Path("empty").c_str()));
    EXPECT_EQ(before, Snapshot());

    // Two paths whose device cannot be asked are not on the same root.
    ASSERT_TRUE(PathIsSameRootW(Path("f"), Path("empty")));
    m_faults.Fail(Operation::Device, EIO, 1, u"/empty");
    EXPECT_FALSE(PathIsSameRootW(Path("f"), Path("empty")));
}

TEST_F(FileFaultTest, AReadStreamReportsEveryFailingCall)
{
    Write("f", "content");
    ComPtr<IStream> stream;
    m_faults.Fail(Operation::OpenRead, EACCES);
    EXPECT_EQ(E_ACCESSDENIED, SHCreateStreamOnFileW(Path("f").c_str(), STGM_READ, stream.GetAddressOf()));
    EXPECT_FALSE(stream);

    ASSERT_EQ(S_OK, SHCreateStreamOnFileW(Path("f").c_str(), STGM_READ, stream.GetAddressOf()));
    char buffer[16];
    ULONG done = 7;
    m_faults.Fail(Operation::Read, EIO);
    EXPECT_EQ(kIoError, stream->Read(buffer, sizeof(buffer), &done));
    EXPECT_EQ(0u, done);
    LARGE_INTEGER offset{};
    m_faults.Fail(Operation::Seek, EIO);
    EXPECT_EQ(kIoError, stream->Seek(offset, STREAM_SEEK_END, nullptr));
    STATSTG stat{};
    m_faults.Fail(Operation::Size, EIO);
    EXPECT_EQ(kIoError, stream->Stat(&stat, STATFLAG_NONAME));
    // After the failures the stream still reads from where it was.
    ASSERT_EQ(S_OK, stream->Read(buffer, sizeof(buffer), &done));
    EXPECT_EQ("content", std::string(buffer, done));
    // A close that fails when the stream goes leaves the file as it was.
    m_faults.Fail(Operation::Close, EIO);
    stream.Reset();
    EXPECT_EQ(1, m_faults.Calls(Operation::Close));
    EXPECT_EQ("content", Read("f"));
}
