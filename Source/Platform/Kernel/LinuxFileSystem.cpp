#include "Platform/Kernel/LinuxFileSystem.h"

#include "Platform/Com/LastError.h"

#include <cerrno>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace qm
{
namespace
{
// Seconds from 1601-01-01 to 1970-01-01.
constexpr std::int64_t kEpochDifference = 11644473600LL;

HRESULT Failure(int err)
{
    return HRESULT_FROM_WIN32(static_cast<long>(SetLastErrorFromErrno(err)));
}

HRESULT LastErrno() { return Failure(errno); }

FILETIME ToFileTime(const struct statx_timestamp& time)
{
    const std::int64_t ticks = (time.tv_sec + kEpochDifference) * 10000000LL + time.tv_nsec / 100;
    const auto value = static_cast<std::uint64_t>(ticks < 0 ? 0 : ticks);
    return FILETIME{static_cast<DWORD>(value & 0xFFFFFFFFu), static_cast<DWORD>(value >> 32)};
}

// Retries a call interrupted by a signal.
template <class Call>
auto Retry(Call call)
{
    decltype(call()) result;
    do
        result = call();
    while (result < 0 && errno == EINTR);
    return result;
}

std::string ParentOf(const std::string& path)
{
    const std::size_t slash = path.find_last_of('/');
    if (slash == std::string::npos)
        return ".";
    if (slash == 0)
        return "/";
    return path.substr(0, slash);
}

// A native path, or the failure of converting it.
#define QM_NATIVE(variable, path)                      \
    std::string variable;                              \
    if (HRESULT hr_ = ToNativePath(path, variable); FAILED(hr_)) \
        return hr_

// A file is read-only when its owner's write bit is clear or this process may not write
// it. A path that vanished between the look at its mode and the access check was taken
// by another process: that is a sharing violation, not a refusal.
HRESULT IsReadOnlyByRule(const std::string& path, mode_t mode, bool ofLinkItself, bool& readOnly)
{
    readOnly = (mode & S_IWUSR) == 0;
    if (readOnly)
        return S_OK;
    if (::faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS | (ofLinkItself ? AT_SYMLINK_NOFOLLOW : 0)) == 0)
        return S_OK;
    if (errno == ENOENT || errno == ENOTDIR)
        return Failure(EBUSY);
    if (errno != EACCES && errno != EPERM && errno != EROFS && errno != ETXTBSY)
        return LastErrno();
    readOnly = true;
    return S_OK;
}

// What is not a regular file is never read or written as one: a FIFO would block, a
// device would never end.
HRESULT NotARegularFile()
{
    SetLastError(ERROR_BAD_FILE_TYPE);
    return HRESULT_FROM_WIN32(ERROR_BAD_FILE_TYPE);
}

HRESULT ClearNonBlocking(int descriptor)
{
    const int flags = ::fcntl(descriptor, F_GETFL);
    if (flags < 0 || ::fcntl(descriptor, F_SETFL, flags & ~O_NONBLOCK) != 0)
        return LastErrno();
    return S_OK;
}

// The locked descriptor must still be the one file at the path: another writer may have
// renamed it elsewhere between the open and the lock, and a second name would let a
// truncation reach another file.
HRESULT CheckStillAtPath(const std::string& path, const struct stat& opened)
{
    struct stat current;
    if (::lstat(path.c_str(), &current) != 0)
    {
        if (errno == ENOENT || errno == ENOTDIR)
            return Failure(EBUSY);
        return LastErrno();
    }
    if (current.st_dev != opened.st_dev || current.st_ino != opened.st_ino || opened.st_nlink == 0)
        return Failure(EBUSY);
    if (opened.st_nlink > 1)
        return Failure(EACCES);
    return S_OK;
}

HRESULT WriteAll(int descriptor, const void* data, std::size_t size)
{
    const auto* bytes = static_cast<const char*>(data);
    while (size > 0)
    {
        const ssize_t written = Retry([&] { return ::write(descriptor, bytes, size); });
        if (written < 0)
            return LastErrno();
        if (written == 0)
            return Failure(ENOSPC);
        bytes += written;
        size -= static_cast<std::size_t>(written);
    }
    return S_OK;
}
} // namespace

