#include "Runtime/FileStream.h"

#include "qm/Runtime/Streams.h"

#include "Platform/Com/LastError.h"

HRESULT FileStream::Create(qm::FileHandle file, IStream** stream)
{
    if (stream == nullptr)
        return E_POINTER;
    *stream = new FileStream(std::move(file));
    return S_OK;
}

HRESULT FileStream::Stat(STATSTG* stat, DWORD)
{
    if (stat == nullptr)
        return E_POINTER;
    std::uint64_t size = 0;
    qm::FileHandle& file = File();
    HRESULT hr = qm::FileSystem().Size(file, size);
    if (FAILED(hr))
        return hr;
    stat->cbSize.QuadPart = size;
    return S_OK;
}

HRESULT FileStream::Commit(DWORD) { return E_NOTIMPL; }

HRESULT CreateFileStream(LPCWSTR path, IStream** stream)
{
    if (stream == nullptr)
        return E_POINTER;
    *stream = nullptr;
    if (path == nullptr)
        return E_INVALIDARG;
    qm::FileHandle file;
    HRESULT hr = qm::FileSystem().OpenRead(path, file);
    if (FAILED(hr))
        return hr;
    return FileStream::Create(std::move(file), stream);
}

HRESULT CreateFileStreamFromHandle(int handle, IStream** stream)
{
    if (stream == nullptr)
        return E_POINTER;
    *stream = nullptr;
    if (handle < 0)
    {
        const HRESULT hr = qm::HResultFromLastError();
        return FAILED(hr) ? hr : E_HANDLE;
    }
    return FileStream::Create(qm::FileHandle(handle), stream);
}
