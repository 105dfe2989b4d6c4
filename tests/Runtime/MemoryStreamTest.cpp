#include "qm/Runtime/Streams.h"

#include "qm/Platform/Com/ComPtr.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace
{
ComPtr<IMemoryStream> NewStream(ULONGLONG size)
{
    ComPtr<IMemoryStream> stream;
    EXPECT_EQ(S_OK, CreateMemoryStream(size, stream.GetAddressOf()));
    return stream;
}

HRESULT SeekTo(IStream* stream, LONGLONG offset, DWORD origin, ULONGLONG* position = nullptr)
{
    LARGE_INTEGER move{};
    move.QuadPart = offset;
    ULARGE_INTEGER result{};
    HRESULT hr = stream->Seek(move, origin, &result);
    if (position)
        *position = result.QuadPart;
    return hr;
}
} // namespace

TEST(MemoryStream, EmptyStreamHasNoBlock)
{
    auto stream = NewStream(0);
    void* buffer = reinterpret_cast<void*>(1);
    ASSERT_EQ(S_OK, stream->GetBuffer(&buffer));
    EXPECT_EQ(nullptr, buffer);
    EXPECT_EQ(0u, stream->GetSize());
    char byte;
    ULONG done = 9;
    EXPECT_EQ(S_OK, stream->Read(&byte, 1, &done));
    EXPECT_EQ(0u, done);
    EXPECT_EQ(E_POINTER, stream->GetBuffer(nullptr));
}

TEST(MemoryStream, WritesInsideAndPastTheEnd)
{
    auto stream = NewStream(100);
    std::vector<char> zeros(100), read(100, 'x');
    ULONG done = 0;
    ASSERT_EQ(S_OK, stream->Read(read.data(), 100, &done));
    EXPECT_EQ(zeros, read); // a new stream reads as zeros
    ASSERT_EQ(S_OK, SeekTo(stream.Get(), 0, STREAM_SEEK_SET));

    const std::vector<char> ten(10, 'a'), more(200, 'b');
    ASSERT_EQ(S_OK, stream->Write(ten.data(), 10, &done));
    EXPECT_EQ(100u, stream->GetSize());
    ULONGLONG position = 0;
    ASSERT_EQ(S_OK, SeekTo(stream.Get(), 0, STREAM_SEEK_CUR, &position));
    EXPECT_EQ(10u, position);
    ASSERT_EQ(S_OK, stream->Write(more.data(), 200, nullptr));
    EXPECT_EQ(210u, stream->GetSize());
    void* buffer = nullptr;
    stream->GetBuffer(&buffer);
    const char* bytes = static_cast<const char*>(buffer);
    EXPECT_EQ(std::string(10, 'a'), std::string(bytes, 10));
    EXPECT_EQ(std::string(200, 'b'), std::string(bytes + 10, 200));
    // A short read at the end is S_OK.
    ASSERT_EQ(S_OK, SeekTo(stream.Get(), -5, STREAM_SEEK_END));
    ASSERT_EQ(S_OK, stream->Read(read.data(), 100, &done));
    EXPECT_EQ(5u, done);
}

TEST(MemoryStream, SeeksNeverPassTheEnd)
{
    auto stream = NewStream(100);
    ULONGLONG position = 0;
    EXPECT_EQ(S_OK, SeekTo(stream.Get(), 100, STREAM_SEEK_SET, &position));
    EXPECT_EQ(100u, position);
    EXPECT_EQ(STG_E_INVALIDFUNCTION, SeekTo(stream.Get(), 101, STREAM_SEEK_SET));
    EXPECT_EQ(S_OK, SeekTo(stream.Get(), -1, STREAM_SEEK_END, &position));
    EXPECT_EQ(99u, position);
    EXPECT_EQ(STG_E_INVALIDFUNCTION, SeekTo(stream.Get(), 1, STREAM_SEEK_END));
    EXPECT_EQ(STG_E_INVALIDFUNCTION, SeekTo(stream.Get(), -1, STREAM_SEEK_SET));
    EXPECT_EQ(STG_E_INVALIDFUNCTION, SeekTo(stream.Get(), 0, 3));
    // A refused seek leaves the position where it was.
    EXPECT_EQ(S_OK, SeekTo(stream.Get(), 0, STREAM_SEEK_CUR, &position));
    EXPECT_EQ(99u, position);
}

TEST(MemoryStream, StatShowsSizeAndTimesAndTheRestIsNotImplemented)
{
    auto stream = NewStream(42);
    STATSTG stat;
    std::memset(&stat, 0xAB, sizeof(stat));
    ASSERT_EQ(S_OK, stream->Stat(&stat, STATFLAG_DEFAULT));
    EXPECT_EQ(42u, stat.cbSize.QuadPart);
    EXPECT_EQ(FILETIME{}, stat.mtime);
    EXPECT_EQ(FILETIME{}, stat.ctime);
    EXPECT_EQ(FILETIME{}, stat.atime);
    EXPECT_EQ(nullptr, stat.pwcsName);
    EXPECT_EQ(0u, stat.type);
    const FILETIME created{1, 0}, modified{2, 0}, accessed{3, 0};
    ASSERT_EQ(S_OK, stream->SetFileTimes(&created, &modified, &accessed));
    ASSERT_EQ(S_OK, stream->Stat(&stat, STATFLAG_DEFAULT));
    EXPECT_EQ(modified, stat.mtime);
    EXPECT_EQ(accessed, stat.atime);
    EXPECT_EQ(E_POINTER, stream->Stat(nullptr, 0));

    ComPtr<ISequentialStream> sequential;
    ASSERT_EQ(S_OK, stream.As(&sequential));
    ComPtr<IUnknown> a, b;
    stream.As(&a);
    sequential.As(&b);
    EXPECT_EQ(a.Get(), b.Get());
}
