// ISequentialStream and IStream: byte streams with the slots and results of the
// platform's contract.
#pragma once

#include "qm/Platform/Com/Unknown.h"
#include "qm/Platform/Kernel/FileTime.h"

union LARGE_INTEGER
{
    struct
    {
        DWORD LowPart;
        LONG HighPart;
    } u;
    LONGLONG QuadPart;
};

union ULARGE_INTEGER
{
    struct
    {
        DWORD LowPart;
        DWORD HighPart;
    } u;
    ULONGLONG QuadPart;
};

struct STATSTG
{
    LPOLESTR pwcsName;
    DWORD type;
    ULARGE_INTEGER cbSize;
    FILETIME mtime;
    FILETIME ctime;
    FILETIME atime;
    DWORD grfMode;
    DWORD grfLocksSupported;
    CLSID clsid;
    DWORD grfStateBits;
    DWORD reserved;
};

enum STREAM_SEEK : DWORD
{
    STREAM_SEEK_SET = 0,
    STREAM_SEEK_CUR = 1,
    STREAM_SEEK_END = 2,
};

enum STGTY : DWORD
{
    STGTY_STORAGE = 1,
    STGTY_STREAM = 2,
};

constexpr DWORD STATFLAG_DEFAULT = 0;
constexpr DWORD STATFLAG_NONAME = 1;
constexpr DWORD STGC_DEFAULT = 0;

// Modes of the file streams.
constexpr DWORD STGM_READ = 0x00000000;
constexpr DWORD STGM_WRITE = 0x00000001;
constexpr DWORD STGM_READWRITE = 0x00000002;
constexpr DWORD STGM_SHARE_DENY_NONE = 0x00000040;
constexpr DWORD STGM_SHARE_DENY_READ = 0x00000030;
constexpr DWORD STGM_SHARE_DENY_WRITE = 0x00000020;
constexpr DWORD STGM_SHARE_EXCLUSIVE = 0x00000010;
constexpr DWORD STGM_CREATE = 0x00001000;
constexpr DWORD STGM_FAILIFTHERE = 0x00000000;

struct ISequentialStream : IUnknown
{
    // A read at the end gives S_OK (or S_FALSE) with 0 bytes: readers stop there.
    virtual HRESULT Read(void* buffer, ULONG count, ULONG* done) = 0;
    virtual HRESULT Write(const void* data, ULONG count, ULONG* done) = 0;
};
QM_DECLARE_IID(ISequentialStream, "{0C733A30-2A1C-11CE-ADE5-00AA0044773D}")

struct IStream : ISequentialStream
{
    virtual HRESULT Seek(LARGE_INTEGER offset, DWORD origin, ULARGE_INTEGER* newPosition) = 0;
    virtual HRESULT SetSize(ULARGE_INTEGER size) = 0;
    virtual HRESULT CopyTo(IStream* target, ULARGE_INTEGER count, ULARGE_INTEGER* read, ULARGE_INTEGER* written) = 0;
    virtual HRESULT Commit(DWORD flags) = 0;
    virtual HRESULT Revert() = 0;
    virtual HRESULT LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER count, DWORD lockType) = 0;
    virtual HRESULT UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER count, DWORD lockType) = 0;
    virtual HRESULT Stat(STATSTG* stat, DWORD flags) = 0;
    virtual HRESULT Clone(IStream** clone) = 0;
};
QM_DECLARE_IID(IStream, "{0000000C-0000-0000-C000-000000000046}")

// A stream on a file. Reading (STGM_READ): an existing file. Writing with STGM_CREATE
// (0x1011 with STGM_SHARE_EXCLUSIVE | STGM_WRITE): a new or truncated file for this
// stream alone, locked before it is truncated and for as long as the stream lives; a
// file locked by another writer gives HRESULT_FROM_WIN32(ERROR_SHARING_VIOLATION).
// Commit makes what was written durable (fsync).
QM_API HRESULT SHCreateStreamOnFileEx(LPCWSTR path, DWORD mode, DWORD attributes, BOOL create, IStream* templ,
                               IStream** stream);
QM_API HRESULT SHCreateStreamOnFileW(LPCWSTR path, DWORD mode, IStream** stream);
