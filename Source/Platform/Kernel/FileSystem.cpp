#include "Platform/Kernel/FileSystem.h"

#include "Platform/Com/LastError.h"
#include "Platform/Kernel/LinuxFileSystem.h"
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
    HRESULT hr = fileSystem.GetAttributes(replaced, attributes, false);
    if (FAILED(hr))
        return hr;
    if (attributes.readOnly)
    {
        SetLastError(ERROR_ACCESS_DENIED);
        return E_ACCESSDENIED;
    }
    hr = fileSystem.SetPermissions(replacement, attributes.mode & 07777);
    if (FAILED(hr))
        return hr;
    if (!backup.empty())
    {
        hr = fileSystem.DeleteFile(backup);
        if (FAILED(hr) && hr != HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND))
            return hr;
        hr = fileSystem.HardLink(replaced, backup);
        if (FAILED(hr) && IsLinkRefused(GetLastError()))
            hr = fileSystem.CopyFile(replaced, backup);
        if (FAILED(hr))
            return hr;
    }
    hr = fileSystem.RenameReplacing(replacement, replaced);
    if (FAILED(hr))
        return hr;
    return fileSystem.FsyncFolder(FolderOf(replaced));
}
} // namespace qm
