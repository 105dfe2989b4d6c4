#include "Platform/Kernel/FileHandleStream.h"

#include "Support/FaultInjectingFileSystem.h"
#include "Platform/Kernel/LinuxFileSystem.h"
#include "Support/TempDir.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fstream>

TEST(FileHandleStream, WriteStreamIsExclusiveUntilItDies)
{
    qmtest::TempDir folder;
    const std::u16string path = folder.U16("s.quilclip");
    ComPtr<IStream> writer;
    ASSERT_EQ(S_OK, SHCreateStreamOnFileEx(path.c_str(), 0x1011, 0x80, TRUE, nullptr, writer.GetAddressOf()));
    ULONG done = 0;
    ASSERT_EQ(S_OK, writer->Write("<a/>", 4, &done));
    EXPECT_EQ(4u, done);
    ASSERT_EQ(S_OK, writer->Commit(STGC_DEFAULT));
    ComPtr<IStream> second;
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_SHARING_VIOLATION),
              SHCreateStreamOnFileEx(path.c_str(), 0x1011, 0x80, TRUE, nullptr, second.GetAddressOf()));
    STATSTG stat;
    ASSERT_EQ(S_OK, writer->Stat(&stat, STATFLAG_NONAME));
    EXPECT_EQ(4u, stat.cbSize.QuadPart);
    writer.Reset();

    ComPtr<IStream> reader;
    ASSERT_EQ(S_OK, SHCreateStreamOnFileW(path.c_str(), STGM_READ, reader.GetAddressOf()));
    char buffer[8] = {};
    ASSERT_EQ(S_OK, reader->Read(buffer, sizeof(buffer), &done));
    EXPECT_EQ(4u, done);
    ASSERT_EQ(S_OK, reader->Read(buffer, sizeof(buffer), &done));
    EXPECT_EQ(0u, done);
    LARGE_INTEGER offset{};
    offset.QuadPart = -1;
    ULARGE_INTEGER position{};
    ASSERT_EQ(S_OK, reader->Seek(offset, STREAM_SEEK_END, &position));
    EXPECT_EQ(3u, position.QuadPart);
    EXPECT_EQ(STG_E_INVALIDFUNCTION, reader->Seek(offset, 3, &position));
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND),
              SHCreateStreamOnFileW(folder.U16("missing").c_str(), STGM_READ, second.GetAddressOf()));
}

TEST(FileHandleStream, FullDiskIsReported)
{
    qmtest::TempDir folder;
    qm::FaultInjectingFileSystem faults(qm::LinuxFileSystem::Instance());
    qm::ScopedFileSystem scope(faults);
    ComPtr<IStream> writer;
    ASSERT_EQ(S_OK, SHCreateStreamOnFileEx(folder.U16("f").c_str(), 0x1011, 0x80, TRUE, nullptr, writer.GetAddressOf()));
    faults.Fail(qm::FaultInjectingFileSystem::Operation::Write, ENOSPC);
    ULONG done = 7;
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_DISK_FULL), writer->Write("abc", 3, &done));
    EXPECT_EQ(0u, done);
    faults.Fail(qm::FaultInjectingFileSystem::Operation::Fsync, EIO);
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_IO_DEVICE), writer->Commit(STGC_DEFAULT));
}
