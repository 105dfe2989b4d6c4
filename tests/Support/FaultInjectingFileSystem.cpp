#include "Support/FaultInjectingFileSystem.h"

#include "Platform/Com/LastError.h"

namespace qm
{
FaultInjectingFileSystem::FaultInjectingFileSystem(IFileSystem& inner) : m_inner(inner) {}

void FaultInjectingFileSystem::Fail(Operation operation, int error, int count, wstring pathPart)
{
    std::lock_guard guard(m_lock);
    m_faults.push_back({operation, error, count, std::move(pathPart)});
}

void FaultInjectingFileSystem::Before(Operation operation, std::function<void()> action, wstring pathPart)
{
    std::lock_guard guard(m_lock);
    m_hooks.push_back({operation, std::move(action), std::move(pathPart)});
}

void FaultInjectingFileSystem::RunHook(Operation operation, wstring_view path)
{
    std::function<void()> action;
    {
        std::lock_guard guard(m_lock);
        for (auto hook = m_hooks.begin(); hook != m_hooks.end(); ++hook)
            if (hook->operation == operation &&
                (hook->pathPart.empty() || path.find(hook->pathPart) != wstring_view::npos))
            {
                action = std::move(hook->action);
                m_hooks.erase(hook);
                break;
            }
    }
    // Outside the lock: the action may call the file system itself.
    if (action)
        action();
}

void FaultInjectingFileSystem::SetDevice(wstring prefix, std::uint64_t device)
{
    std::lock_guard guard(m_lock);
    m_devices.emplace_back(std::move(prefix), device);
}

void FaultInjectingFileSystem::SetMountTop(wstring prefix, wstring top)
{
    std::lock_guard guard(m_lock);
    m_mountTops.emplace_back(std::move(prefix), std::move(top));
}

int FaultInjectingFileSystem::Calls(Operation operation) const
{
    std::lock_guard guard(m_lock);
    auto found = m_calls.find(operation);
    return found == m_calls.end() ? 0 : found->second;
}

template <class Value>
std::optional<Value> FaultInjectingFileSystem::LongestPrefix(const std::vector<std::pair<wstring, Value>>& table,
                                                             wstring_view path) const
{
    std::lock_guard guard(m_lock);
    std::optional<Value> found;
    std::size_t longest = 0;
    for (const auto& [prefix, value] : table)
        if (path.substr(0, prefix.size()) == prefix && prefix.size() >= longest)
        {
            longest = prefix.size();
            found = value;
        }
    return found;
}

std::vector<FaultInjectingFileSystem::Call> FaultInjectingFileSystem::History() const
{
    std::lock_guard guard(m_lock);
    return m_history;
}

wstring FaultInjectingFileSystem::PathOf(const FileHandle& file) const
{
    std::lock_guard guard(m_lock);
    auto found = m_handlePaths.find(file.Descriptor());
    return found == m_handlePaths.end() ? wstring() : found->second;
}

HRESULT FaultInjectingFileSystem::Open(Operation operation, wstring_view path, FileHandle& file)
{
    HRESULT hr = Forward(operation, path, [&] {
        return operation == Operation::OpenRead ? m_inner.OpenRead(path, file) : m_inner.OpenExclusiveWrite(path, file);
    });
    if (SUCCEEDED(hr) && file.IsOpen())
    {
        std::lock_guard guard(m_lock);
        m_handlePaths[file.Descriptor()] = wstring(path);
    }
    return hr;
}

bool FaultInjectingFileSystem::Inject(Operation operation, wstring_view path, wstring_view target, HRESULT& hr)
{
    std::lock_guard guard(m_lock);
    ++m_calls[operation];
    m_history.push_back({operation, wstring(path), wstring(target)});
    for (Fault& fault : m_faults)
    {
        if (fault.operation != operation || fault.remaining == 0)
            continue;
        if (!fault.pathPart.empty() && path.find(fault.pathPart) == wstring_view::npos)
            continue;
        if (fault.remaining > 0)
            --fault.remaining;
        hr = HRESULT_FROM_WIN32(static_cast<long>(SetLastErrorFromErrno(fault.error)));
        return true;
    }
    return false;
}

HRESULT FaultInjectingFileSystem::Exists(wstring_view path)
{
    return Forward(Operation::Exists, path, [&] { return m_inner.Exists(path); });
}

HRESULT FaultInjectingFileSystem::GetAttributes(wstring_view path, FileAttributes& attributes, bool ofLinkItself)
{
    return Forward(Operation::GetAttributes, path, [&] { return m_inner.GetAttributes(path, attributes, ofLinkItself); });
}

HRESULT FaultInjectingFileSystem::IsReadOnlyVolume(wstring_view path)
{
    return Forward(Operation::IsReadOnlyVolume, path, [&] { return m_inner.IsReadOnlyVolume(path); });
}

HRESULT FaultInjectingFileSystem::IsFolderWritable(wstring_view folder)
{
    return Forward(Operation::IsFolderWritable, folder, [&] { return m_inner.IsFolderWritable(folder); });
}

HRESULT FaultInjectingFileSystem::SetReadOnly(wstring_view path, bool readOnly)
{
    return Forward(Operation::SetReadOnly, path, [&] { return m_inner.SetReadOnly(path, readOnly); });
}

HRESULT FaultInjectingFileSystem::DeleteFile(wstring_view path)
{
    return Forward(Operation::DeleteFile, path, [&] { return m_inner.DeleteFile(path); });
}

HRESULT FaultInjectingFileSystem::Rename(wstring_view from, wstring_view to)
{
    return Forward(Operation::Rename, from, [&] { return m_inner.Rename(from, to); }, to);
}

HRESULT FaultInjectingFileSystem::RenameReplacing(wstring_view from, wstring_view to)
{
    return Forward(Operation::RenameReplacing, from, [&] { return m_inner.RenameReplacing(from, to); }, to);
}

HRESULT FaultInjectingFileSystem::HardLink(wstring_view from, wstring_view to)
{
    return Forward(Operation::HardLink, from, [&] { return m_inner.HardLink(from, to); }, to);
}

HRESULT FaultInjectingFileSystem::CopyFile(wstring_view from, wstring_view to)
{
    return Forward(Operation::CopyFile, from, [&] { return m_inner.CopyFile(from, to); }, to);
}

HRESULT FaultInjectingFileSystem::SetPermissions(wstring_view path, std::uint32_t mode)
{
    return Forward(Operation::SetPermissions, path, [&] { return m_inner.SetPermissions(path, mode); });
}

HRESULT FaultInjectingFileSystem::CreateFolders(wstring_view path)
{
    return Forward(Operation::CreateFolders, path, [&] { return m_inner.CreateFolders(path); });
}

HRESULT FaultInjectingFileSystem::RemoveEmptyFolder(wstring_view path)
{
    return Forward(Operation::RemoveEmptyFolder, path, [&] { return m_inner.RemoveEmptyFolder(path); });
}

HRESULT FaultInjectingFileSystem::MountTop(wstring_view path, wstring& top)
{
    return Forward(Operation::MountTop, path, [&] {
        if (auto chosen = LongestPrefix(m_mountTops, path))
        {
            top = *chosen;
            return S_OK;
        }
        return m_inner.MountTop(path, top);
    });
}

HRESULT FaultInjectingFileSystem::CreateExclusive(wstring_view path)
{
    return Forward(Operation::CreateExclusive, path, [&] { return m_inner.CreateExclusive(path); });
}

HRESULT FaultInjectingFileSystem::ReadWholeFile(wstring_view path, std::vector<std::uint8_t>& bytes)
{
    return Forward(Operation::ReadWholeFile, path, [&] { return m_inner.ReadWholeFile(path, bytes); });
}

HRESULT FaultInjectingFileSystem::ListFolder(wstring_view path, std::vector<FolderEntry>& entries)
{
    return Forward(Operation::ListFolder, path, [&] { return m_inner.ListFolder(path, entries); });
}

HRESULT FaultInjectingFileSystem::OpenRead(wstring_view path, FileHandle& file)
{
    return Open(Operation::OpenRead, path, file);
}

HRESULT FaultInjectingFileSystem::OpenExclusiveWrite(wstring_view path, FileHandle& file)
{
    return Open(Operation::OpenExclusiveWrite, path, file);
}

HRESULT FaultInjectingFileSystem::Read(FileHandle& file, void* buffer, std::size_t size, std::size_t& done)
{
    return Forward(Operation::Read, PathOf(file), [&] { return m_inner.Read(file, buffer, size, done); });
}

HRESULT FaultInjectingFileSystem::Write(FileHandle& file, const void* data, std::size_t size)
{
    return Forward(Operation::Write, PathOf(file), [&] { return m_inner.Write(file, data, size); });
}

HRESULT FaultInjectingFileSystem::Seek(FileHandle& file, std::int64_t offset, int origin, std::uint64_t& position)
{
    return Forward(Operation::Seek, PathOf(file), [&] { return m_inner.Seek(file, offset, origin, position); });
}

HRESULT FaultInjectingFileSystem::Size(FileHandle& file, std::uint64_t& size)
{
    return Forward(Operation::Size, PathOf(file), [&] { return m_inner.Size(file, size); });
}

HRESULT FaultInjectingFileSystem::Fsync(FileHandle& file)
{
    return Forward(Operation::Fsync, PathOf(file), [&] { return m_inner.Fsync(file); });
}

HRESULT FaultInjectingFileSystem::FsyncFolder(wstring_view folder)
{
    return Forward(Operation::FsyncFolder, folder, [&] { return m_inner.FsyncFolder(folder); });
}

HRESULT FaultInjectingFileSystem::Close(FileHandle& file)
{
    const int descriptor = file.Descriptor();
    HRESULT hr = Forward(Operation::Close, PathOf(file), [&] { return m_inner.Close(file); });
    std::lock_guard guard(m_lock);
    m_handlePaths.erase(descriptor);
    return hr;
}

HRESULT FaultInjectingFileSystem::Device(wstring_view path, std::uint64_t& device)
{
    return Forward(Operation::Device, path, [&] {
        if (auto chosen = LongestPrefix(m_devices, path))
        {
            device = *chosen;
            return S_OK;
        }
        return m_inner.Device(path, device);
    });
}
} // namespace qm
