// A file system for tests: it passes calls to another one, and fails the calls a test
// chooses with the error it chooses, so that every error path can be reached without
// root or special mounts. It also records the calls in their order, and can report chosen
// devices.
#pragma once

#include "Platform/Kernel/FileSystem.h"

#include <functional>
#include <map>
#include <mutex>
#include <optional>

namespace qm
{
class FaultInjectingFileSystem final : public IFileSystem
{
public:
    enum class Operation
    {
        Exists,
        GetAttributes,
        IsReadOnlyVolume,
        IsFolderWritable,
        SetReadOnly,
        DeleteFile,
        Rename,
        RenameReplacing,
        HardLink,
        CopyFile,
        SetPermissions,
        CreateFolders,
        RemoveEmptyFolder,
        MountTop,
        CreateExclusive,
        ReadWholeFile,
        ListFolder,
        OpenRead,
        OpenExclusiveWrite,
        Read,
        Write,
        Seek,
        Size,
        Fsync,
        FsyncFolder,
        Close,
        Device,
    };

    // One call as it came here: the path is the first path argument, or the path a handle
    // was opened with; target is the second path of a rename, a link or a copy.
    struct Call
    {
        Operation operation;
        wstring path;
        wstring target;
    };

    explicit FaultInjectingFileSystem(IFileSystem& inner);

    // The next `count` calls of operation (-1: every call) fail with errno `error`, only
    // where the call's path (for a handle, the path it was opened with) contains
    // pathPart, if that is given.
    void Fail(Operation operation, int error, int count = 1, wstring pathPart = {});
    // action runs once, just before the next call of operation (where the call's path
    // contains pathPart, if that is given) goes on: another process's move in a race.
    void Before(Operation operation, std::function<void()> action, wstring pathPart = {});
    // Device reports `device` for paths that begin with prefix.
    void SetDevice(wstring prefix, std::uint64_t device);
    // MountTop reports `top` for paths that begin with prefix.
    void SetMountTop(wstring prefix, wstring top);
    // How many calls of the operation came here, failed or not.
    int Calls(Operation operation) const;
    // Every call so far, failed or not, in the order they came.
    std::vector<Call> History() const;

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
    HRESULT Device(wstring_view path, std::uint64_t& device) override;

private:
    struct Fault
    {
        Operation operation;
        int error;
        int remaining;
        wstring pathPart;
    };

    // The value of the longest prefix of path in table, or null.
    template <class Value>
    std::optional<Value> LongestPrefix(const std::vector<std::pair<wstring, Value>>& table, wstring_view path) const;
    struct Hook
    {
        Operation operation;
        std::function<void()> action;
        wstring pathPart;
    };

    // Takes the hook that applies to the call, if any, and runs it.
    void RunHook(Operation operation, wstring_view path);
    // Counts the call; true (with the failure in hr) when a fault applies to it.
    bool Inject(Operation operation, wstring_view path, wstring_view target, HRESULT& hr);
    // The injected failure, or what the forwarded call gives.
    template <class Inner>
    HRESULT Forward(Operation operation, wstring_view path, Inner&& inner, wstring_view target = {})
    {
        HRESULT hr;
        RunHook(operation, path);
        return Inject(operation, path, target, hr) ? hr : inner();
    }
    // The path a handle was opened with; empty for one opened elsewhere.
    wstring PathOf(const FileHandle& file) const;
    HRESULT Open(Operation operation, wstring_view path, FileHandle& file);

    IFileSystem& m_inner;
    mutable std::mutex m_lock;
    std::vector<Fault> m_faults;
    std::vector<Hook> m_hooks;
    std::map<Operation, int> m_calls;
    std::vector<Call> m_history;
    std::map<int, wstring> m_handlePaths;
    std::vector<std::pair<wstring, std::uint64_t>> m_devices;
    std::vector<std::pair<wstring, wstring>> m_mountTops;
};
} // namespace qm
