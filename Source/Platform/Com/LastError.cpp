#include "Platform/Com/LastError.h"

#include <cerrno>

namespace
{
thread_local DWORD t_lastError = 0;
}

void SetLastError(DWORD error) noexcept { t_lastError = error; }

DWORD GetLastError() noexcept { return t_lastError; }

namespace qm
{
DWORD Win32ErrorFromErrno(int err) noexcept
{
    switch (err)
    {
    case 0: return ERROR_SUCCESS;
    case ENOENT: return ERROR_FILE_NOT_FOUND;
    case ENOTDIR: return ERROR_PATH_NOT_FOUND;
    case EACCES:
    case EPERM: return ERROR_ACCESS_DENIED;
    case EROFS: return ERROR_WRITE_PROTECT;
    case EEXIST: return ERROR_ALREADY_EXISTS;
    case EBUSY:
    case ETXTBSY:
    case EWOULDBLOCK: return ERROR_SHARING_VIOLATION;
    case ENOSPC:
    case EDQUOT: return ERROR_DISK_FULL;
    case ENOMEM: return ERROR_NOT_ENOUGH_MEMORY;
    case EMFILE:
    case ENFILE: return ERROR_TOO_MANY_OPEN_FILES;
    case EBADF: return ERROR_INVALID_HANDLE;
    case EINVAL: return ERROR_INVALID_PARAMETER;
    case ENAMETOOLONG: return ERROR_FILENAME_EXCED_RANGE;
    case ENOTEMPTY: return ERROR_DIR_NOT_EMPTY;
    case EXDEV: return ERROR_NOT_SAME_DEVICE;
    case EISDIR: return ERROR_DIRECTORY;
    case ELOOP: return ERROR_CANT_RESOLVE_FILENAME;
    case EOPNOTSUPP: return ERROR_NOT_SUPPORTED;
    case EIO: return ERROR_IO_DEVICE;
    case EILSEQ: return ERROR_NO_UNICODE_TRANSLATION;
    default: return ERROR_INVALID_DATA;
    }
}

DWORD SetLastErrorFromErrno(int err) noexcept
{
    DWORD code = Win32ErrorFromErrno(err);
    SetLastError(code);
    return code;
}

DWORD SetLastErrorFromErrno() noexcept { return SetLastErrorFromErrno(errno); }
} // namespace qm
