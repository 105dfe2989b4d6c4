// The file functions by the names the callers were written against, over the
// file-system interface. Each gives TRUE, or FALSE with the thread's last error set.
#pragma once

#include "qm/Platform/Kernel/FileTime.h"

constexpr DWORD FILE_ATTRIBUTE_READONLY = 0x00000001;
constexpr DWORD FILE_ATTRIBUTE_HIDDEN = 0x00000002;
constexpr DWORD FILE_ATTRIBUTE_DIRECTORY = 0x00000010;
constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x00000080;
constexpr DWORD FILE_ATTRIBUTE_REPARSE_POINT = 0x00000400;
constexpr DWORD INVALID_FILE_ATTRIBUTES = 0xFFFFFFFF;

enum GET_FILEEX_INFO_LEVELS
{
    GetFileExInfoStandard = 0,
};

struct WIN32_FILE_ATTRIBUTE_DATA
{
    DWORD dwFileAttributes;
    FILETIME ftCreationTime;
    FILETIME ftLastAccessTime;
    FILETIME ftLastWriteTime;
    DWORD nFileSizeHigh;
    DWORD nFileSizeLow;
};

BOOL DeleteFileW(LPCWSTR path);
// The replace of the conventions, with an optional backup (null or empty: none).
BOOL ReplaceFileW(LPCWSTR replaced, LPCWSTR replacement, LPCWSTR backup, DWORD flags, void* exclude, void* reserved);
// Attributes of the file (links followed); hidden for names that begin with a dot.
BOOL GetFileAttributesExW(LPCWSTR path, GET_FILEEX_INFO_LEVELS level, WIN32_FILE_ATTRIBUTE_DATA* data);
DWORD GetFileAttributesW(LPCWSTR path);
// Only FILE_ATTRIBUTE_READONLY has an effect; FILE_ATTRIBUTE_NORMAL clears it.
BOOL SetFileAttributesW(LPCWSTR path, DWORD attributes);
BOOL CreateDirectoryW(LPCWSTR path, void* security);
BOOL RemoveDirectoryW(LPCWSTR path);
// Never replaces an existing file.
BOOL MoveFileW(LPCWSTR from, LPCWSTR to);
