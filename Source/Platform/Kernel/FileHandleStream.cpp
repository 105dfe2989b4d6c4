#include "Platform/Kernel/FileHandleStream.h"

#include <cstring>

namespace qm
{
FileHandleStream::FileHandleStream(FileHandle file, DWORD mode) noexcept : m_file(std::move(file)), m_mode(mode) {}

FileHandleStream::~FileHandleStream() { FileSystem().Close(m_file); }

HRESULT FileHandleStream::Create(FileHandle file, DWORD mode, IStream** stream)
{
    if (stream == nullptr)
        return E_POINTER;
    *stream = new (std::nothrow) FileHandleStream(std::move(file), mode);
    return *stream ? S_OK : E_OUTOFMEMORY;
}

HRESULT FileHandleStream::Read(void* buffer, ULONG count, ULONG* done)
{
    if (done)
        *done = 0;
    if (buffer == nullptr && count > 0)
        return STG_E_INVALIDPOINTER;
    std::size_t got = 0;
    HRESULT hr = FileSystem().Read(m_file, buffer, count, got);
    if (done)
        *done = static_cast<ULONG>(got);
    return hr;
}

HRESULT FileHandleStream::Write(const void* data, ULONG count, ULONG* done)
{
    if (done)
        *done = 0;
    if (data == nullptr && count > 0)
        return STG_E_INVALIDPOINTER;
    HRESULT hr = FileSystem().Write(m_file, data, count);
    if (SUCCEEDED(hr) && done)
        *done = count;
    return hr;
}

HRESULT FileHandleStream::Seek(LARGE_INTEGER offset, DWORD origin, ULARGE_INTEGER* newPosition)
{
    if (origin > STREAM_SEEK_END)
        return STG_E_INVALIDFUNCTION;
    std::uint64_t position = 0;
    HRESULT hr = FileSystem().Seek(m_file, offset.QuadPart, static_cast<int>(origin), position);
    if (SUCCEEDED(hr) && newPosition)
        newPosition->QuadPart = position;
    return hr;
}

HRESULT FileHandleStream::SetSize(ULARGE_INTEGER) { return E_NOTIMPL; }

HRESULT FileHandleStream::CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) { return E_NOTIMPL; }

HRESULT FileHandleStream::Commit(DWORD) { return FileSystem().Fsync(m_file); }

HRESULT FileHandleStream::Revert() { return E_NOTIMPL; }

HRESULT FileHandleStream::LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) { return E_NOTIMPL; }

HRESULT FileHandleStream::UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) { return E_NOTIMPL; }

HRESULT FileHandleStream::Stat(STATSTG* stat, DWORD)
{
    if (stat == nullptr)
        return E_POINTER;
    std::uint64_t size = 0;
    HRESULT hr = FileSystem().Size(m_file, size);
    if (FAILED(hr))
        return hr;
    std::memset(stat, 0, sizeof(STATSTG));
    stat->type = STGTY_STREAM;
    stat->cbSize.QuadPart = size;
    stat->grfMode = m_mode;
    return S_OK;
}

HRESULT FileHandleStream::Clone(IStream**) { return E_NOTIMPL; }
} // namespace qm

HRESULT SHCreateStreamOnFileEx(LPCWSTR path, DWORD mode, DWORD, BOOL create, IStream*, IStream** stream)
{
    if (stream == nullptr)
        return E_POINTER;
    *stream = nullptr;
    if (path == nullptr)
        return E_INVALIDARG;
    qm::FileHandle file;
    const DWORD access = mode & 0x3;
    HRESULT hr;
    if (access == STGM_READ)
        hr = qm::FileSystem().OpenRead(path, file);
    else if ((mode & STGM_CREATE) || create)
        hr = qm::FileSystem().OpenExclusiveWrite(path, file);
    else
        // Writing into an existing file without truncating it is not something this
        // system does.
        hr = STG_E_INVALIDFUNCTION;
    if (FAILED(hr))
        return hr;
    return qm::FileHandleStream::Create(std::move(file), mode, stream);
}

HRESULT SHCreateStreamOnFileW(LPCWSTR path, DWORD mode, IStream** stream)
{
    return SHCreateStreamOnFileEx(path, mode, 0, FALSE, nullptr, stream);
}
