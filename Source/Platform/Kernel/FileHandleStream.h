// A stream over an open file, everything through the file-system interface. It owns the
// file (and with it a write lock) until it dies.
#pragma once

#include "Platform/Kernel/FileSystem.h"

#include "qm/Platform/Com/ObjectRoot.h"
#include "qm/Platform/Com/Stream.h"

namespace qm
{
class FileHandleStream : public Standard::CComObjectRootEx<Standard::CComMultiThreadModel>,
                         public IStream,
                         private Standard::AllocatedResource<FileHandleStream>
{
public:
    // Takes the file; the stream's mode is what Stat reports.
    static HRESULT Create(FileHandle file, DWORD mode, IStream** stream);

    QM_IUNKNOWN_IMPL(FileHandleStream, IStream, ISequentialStream)

    // Reads and writes at the position; a read at the end gives S_OK and 0 bytes.
    HRESULT Read(void* buffer, ULONG count, ULONG* done) override;
    HRESULT Write(const void* data, ULONG count, ULONG* done) override;
    // Origins 0, 1 and 2; any other gives STG_E_INVALIDFUNCTION.
    HRESULT Seek(LARGE_INTEGER offset, DWORD origin, ULARGE_INTEGER* newPosition) override;
    HRESULT SetSize(ULARGE_INTEGER size) override;
    HRESULT CopyTo(IStream* target, ULARGE_INTEGER count, ULARGE_INTEGER* read, ULARGE_INTEGER* written) override;
    // Makes what was written durable.
    HRESULT Commit(DWORD flags) override;
    HRESULT Revert() override;
    HRESULT LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER count, DWORD lockType) override;
    HRESULT UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER count, DWORD lockType) override;
    // The size and the mode; times are not kept.
    HRESULT Stat(STATSTG* stat, DWORD flags) override;
    HRESULT Clone(IStream** clone) override;

protected:
    FileHandleStream(FileHandle file, DWORD mode) noexcept;
    virtual ~FileHandleStream();
    FileHandle& File() noexcept { return m_file; }

private:
    FileHandle m_file;
    DWORD m_mode;
};
} // namespace qm
