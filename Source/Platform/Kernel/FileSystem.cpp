#include "Platform/Kernel/FileSystem.h"

#include "Platform/Com/LastError.h"
#include "Platform/Kernel/LinuxFileSystem.h"
#include "Platform/Kernel/SideFilePath.h"
#include "qm/Platform/Text/Utf8Conversion.h"

#include <atomic>
#include <cerrno>
#include <unistd.h>

namespace qm
{
namespace
{
std::atomic<IFileSystem*> g_current{nullptr};

bool IsLinkRefused(DWORD code)
{
    // What link(2) gives where a file system or a policy has no hard links.
    return code == ERROR_ACCESS_DENIED || code == ERROR_NOT_SAME_DEVICE || code == ERROR_NOT_SUPPORTED ||
           code == Win32ErrorFromErrno(EMLINK);
}

wstring_view FolderOf(wstring_view path)
{
    const std::size_t slash = path.find_last_of(u'/');
    if (slash == wstring_view::npos)
        return u".";
    return slash == 0 ? path.substr(0, 1) : path.substr(0, slash);
}

wstring_view NameOf(wstring_view path)
{
    const std::size_t slash = path.find_last_of(u'/');
    return slash == wstring_view::npos ? path : path.substr(slash + 1);
}

HRESULT Refuse(DWORD code)
{
    SetLastError(code);
    return HRESULT_FROM_WIN32(code);
}

// The files of a replace were there a moment ago: a name that has gone since, or a
// backup name taken since it was freed, means that another process is replacing the
// same file. That is a sharing violation, which the caller waits for and tries again.
HRESULT Contended(HRESULT hr)
{
    if (hr == HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND) || hr == HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND) ||
        hr == HRESULT_FROM_WIN32(ERROR_ALREADY_EXISTS))
        return Refuse(ERROR_SHARING_VIOLATION);
    return hr;
}

// Whether two paths name one entry of one folder, however they are spelt. A folder that
// cannot be looked at holds neither.
bool NameTheSameEntry(wstring_view first, wstring_view second)
{
    if (first == second)
        return true;
    if (NameOf(first) != NameOf(second))
        return false;
    FileAttributes one, other;
    return SUCCEEDED(FileSystem().GetAttributes(FolderOf(first), one, false)) &&
           SUCCEEDED(FileSystem().GetAttributes(FolderOf(second), other, false)) && one.device == other.device &&
           one.inode == other.inode;
}
} // namespace

FileHandle& FileHandle::operator=(FileHandle&& other) noexcept
{
    if (this != &other)
    {
        Reset();
        m_descriptor = other.Release();
    }
    return *this;
}

void FileHandle::Reset() noexcept
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
    m_descriptor = -1;
}

IFileSystem& FileSystem() noexcept
{
    IFileSystem* current = g_current.load();
    return current ? *current : LinuxFileSystem::Instance();
}

ScopedFileSystem::ScopedFileSystem(IFileSystem& replacement) noexcept : m_previous(g_current.exchange(&replacement)) {}

ScopedFileSystem::~ScopedFileSystem() { g_current.store(m_previous); }

HRESULT ToNativePath(wstring_view path, std::string& native)
{
    // The system call would end the name at a NUL: "clip.mp4\0.xml" must not name clip.mp4.
    if (path.find(u'\0') != wstring_view::npos)
    {
        native.clear();
        SetLastError(ERROR_INVALID_NAME);
        return E_INVALIDARG;
    }
    return ToUtf8(path, native);
}

HRESULT FromNativePath(std::string_view native, wstring& path) { return ToUtf16(native, path); }

HRESULT ReplaceFileWithBackup(wstring_view replaced, wstring_view replacement, wstring_view backup)
{
    IFileSystem& fileSystem = FileSystem();
    FileAttributes attributes;
    HRESULT hr = fileSystem.GetAttributes(replaced, attributes, true);
    if (FAILED(hr))
        return hr;
    // A link is never written through, nor silently replaced by a file of its own.
    if (attributes.isSymlink)
        return Refuse(ERROR_CANT_RESOLVE_FILENAME);
    if (attributes.readOnly)
        return Refuse(ERROR_ACCESS_DENIED);
    // Deleting such a backup would delete the file itself.
    if (!backup.empty() && NameTheSameEntry(replaced, backup))
        return Refuse(ERROR_INVALID_PARAMETER);
    hr = fileSystem.SetPermissions(replacement, attributes.mode & 07777);
    if (FAILED(hr))
        return Contended(hr);
    if (!backup.empty())
    {
        hr = fileSystem.DeleteFile(backup);
        if (FAILED(hr) && hr != HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND))
            return hr;
        hr = fileSystem.HardLink(replaced, backup);
        if (FAILED(hr) && IsLinkRefused(GetLastError()))
            hr = fileSystem.CopyFile(replaced, backup);
        if (FAILED(hr))
            return Contended(hr);
    }
    hr = fileSystem.RenameReplacing(replacement, replaced);
    if (FAILED(hr))
        return Contended(hr);
    return fileSystem.FsyncFolder(FolderOf(replaced));
}

HRESULT WriteWholeFile(wstring_view path, std::string_view bytes)
{
    IFileSystem& fileSystem = FileSystem();
    const wstring temporary = SideFilePath(path, u".temp");
    FileHandle file;
    HRESULT hr = fileSystem.OpenExclusiveWrite(temporary, file);
    if (FAILED(hr))
        return hr;
    hr = fileSystem.Write(file, bytes.data(), bytes.size());
    if (SUCCEEDED(hr))
        hr = fileSystem.Fsync(file);
    if (SUCCEEDED(hr))
    {
        FileAttributes present;
        const HRESULT exists = fileSystem.GetAttributes(path, present, true);
        if (SUCCEEDED(exists))
            hr = ReplaceFileWithBackup(path, temporary, u"");
        else if (exists == HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND) || exists == HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND))
        {
            hr = fileSystem.RenameReplacing(temporary, path);
            if (SUCCEEDED(hr))
                hr = fileSystem.FsyncFolder(FolderOf(path));
        }
        else
            hr = exists;
    }
    const HRESULT closed = fileSystem.Close(file);
    if (FAILED(hr))
        fileSystem.DeleteFile(temporary);
    return FAILED(hr) ? hr : closed;
}
} // namespace qm
