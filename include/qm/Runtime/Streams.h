// Streams over memory and over files.
#pragma once

#include "qm/Platform/Com/Stream.h"

// A stream over one private, zero-filled block of memory. Position and size never part:
// a seek past the end is refused, and a write past the end grows the block to exactly
// what it needs.
struct IMemoryStream : IStream
{
    // The block (null when the stream is empty). It is borrowed for as long as the
    // stream is held, and no write may run meanwhile: a write can replace it.
    virtual HRESULT GetBuffer(void** buffer) = 0;
    virtual ULONGLONG GetSize() = 0;
    // The times that Stat shows.
    virtual HRESULT SetFileTimes(const FILETIME* creation, const FILETIME* modified, const FILETIME* access) = 0;
};
QM_DECLARE_IID(IMemoryStream, "{ED244C82-3033-482C-9B6E-1B0B75AFDA18}")

// A stream of `size` zero bytes at position 0; size 0 gives a stream without a block.
QM_API HRESULT CreateMemoryStream(ULONGLONG size, IMemoryStream** stream);
// A read-only stream on an existing file.
QM_API HRESULT CreateFileStream(LPCWSTR path, IStream** stream);
// A read-only stream that takes over an open file descriptor; -1 gives the converted
// last error (E_HANDLE when there is none).
QM_API HRESULT CreateFileStreamFromHandle(int handle, IStream** stream);
