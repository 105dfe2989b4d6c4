#include "Platform/Kernel/FileApi.h"

#include "Platform/Com/LastError.h"
#include "Platform/Kernel/FileSystem.h"
#include "Platform/Kernel/Path.h"

namespace
{
wstring_view View(LPCWSTR text) { return text ? wstring_view(text) : wstring_view(); }

BOOL Result(HRESULT hr) { return SUCCEEDED(hr) ? TRUE : FALSE; }

BOOL InvalidParameter()
{
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
}
} // namespace

BOOL DeleteFileW(LPCWSTR path)
{
    if (path == nullptr)
        return InvalidParameter();
    return Result(qm::FileSystem().DeleteFile(path));
}

BOOL ReplaceFileW(LPCWSTR replaced, LPCWSTR replacement, LPCWSTR backup, DWORD, void*, void*)
{
    if (replaced == nullptr || replacement == nullptr)
        return InvalidParameter();
    return Result(qm::ReplaceFileWithBackup(replaced, replacement, View(backup)));
}

BOOL GetFileAttributesExW(LPCWSTR path, GET_FILEEX_INFO_LEVELS level, WIN32_FILE_ATTRIBUTE_DATA* data)
{
    if (path == nullptr || data == nullptr || level != GetFileExInfoStandard)
        return InvalidParameter();
    qm::FileAttributes attributes;
    HRESULT hr = qm::FileSystem().GetAttributes(path, attributes, false);
    if (FAILED(hr))
        return FALSE;
    DWORD flags = 0;
    if (attributes.readOnly)
        flags |= FILE_ATTRIBUTE_READONLY;
    if (attributes.isDirectory)
        flags |= FILE_ATTRIBUTE_DIRECTORY;
    if (PathFindFileNameW(path).starts_with(u'.'))
        flags |= FILE_ATTRIBUTE_HIDDEN;
    data->dwFileAttributes = flags == 0 ? FILE_ATTRIBUTE_NORMAL : flags;
    data->ftCreationTime = attributes.creationTime;
    data->ftLastAccessTime = attributes.lastAccessTime;
    data->ftLastWriteTime = attributes.lastWriteTime;
    data->nFileSizeHigh = static_cast<DWORD>(attributes.size >> 32);
    data->nFileSizeLow = static_cast<DWORD>(attributes.size & 0xFFFFFFFFu);
    return TRUE;
}

DWORD GetFileAttributesW(LPCWSTR path)
{
    WIN32_FILE_ATTRIBUTE_DATA data;
    return GetFileAttributesExW(path, GetFileExInfoStandard, &data) ? data.dwFileAttributes : INVALID_FILE_ATTRIBUTES;
}

BOOL SetFileAttributesW(LPCWSTR path, DWORD attributes)
{
    if (path == nullptr)
        return InvalidParameter();
    return Result(qm::FileSystem().SetReadOnly(path, (attributes & FILE_ATTRIBUTE_READONLY) != 0));
}

BOOL CreateDirectoryW(LPCWSTR path, void*)
{
    if (path == nullptr)
        return InvalidParameter();
    if (qm::FileSystem().Exists(path) == S_OK)
    {
        SetLastError(ERROR_ALREADY_EXISTS);
        return FALSE;
    }
    return Result(qm::FileSystem().CreateFolders(path));
}

BOOL RemoveDirectoryW(LPCWSTR path)
{
    if (path == nullptr)
        return InvalidParameter();
    return Result(qm::FileSystem().RemoveEmptyFolder(path));
}

BOOL MoveFileW(LPCWSTR from, LPCWSTR to)
{
    if (from == nullptr || to == nullptr)
        return InvalidParameter();
    return Result(qm::FileSystem().Rename(from, to));
}
