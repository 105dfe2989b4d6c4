// The file system of the process, on Linux system calls.
#pragma once

#include "Platform/Kernel/FileSystem.h"

namespace qm
{
class LinuxFileSystem final : public IFileSystem
{
public:
    static LinuxFileSystem& Instance() noexcept;

    HRESULT Exists(wstring_view path) override;
    HRESULT GetAttributes(wstring_view path, FileAttributes& attributes, bool ofLinkItself) override;
    HRESULT IsReadOnlyVolume(wstring_view path) override;
    HRESULT IsFolderWritable(wstring_view folder) override;
    HRESULT SetReadOnly(wstring_view path, bool readOnly) override;
    HRESULT DeleteFile(wstring_view path) override;
    HRESULT Rename(wstring_view from, wstring_view to) override;
    HRESULT RenameReplacing(wstring_view from, wstring_view to) override;
    HRESULT HardLink(wstring_view from, wstring_view to) override;
    HRESULT CopyFile(wstring_view from, wstring_view to) override;
    HRESULT SetPermissions(wstring_view path, std::uint32_t mode) override;
    HRESULT CreateFolders(wstring_view path) override;
    HRESULT RemoveEmptyFolder(wstring_view path) override;
    HRESULT Device(wstring_view path, std::uint64_t& device) override;
    HRESULT MountTop(wstring_view path, wstring& top) override;
    HRESULT CreateExclusive(wstring_view path) override;
    HRESULT ReadWholeFile(wstring_view path, std::vector<std::uint8_t>& bytes) override;
    HRESULT ListFolder(wstring_view path, std::vector<FolderEntry>& entries) override;
    HRESULT OpenRead(wstring_view path, FileHandle& file) override;
    HRESULT OpenExclusiveWrite(wstring_view path, FileHandle& file) override;
    HRESULT Read(FileHandle& file, void* buffer, std::size_t size, std::size_t& done) override;
    HRESULT Write(FileHandle& file, const void* data, std::size_t size) override;
    HRESULT Seek(FileHandle& file, std::int64_t offset, int origin, std::uint64_t& position) override;
    HRESULT Size(FileHandle& file, std::uint64_t& size) override;
    HRESULT Fsync(FileHandle& file) override;
    HRESULT FsyncFolder(wstring_view folder) override;
    HRESULT Close(FileHandle& file) override;
};
} // namespace qm
