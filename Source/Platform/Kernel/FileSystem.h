// Every file-system call of the library goes through IFileSystem. The Linux
// implementation does the work; tests put in one that fails chosen calls, so that every
// error path is tested without root or special mounts.
//
// Paths are 16-bit strings here and UTF-8 bytes on disk: the conversion happens in the
// implementation, and invalid UTF-16 is refused with E_INVALIDARG. Each operation gives
// S_OK or HRESULT_FROM_WIN32(code), and sets the thread's last error to that code at the
// moment it fails.
#pragma once

#include "qm/Platform/Kernel/FileTime.h"
#include "qm/Platform/Com/HResult.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qm
{
struct FileAttributes
{
    FILETIME creationTime{};
    FILETIME lastAccessTime{};
    FILETIME lastWriteTime{};
    std::uint64_t size = 0;
    std::uint32_t mode = 0;
    std::uint32_t owner = 0;
    bool isDirectory = false;
    bool isSymlink = false;
    // The owner's write bit is clear, or this process may not write the file.
    bool readOnly = false;
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::uint64_t links = 0;
    // What tells one version of the file from another: the full modification time, the
    // size and the inode.
    FileStamp stamp;
};

struct FolderEntry
{
    wstring name;
    bool isDirectory = false;
    bool isSymlink = false;
};

// An open file: move-only, closed when it goes.
class FileHandle
{
public:
    FileHandle() noexcept = default;
    explicit FileHandle(int descriptor) noexcept : m_descriptor(descriptor) {}
    FileHandle(FileHandle&& other) noexcept : m_descriptor(other.Release()) {}
    FileHandle& operator=(FileHandle&& other) noexcept;
    FileHandle(const FileHandle&) = delete;
    FileHandle& operator=(const FileHandle&) = delete;
    ~FileHandle() { Reset(); }

    bool IsOpen() const noexcept { return m_descriptor >= 0; }
    int Descriptor() const noexcept { return m_descriptor; }
    int Release() noexcept
    {
        const int descriptor = m_descriptor;
        m_descriptor = -1;
        return descriptor;
    }
    void Reset() noexcept;

private:
    int m_descriptor = -1;
};

class IFileSystem
{
public:
    virtual ~IFileSystem() = default;

    // S_OK when the path names anything (a dangling link counts), S_FALSE when not.
    virtual HRESULT Exists(wstring_view path) = 0;
    virtual HRESULT GetAttributes(wstring_view path, FileAttributes& attributes, bool ofLinkItself) = 0;
    // S_OK for a read-only volume, S_FALSE for a writable one.
    virtual HRESULT IsReadOnlyVolume(wstring_view path) = 0;
    // S_OK when files may be made in the folder, S_FALSE when not.
    virtual HRESULT IsFolderWritable(wstring_view folder) = 0;
    // Set: all write bits cleared; clear: the owner may write again.
    virtual HRESULT SetReadOnly(wstring_view path, bool readOnly) = 0;
    virtual HRESULT DeleteFile(wstring_view path) = 0;
    // Never replaces an existing file (ERROR_ALREADY_EXISTS).
    virtual HRESULT Rename(wstring_view from, wstring_view to) = 0;
    // Moves from over to, which is replaced atomically if it exists.
    virtual HRESULT RenameReplacing(wstring_view from, wstring_view to) = 0;
    // A second name for a file; ERROR_ALREADY_EXISTS when `to` exists.
    virtual HRESULT HardLink(wstring_view from, wstring_view to) = 0;
    // A new file `to` with the content and permission bits of `from`; ERROR_ALREADY_EXISTS
    // when `to` exists.
    virtual HRESULT CopyFile(wstring_view from, wstring_view to) = 0;
    // The permission bits (07777) of a file, not following a link.
    virtual HRESULT SetPermissions(wstring_view path, std::uint32_t mode) = 0;
    // The folder and its missing ancestors; S_OK also when it exists.
    virtual HRESULT CreateFolders(wstring_view path) = 0;
    // Only an empty folder goes.
    virtual HRESULT RemoveEmptyFolder(wstring_view path) = 0;
    // The device of the nearest existing ancestor of path (path itself included).
    virtual HRESULT Device(wstring_view path, std::uint64_t& device) = 0;
    // The top folder of the mount that holds path.
    virtual HRESULT MountTop(wstring_view path, wstring& top) = 0;
    // A new empty file; ERROR_FILE_EXISTS when there is one.
    virtual HRESULT CreateExclusive(wstring_view path) = 0;
    virtual HRESULT ReadWholeFile(wstring_view path, std::vector<std::uint8_t>& bytes) = 0;
    virtual HRESULT ListFolder(wstring_view path, std::vector<FolderEntry>& entries) = 0;

    // Regular files only (ERROR_BAD_FILE_TYPE otherwise); never blocks on a FIFO.
    virtual HRESULT OpenRead(wstring_view path, FileHandle& file) = 0;
    // A new or truncated file for this writer alone: never through a symbolic link; an
    // exclusive lock taken before truncating, so a second writer gets a sharing violation
    // and truncates nothing; a file that is no longer at the path once locked (another
    // writer renamed it) is a sharing violation too; a read-only file, or one with a
    // second name, is refused, also for root; a file that is not regular is refused
    // without blocking.
    virtual HRESULT OpenExclusiveWrite(wstring_view path, FileHandle& file) = 0;
    // Reads up to size bytes; 0 at the end.
    virtual HRESULT Read(FileHandle& file, void* buffer, std::size_t size, std::size_t& done) = 0;
    // Writes all bytes or fails (a full disk is ERROR_DISK_FULL).
    virtual HRESULT Write(FileHandle& file, const void* data, std::size_t size) = 0;
    // origin 0, 1, 2: from the start, the position, the end.
    virtual HRESULT Seek(FileHandle& file, std::int64_t offset, int origin, std::uint64_t& position) = 0;
    virtual HRESULT Size(FileHandle& file, std::uint64_t& size) = 0;
    virtual HRESULT Fsync(FileHandle& file) = 0;
    virtual HRESULT FsyncFolder(wstring_view folder) = 0;
    virtual HRESULT Close(FileHandle& file) = 0;
};

// The file system of the process: the Linux one unless a ScopedFileSystem is in place.
IFileSystem& FileSystem() noexcept;

// Puts another implementation in place for the life of a scope (tests).
class ScopedFileSystem
{
public:
    explicit ScopedFileSystem(IFileSystem& replacement) noexcept;
    ~ScopedFileSystem();
    ScopedFileSystem(const ScopedFileSystem&) = delete;
    ScopedFileSystem& operator=(const ScopedFileSystem&) = delete;

private:
    IFileSystem* m_previous;
};

// replaced takes replacement's content atomically: it is the old or the new file at every
// instant. The replacement gets the replaced file's permission bits; the old content
// stays in backup (if one is named; an existing backup goes first), through a hard link
// or a copy where links are refused; the folder is made durable after the rename.
// Refused with E_ACCESSDENIED when the replaced file may not be written, with
// ERROR_CANT_RESOLVE_FILENAME when it is a symbolic link, and with ERROR_INVALID_PARAMETER
// when the backup names the replaced file itself. A file of the replace that vanishes, or
// a backup name taken meanwhile, tells of another process replacing the same file: that
// gives the sharing violation.
HRESULT ReplaceFileWithBackup(wstring_view replaced, wstring_view replacement, wstring_view backup);

// Writes a whole file by a temporary file beside it that then replaces it: the file is
// the old or the new one at every instant, and durable when this returns. The temporary
// file goes again on failure.
HRESULT WriteWholeFile(wstring_view path, std::string_view bytes);

// The one place where paths change form: 16-bit text to UTF-8 bytes and back.
HRESULT ToNativePath(wstring_view path, std::string& native);
HRESULT FromNativePath(std::string_view native, wstring& path);
} // namespace qm
