#include "Runtime/MemoryStream.h"

#include "Platform/Com/LastError.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <limits>

MemoryStream::~MemoryStream() { std::free(m_buffer); }

HRESULT MemoryStream::Create(ULONGLONG size, IMemoryStream** stream)
{
    if (stream == nullptr)
        return E_POINTER;
    *stream = nullptr;
    auto* created = new MemoryStream();
    HRESULT hr = created->Reallocate(size, 0);
    if (FAILED(hr))
    {
        created->Release();
        return hr;
    }
    *stream = created;
    return S_OK;
}

HRESULT MemoryStream::Reallocate(ULONGLONG size, ULONGLONG keep)
{
    if (size == 0)
    {
        std::free(m_buffer);
        m_buffer = nullptr;
        m_size = 0;
        return S_OK;
    }
    // calloc gives zeroed pages, as the page allocator of the original did.
    void* block = size <= std::numeric_limits<std::size_t>::max() ? std::calloc(1, static_cast<std::size_t>(size)) : nullptr;
    if (block == nullptr)
    {
        const HRESULT hr = HRESULT_FROM_WIN32(static_cast<long>(qm::SetLastErrorFromErrno(ENOMEM)));
        return FAILED(hr) ? hr : E_OUTOFMEMORY;
    }
    if (m_buffer && keep > 0)
        std::memcpy(block, m_buffer, static_cast<std::size_t>(keep));
    std::free(m_buffer);
    m_buffer = static_cast<BYTE*>(block);
    m_size = size;
    return S_OK;
}

HRESULT MemoryStream::QueryInterface(REFIID riid, void** ppv)
{
    if (ppv == nullptr)
        return E_POINTER;
    if (riid == IID_IUnknown || riid == IID_IStream || riid == IID_ISequentialStream || riid == IID_IMemoryStream)
    {
        *ppv = static_cast<IMemoryStream*>(this);
        AddRef();
        return S_OK;
    }
    *ppv = nullptr;
    return E_NOINTERFACE;
}

ULONG MemoryStream::AddRef() { return static_cast<ULONG>(m_refCount.fetch_add(1) + 1); }

ULONG MemoryStream::Release()
{
    const LONG count = m_refCount.fetch_sub(1) - 1;
    if (count == 0)
        delete this;
    return static_cast<ULONG>(count);
}

HRESULT MemoryStream::Read(void* buffer, ULONG count, ULONG* done)
{
    const ULONGLONG available = m_size - m_position;
    const auto n = static_cast<ULONG>(count < available ? count : available);
    if (n != 0)
    {
        if (m_buffer == nullptr)
            return E_UNEXPECTED;
        if (buffer == nullptr)
            return STG_E_INVALIDPOINTER;
        std::memcpy(buffer, m_buffer + m_position, n);
        m_position += n;
    }
    if (done)
        *done = n;
    return S_OK;
}

HRESULT MemoryStream::Write(const void* data, ULONG count, ULONG* done)
{
    if (data == nullptr && count > 0)
        return STG_E_INVALIDPOINTER;
    if (m_buffer == nullptr || count > m_size - m_position)
    {
        // Grows to exactly what the write needs: one allocation and one copy.
        HRESULT hr = Reallocate(m_position + count, m_position);
        if (FAILED(hr))
            return hr;
    }
    if (count > 0)
        std::memcpy(m_buffer + m_position, data, count);
    m_position += count;
    if (done)
        *done = count;
    return S_OK;
}

HRESULT MemoryStream::Seek(LARGE_INTEGER offset, DWORD origin, ULARGE_INTEGER* newPosition)
{
    ULONGLONG position;
    const auto delta = static_cast<ULONGLONG>(offset.QuadPart);
    switch (origin)
    {
    case STREAM_SEEK_SET: position = delta; break;
    case STREAM_SEEK_CUR: position = m_position + delta; break;
    case STREAM_SEEK_END: position = m_size + delta; break;
    default: return STG_E_INVALIDFUNCTION;
    }
    // Computed unsigned: a result below zero is above the size too.
    if (position > m_size)
        return STG_E_INVALIDFUNCTION;
    m_position = position;
    if (newPosition)
        newPosition->QuadPart = position;
    return S_OK;
}

HRESULT MemoryStream::SetSize(ULARGE_INTEGER) { return E_NOTIMPL; }
HRESULT MemoryStream::CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) { return E_NOTIMPL; }
HRESULT MemoryStream::Commit(DWORD) { return E_NOTIMPL; }
HRESULT MemoryStream::Revert() { return E_NOTIMPL; }
HRESULT MemoryStream::LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) { return E_NOTIMPL; }
HRESULT MemoryStream::UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) { return E_NOTIMPL; }
HRESULT MemoryStream::Clone(IStream**) { return E_NOTIMPL; }

HRESULT MemoryStream::Stat(STATSTG* stat, DWORD)
{
    if (stat == nullptr)
        return E_POINTER;
    std::memset(stat, 0, sizeof(STATSTG));
    stat->cbSize.QuadPart = m_size;
    stat->mtime = m_modifiedTime;
    stat->ctime = m_creationTime;
    stat->atime = m_accessTime;
    return S_OK;
}

HRESULT MemoryStream::GetBuffer(void** buffer)
{
    if (buffer == nullptr)
        return E_POINTER;
    *buffer = m_buffer;
    return S_OK;
}

ULONGLONG MemoryStream::GetSize() { return m_size; }

HRESULT MemoryStream::SetFileTimes(const FILETIME* creation, const FILETIME* modified, const FILETIME* access)
{
    if (creation == nullptr || modified == nullptr || access == nullptr)
        return E_POINTER;
    m_creationTime = *creation;
    m_modifiedTime = *modified;
    m_accessTime = *access;
    return S_OK;
}

HRESULT CreateMemoryStream(ULONGLONG size, IMemoryStream** stream) { return MemoryStream::Create(size, stream); }