LinuxFileSystem& LinuxFileSystem::Instance() noexcept
{
    static LinuxFileSystem instance;
    return instance;
}

HRESULT LinuxFileSystem::Exists(wstring_view path)
{
    QM_NATIVE(native, path);
    struct stat info;
    if (::lstat(native.c_str(), &info) == 0)
        return S_OK;
    if (errno == ENOENT || errno == ENOTDIR)
    {
        SetLastErrorFromErrno();
        return S_FALSE;
    }
    return LastErrno();
}

HRESULT LinuxFileSystem::GetAttributes(wstring_view path, FileAttributes& attributes, bool ofLinkItself)
{
    QM_NATIVE(native, path);
    struct statx info;
    const int flags = ofLinkItself ? AT_SYMLINK_NOFOLLOW : 0;
    if (::statx(AT_FDCWD, native.c_str(), flags, STATX_BASIC_STATS | STATX_BTIME, &info) != 0)
        return LastErrno();
    attributes.lastAccessTime = ToFileTime(info.stx_atime);
    attributes.lastWriteTime = ToFileTime(info.stx_mtime);
    attributes.creationTime = (info.stx_mask & STATX_BTIME) ? ToFileTime(info.stx_btime) : attributes.lastWriteTime;
    attributes.size = info.stx_size;
    attributes.stamp = FileStamp{info.stx_mtime.tv_sec, info.stx_mtime.tv_nsec, info.stx_size, info.stx_ino};
    attributes.mode = info.stx_mode;
    attributes.owner = info.stx_uid;
    attributes.isDirectory = S_ISDIR(info.stx_mode);
    attributes.isSymlink = S_ISLNK(info.stx_mode);
    attributes.device = makedev(info.stx_dev_major, info.stx_dev_minor);
    attributes.inode = info.stx_ino;
    attributes.links = info.stx_nlink;
    return IsReadOnlyByRule(native, info.stx_mode, ofLinkItself, attributes.readOnly);
}

HRESULT LinuxFileSystem::IsReadOnlyVolume(wstring_view path)
{
    QM_NATIVE(native, path);
    struct statvfs info;
    if (::statvfs(native.c_str(), &info) != 0)
        return LastErrno();
    return (info.f_flag & ST_RDONLY) ? S_OK : S_FALSE;
}

HRESULT LinuxFileSystem::IsFolderWritable(wstring_view folder)
{
    QM_NATIVE(native, folder);
    if (::access(native.c_str(), W_OK | X_OK) == 0)
        return S_OK;
    if (errno == EACCES || errno == EROFS || errno == EPERM)
    {
        SetLastErrorFromErrno();
        return S_FALSE;
    }
    return LastErrno();
}

HRESULT LinuxFileSystem::SetReadOnly(wstring_view path, bool readOnly)
{
    QM_NATIVE(native, path);
    struct stat info;
    if (::stat(native.c_str(), &info) != 0)
        return LastErrno();
    mode_t mode = info.st_mode & 07777;
    mode = readOnly ? (mode & ~(S_IWUSR | S_IWGRP | S_IWOTH)) : (mode | S_IWUSR);
    if (::chmod(native.c_str(), mode) != 0)
        return LastErrno();
    return S_OK;
}

HRESULT LinuxFileSystem::DeleteFile(wstring_view path)
{
    QM_NATIVE(native, path);
    return ::unlink(native.c_str()) == 0 ? S_OK : LastErrno();
}

