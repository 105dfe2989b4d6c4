// A read-only view of an open file, through which image files reach their decoder. It
// counts among the live objects for as long as it exists.
#pragma once

#include "Platform/Kernel/FileHandleStream.h"

class FileStream final : public qm::FileHandleStream
{
public:
    static HRESULT Create(qm::FileHandle file, IStream** stream);

    // Only the size is written; the rest of the record is left as the caller had it.
    HRESULT Stat(STATSTG* stat, DWORD flags) override;
    HRESULT Commit(DWORD flags) override;

private:
    explicit FileStream(qm::FileHandle file) noexcept : FileHandleStream(std::move(file), STGM_READ) {}
};
