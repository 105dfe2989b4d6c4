// IMemoryStream over a block from the zero-filling allocator.
#pragma once

#include "qm/Runtime/Streams.h"

#include <atomic>

class MemoryStream final : public IMemoryStream
{
public:
    // Throws std::bad_alloc when the object cannot be made; a block that cannot be made
    // gives its failure.
    static HRESULT Create(ULONGLONG size, IMemoryStream** stream);

    HRESULT QueryInterface(REFIID riid, void** ppv) override;
    ULONG AddRef() override;
    ULONG Release() override;

    HRESULT Read(void* buffer, ULONG count, ULONG* done) override;
    HRESULT Write(const void* data, ULONG count, ULONG* done) override;
    HRESULT Seek(LARGE_INTEGER offset, DWORD origin, ULARGE_INTEGER* newPosition) override;
    HRESULT SetSize(ULARGE_INTEGER size) override;
    HRESULT CopyTo(IStream* target, ULARGE_INTEGER count, ULARGE_INTEGER* read, ULARGE_INTEGER* written) override;
    HRESULT Commit(DWORD flags) override;
    HRESULT Revert() override;
    HRESULT LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER count, DWORD lockType) override;
    HRESULT UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER count, DWORD lockType) override;
    HRESULT Stat(STATSTG* stat, DWORD flags) override;
    HRESULT Clone(IStream** clone) override;

    HRESULT GetBuffer(void** buffer) override;
    ULONGLONG GetSize() override;
    HRESULT SetFileTimes(const FILETIME* creation, const FILETIME* modified, const FILETIME* access) override;

private:
    MemoryStream() noexcept = default;
    ~MemoryStream();
    // A zeroed block of size bytes in m_buffer, keeping the first `keep` bytes of the old.
    HRESULT Reallocate(ULONGLONG size, ULONGLONG keep);

    BYTE* m_buffer = nullptr;
    ULONGLONG m_size = 0;
    ULONGLONG m_position = 0;
    std::atomic<LONG> m_refCount{1};
    FILETIME m_creationTime{};
    FILETIME m_accessTime{};
    FILETIME m_modifiedTime{};
};
