#include "qm/Runtime/Streams.h"

#include "Platform/Com/LastError.h"
#include "Support/TempDir.h"
#include "qm/Platform/Com/ComPtr.h"
#include "qm/Platform/Com/ObjectRoot.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <fstream>

TEST(FileStream, ReadsAFileToItsEndAndCountsAsLive)
{
    qmtest::TempDir folder;
    std::ofstream(folder / "image.jpg", std::ios::binary) << "JPEGDATA";
    const long before = Standard::CComObjectRootBase::LiveObjectCount();
    {
        ComPtr<IStream> stream;
        ASSERT_EQ(S_OK, CreateFileStream(folder.U16("image.jpg").c_str(), stream.GetAddressOf()));
        EXPECT_EQ(before + 1, Standard::CComObjectRootBase::LiveObjectCount());
        char buffer[16] = {};
        ULONG done = 0;
        ASSERT_EQ(S_OK, stream->Read(buffer, sizeof(buffer), &done));
        EXPECT_EQ(8u, done);
        ASSERT_EQ(S_OK, stream->Read(buffer, sizeof(buffer), nullptr));
        ASSERT_EQ(S_OK, stream->Read(buffer, sizeof(buffer), &done));
        EXPECT_EQ(0u, done);
        LARGE_INTEGER offset{};
        EXPECT_EQ(STG_E_INVALIDFUNCTION, stream->Seek(offset, 7, nullptr));
        ASSERT_EQ(S_OK, stream->Seek(offset, STREAM_SEEK_SET, nullptr));
        // Stat writes the size and nothing else.
        STATSTG stat;
        stat.type = 77;
        ASSERT_EQ(S_OK, stream->Stat(&stat, STATFLAG_NONAME));
        EXPECT_EQ(8u, stat.cbSize.QuadPart);
        EXPECT_EQ(77u, stat.type);
        EXPECT_TRUE(FAILED(stream->Write("x", 1, nullptr)));
    }
    EXPECT_EQ(before, Standard::CComObjectRootBase::LiveObjectCount());

    ComPtr<IStream> stream;
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND),
              CreateFileStream(folder.U16("missing.jpg").c_str(), stream.GetAddressOf()));
    const int descriptor = ::open((folder / "image.jpg").c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(S_OK, CreateFileStreamFromHandle(descriptor, stream.GetAddressOf()));
    SetLastError(ERROR_ACCESS_DENIED);
    EXPECT_EQ(E_ACCESSDENIED, CreateFileStreamFromHandle(-1, stream.ReleaseAndGetAddressOf()));
    SetLastError(0);
    EXPECT_EQ(E_HANDLE, CreateFileStreamFromHandle(-1, stream.ReleaseAndGetAddressOf()));
}