HRESULT LinuxFileSystem::Rename(wstring_view from, wstring_view to)
{
    QM_NATIVE(source, from);
    QM_NATIVE(target, to);
    if (::renameat2(AT_FDCWD, source.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) == 0)
        return S_OK;
    if (errno != EINVAL && errno != ENOSYS && errno != ENOTSUP)
        return LastErrno();
    // The file system cannot refuse to replace: a link refuses an existing name instead.
    if (::link(source.c_str(), target.c_str()) != 0)
        return LastErrno();
    if (::unlink(source.c_str()) != 0)
    {
        const int err = errno;
        ::unlink(target.c_str());
        return Failure(err);
    }
    return S_OK;
}

HRESULT LinuxFileSystem::RenameReplacing(wstring_view from, wstring_view to)
{
    QM_NATIVE(source, from);
    QM_NATIVE(target, to);
    return ::rename(source.c_str(), target.c_str()) == 0 ? S_OK : LastErrno();
}

HRESULT LinuxFileSystem::HardLink(wstring_view from, wstring_view to)
{
    QM_NATIVE(source, from);
    QM_NATIVE(target, to);
    return ::link(source.c_str(), target.c_str()) == 0 ? S_OK : LastErrno();
}

HRESULT LinuxFileSystem::CopyFile(wstring_view from, wstring_view to)
{
    QM_NATIVE(source, from);
    QM_NATIVE(target, to);
    FileHandle input(Retry([&] { return ::open(source.c_str(), O_RDONLY | O_CLOEXEC); }));
    if (!input.IsOpen())
        return LastErrno();
    FileHandle output(Retry([&] {
        return ::open(target.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    }));
    if (!output.IsOpen())
        return LastErrno();
    char buffer[64 * 1024];
    for (;;)
    {
        const ssize_t got = Retry([&] { return ::read(input.Descriptor(), buffer, sizeof(buffer)); });
        if (got < 0)
            return LastErrno();
        if (got == 0)
            break;
        if (HRESULT hr = WriteAll(output.Descriptor(), buffer, static_cast<std::size_t>(got)); FAILED(hr))
            return hr;
    }
    struct stat info;
    if (::fstat(input.Descriptor(), &info) == 0)
        ::fchmod(output.Descriptor(), info.st_mode & 07777);
    if (::fsync(output.Descriptor()) != 0)
        return LastErrno();
    return S_OK;
}

HRESULT LinuxFileSystem::SetPermissions(wstring_view path, std::uint32_t mode)
{
    QM_NATIVE(native, path);
    if (::fchmodat(AT_FDCWD, native.c_str(), static_cast<mode_t>(mode & 07777), 0) != 0)
        return LastErrno();
    return S_OK;
}

HRESULT LinuxFileSystem::CreateFolders(wstring_view path)
{
    QM_NATIVE(native, path);
    if (native.empty())
        return Failure(ENOENT);
    // Each ancestor in turn, from the top.
    for (std::size_t slash = native.find('/', 1);; slash = native.find('/', slash + 1))
    {
        const std::string folder = native.substr(0, slash);
        if (::mkdir(folder.c_str(), 0777) != 0 && errno != EEXIST)
            return LastErrno();
        if (slash == std::string::npos)
            break;
    }
    struct stat info;
    if (::stat(native.c_str(), &info) != 0)
        return LastErrno();
    return S_ISDIR(info.st_mode) ? S_OK : Failure(ENOTDIR);
}

HRESULT LinuxFileSystem::RemoveEmptyFolder(wstring_view path)
{
    QM_NATIVE(native, path);
    return ::rmdir(native.c_str()) == 0 ? S_OK : LastErrno();
}

HRESULT LinuxFileSystem::Device(wstring_view path, std::uint64_t& device)
{
    QM_NATIVE(native, path);
    for (std::string current = native.empty() ? "." : native;; current = ParentOf(current))
    {
        struct stat info;
        if (::stat(current.c_str(), &info) == 0)
        {
            device = info.st_dev;
            return S_OK;
        }
        if ((errno != ENOENT && errno != ENOTDIR) || current == "/" || current == ".")
            return LastErrno();
    }
}

HRESULT LinuxFileSystem::MountTop(wstring_view path, wstring& top)
{
    QM_NATIVE(native, path);
    char* absolute = ::realpath(native.c_str(), nullptr);
    if (absolute == nullptr)
        return LastErrno();
    std::string current(absolute);
    std::free(absolute);
    struct stat info;
    if (::stat(current.c_str(), &info) != 0)
        return LastErrno();
    const dev_t device = info.st_dev;
    if (!S_ISDIR(info.st_mode))
        current = ParentOf(current);
    while (current != "/")
    {
        const std::string parent = ParentOf(current);
        if (::stat(parent.c_str(), &info) != 0 || info.st_dev != device)
            break;
        current = parent;
    }
    return FromNativePath(current, top);
}

HRESULT LinuxFileSystem::CreateExclusive(wstring_view path)
{
    QM_NATIVE(native, path);
    FileHandle file(Retry([&] { return ::open(native.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666); }));
    if (file.IsOpen())
        return S_OK;
    if (errno != EEXIST)
        return LastErrno();
    SetLastError(ERROR_FILE_EXISTS);
    return HRESULT_FROM_WIN32(ERROR_FILE_EXISTS);
}

HRESULT LinuxFileSystem::ReadWholeFile(wstring_view path, std::vector<std::uint8_t>& bytes)
{
    FileHandle file;
    HRESULT hr = OpenRead(path, file);
    if (FAILED(hr))
        return hr;
    bytes.clear();
    struct stat info;
    if (::fstat(file.Descriptor(), &info) == 0 && info.st_size > 0)
        bytes.reserve(static_cast<std::size_t>(info.st_size));
    std::uint8_t buffer[64 * 1024];
    for (;;)
    {
        std::size_t got = 0;
        hr = Read(file, buffer, sizeof(buffer), got);
        if (FAILED(hr))
            return hr;
        if (got == 0)
            return S_OK;
        bytes.insert(bytes.end(), buffer, buffer + got);
    }
}

HRESULT LinuxFileSystem::ListFolder(wstring_view path, std::vector<FolderEntry>& entries)
{
    QM_NATIVE(native, path);
    DIR* folder = ::opendir(native.c_str());
    if (folder == nullptr)
        return LastErrno();
    entries.clear();
    errno = 0;
    while (const dirent* entry = ::readdir(folder))
    {
        const std::string_view name = entry->d_name;
        if (name == "." || name == "..")
            continue;
        FolderEntry item;
        // A name that is not UTF-8 cannot be given to callers as text, nor opened again
        // from it: such entries are not listed.
        if (FAILED(FromNativePath(name, item.name)))
            continue;
        unsigned char type = entry->d_type;
        if (type == DT_UNKNOWN)
        {
            struct stat info;
            const std::string full = native + "/" + std::string(name);
            if (::lstat(full.c_str(), &info) == 0)
                type = S_ISDIR(info.st_mode) ? DT_DIR : S_ISLNK(info.st_mode) ? DT_LNK : DT_REG;
        }
        item.isDirectory = type == DT_DIR;
        item.isSymlink = type == DT_LNK;
        entries.push_back(std::move(item));
        errno = 0;
    }
    const int err = errno;
    ::closedir(folder);
    return err == 0 ? S_OK : Failure(err);
}

HRESULT LinuxFileSystem::OpenRead(wstring_view path, FileHandle& file)
{
    QM_NATIVE(native, path);
    // Non-blocking, so that opening a FIFO returns at once and is refused below.
    FileHandle opened(Retry([&] { return ::open(native.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC); }));
    if (!opened.IsOpen())
        return LastErrno();
    struct stat info;
    if (::fstat(opened.Descriptor(), &info) != 0)
        return LastErrno();
    if (S_ISDIR(info.st_mode))
        return Failure(EISDIR);
    if (!S_ISREG(info.st_mode))
        return NotARegularFile();
    // The flag stays: reads of a regular file never wait, so it changes nothing there.
    file = std::move(opened);
    return S_OK;
}

HRESULT LinuxFileSystem::OpenExclusiveWrite(wstring_view path, FileHandle& file)
{
    QM_NATIVE(native, path);
    FileHandle opened(Retry([&] {
        return ::open(native.c_str(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0666);
    }));
    if (!opened.IsOpen())
        // A FIFO without a reader, a socket or a device without its driver.
        return errno == ENXIO || errno == EOPNOTSUPP ? NotARegularFile() : LastErrno();
    struct stat info;
    if (::fstat(opened.Descriptor(), &info) != 0)
        return LastErrno();
    if (!S_ISREG(info.st_mode))
        return NotARegularFile();
    if (Retry([&] { return ::flock(opened.Descriptor(), LOCK_EX | LOCK_NB); }) != 0)
        return errno == EWOULDBLOCK ? Failure(EBUSY) : LastErrno();
    // The lock is only worth something on the file that is still at the path.
    if (::fstat(opened.Descriptor(), &info) != 0)
        return LastErrno();
    if (HRESULT hr = CheckStillAtPath(native, info); FAILED(hr))
        return hr;
    // Root may write anything: the read-only mark must still hold for it.
    bool readOnly = false;
    if (HRESULT hr = IsReadOnlyByRule(native, info.st_mode, true, readOnly); FAILED(hr))
        return hr;
    if (readOnly)
        return Failure(EACCES);
    if (HRESULT hr = ClearNonBlocking(opened.Descriptor()); FAILED(hr))
        return hr;
    if (Retry([&] { return ::ftruncate(opened.Descriptor(), 0); }) != 0)
        return LastErrno();
    file = std::move(opened);
    return S_OK;
}

HRESULT LinuxFileSystem::Read(FileHandle& file, void* buffer, std::size_t size, std::size_t& done)
{
    done = 0;
    const ssize_t got = Retry([&] { return ::read(file.Descriptor(), buffer, size); });
    if (got < 0)
        return LastErrno();
    done = static_cast<std::size_t>(got);
    return S_OK;
}

HRESULT LinuxFileSystem::Write(FileHandle& file, const void* data, std::size_t size)
{
    return WriteAll(file.Descriptor(), data, size);
}

HRESULT LinuxFileSystem::Seek(FileHandle& file, std::int64_t offset, int origin, std::uint64_t& position)
{
    static const int kWhence[] = {SEEK_SET, SEEK_CUR, SEEK_END};
    if (origin < 0 || origin > 2)
        return Failure(EINVAL);
    const off_t result = ::lseek(file.Descriptor(), static_cast<off_t>(offset), kWhence[origin]);
    if (result < 0)
        return LastErrno();
    position = static_cast<std::uint64_t>(result);
    return S_OK;
}

HRESULT LinuxFileSystem::Size(FileHandle& file, std::uint64_t& size)
{
    struct stat info;
    if (::fstat(file.Descriptor(), &info) != 0)
        return LastErrno();
    size = static_cast<std::uint64_t>(info.st_size);
    return S_OK;
}

HRESULT LinuxFileSystem::Fsync(FileHandle& file)
{
    return Retry([&] { return ::fsync(file.Descriptor()); }) == 0 ? S_OK : LastErrno();
}

HRESULT LinuxFileSystem::FsyncFolder(wstring_view folder)
{
    QM_NATIVE(native, folder);
    FileHandle handle(Retry([&] { return ::open(native.empty() ? "." : native.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
    if (!handle.IsOpen())
        return LastErrno();
    return Fsync(handle);
}

HRESULT LinuxFileSystem::Close(FileHandle& file)
{
    const int descriptor = file.Release();
    if (descriptor < 0)
        return S_OK;
    // The descriptor is gone whatever close says; an error still tells of lost data.
    return ::close(descriptor) == 0 || errno == EINTR ? S_OK : LastErrno();
}

#undef QM_NATIVE
} // namespace qm
